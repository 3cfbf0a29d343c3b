#include "convert/path_validation.h"

#include <algorithm>
#include <cctype>

#include "diag/program_seams.h"
#include "diag/trace_log.h"
#include "host/file.h"

namespace loftbay::convert {

namespace {

constexpr std::size_t kCurrentDirectoryLimit = 2048;

bool refuse(std::string_view message) {
  diag::programSeams().showMessageBox(message, diag::BoxIcon::Error);
  return false;
}

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  const auto lower = [](char c) { return std::tolower(static_cast<unsigned char>(c)); };
  return std::ranges::equal(a, b, {}, lower, lower);
}

}  // namespace

std::string_view fileExtension(std::string_view path) {
  const auto point = path.rfind('.');
  return point == std::string_view::npos ? std::string_view() : path.substr(point + 1);
}

bool isInputExtension(std::string_view path) { return equalsIgnoringCase(fileExtension(path), "jt"); }

bool isOutputExtension(std::string_view path) { return equalsIgnoringCase(fileExtension(path), "zix"); }

bool isDirectoryAvailable(const std::string& directory) {
  const auto current = host::currentDirectory(kCurrentDirectoryLimit);
  if (!current) return true;
  if (!host::changeDirectory(directory)) return false;
  host::changeDirectory(*current);
  return true;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param)
bool validatePaths(std::string input_path, std::string output_path) {
  if (input_path.empty()) return refuse("Please specify the input file.");
  if (output_path.empty()) return refuse("Please specify the output file.");
  if (!isInputExtension(input_path)) return refuse("Error:Unsupported input format.");
  if (!isOutputExtension(output_path)) return refuse("Error:Unsupported output format.");
  if (!host::openFile(input_path, "r")) return refuse("Error:Input file is not found.");
  const auto separator = output_path.rfind('\\');
  if (separator != std::string::npos && !isDirectoryAvailable(output_path.substr(0, separator)))
    return refuse("Error:Output directory is not available.");
  if (!host::createAndRemove(output_path)) {  // the job makes it anew
    refuse(
        "Permission denied for writing the ZIX file.\nPlease verify whether you have the write permission.");
    diag::WriteTraceLog(
        "Permission denied for writing the ZIX file. Please verify whether you have the write permission.");
    return false;
  }
  return true;
}

}  // namespace loftbay::convert
