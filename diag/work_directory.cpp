#include "diag/work_directory.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "diag/build_info.h"
#include "diag/trace_log.h"
#include "host/file.h"
#include "host/path.h"

namespace loftbay::diag {

namespace {

std::string& chosenDirectory() {
  static std::string directory;
  return directory;
}

std::optional<std::string> directoryFromEnvironment(const char* name) {
  auto value = host::environmentVariable(name);
  if (!value || value->empty()) return std::nullopt;
  return host::toProgramPath(*value);
}

#ifdef _WIN32
constexpr const char* kHostVariable = "USERPROFILE";
constexpr const char* kLastResort = ".";
#else
constexpr const char* kHostVariable = "TMPDIR";
constexpr const char* kLastResort = "/tmp";
#endif

std::string datedName(const std::string& base) {
  const LocalTime now = localTime();
  return text(base, "\\", CBuildInfo().GetAppName("loftbay"), "-", now.year, "-", now.month, "-", now.day,
              "-", now.hour, "-", now.minute, "-", now.second);
}

void placeLog(std::string directory, const std::string& log_file_name) {
  openTraceLog(directory + "\\" + log_file_name);
  chosenDirectory() = std::move(directory);
}

}  // namespace

std::string findBaseDirectory(const std::optional<std::string>& base_override) {
  const auto named = base_override ? base_override : directoryFromEnvironment("MERIDAN_TEMP_PATH");
  if (named) {
    host::makeDirectory(*named);  // fails if it exists, which is the usual case
    return *named;
  }
  for (const char* name : {"TEMP", "TMP", "USERPROFILE", kHostVariable}) {
    if (auto directory = directoryFromEnvironment(name)) return *std::move(directory);
  }
  return host::toProgramPath(kLastResort);
}

// By value because the documented signatures say so.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
std::string MakeDatedDirectory(std::string baseDirectory) {
  std::string directory = datedName(baseDirectory);
  host::makeDirectory(directory);
  return directory;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param)
bool SelectWorkDirectory(std::string logFileName, const std::optional<std::string>& base_override) {
  placeLog(MakeDatedDirectory(findBaseDirectory(base_override)), logFileName);
  return true;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param)
bool selectOwnWorkDirectory(std::string logFileName, const std::optional<std::string>& base_override) {
  const std::string dated = datedName(findBaseDirectory(base_override));
  std::string directory = dated;
  bool made = false;
  // Making a directory succeeds for one process only. A name that neither exists nor can be made ends the
  // search: the base directory is not there.
  for (int number = 2; !(made = host::makeDirectory(directory)) && host::pathExists(directory); ++number)
    directory = text(dated, "-", number);
  placeLog(std::move(directory), logFileName);
  return made;
}

bool canHoldWorkDirectory(const std::string& base) {
  host::makeDirectory(base);
  const std::string dated = datedName(base) + "-try";
  std::string directory = dated;
  for (int number = 2; !host::makeDirectory(directory); ++number) {
    if (!host::pathExists(directory)) return false;
    directory = text(dated, "-", number);
  }
  std::error_code error;
  std::filesystem::remove(host::toFileSystemPath(directory), error);
  return true;
}

const std::string& workDirectory() { return chosenDirectory(); }

}  // namespace loftbay::diag
