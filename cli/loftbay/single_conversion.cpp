#include "cli/loftbay/single_conversion.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <iostream>

#include "cli/console.h"
#include "cli/loftbay/search_dirs.h"
#include "cli/program.h"
#include "convert/job.h"
#include "convert/path_validation.h"
#include "diag/tolerance.h"
#include "diag/trace_log.h"
#include "diag/work_directory.h"
#include "host/path.h"
#include "host/process.h"
#include "jttk/settings.h"

namespace loftbay::cli {

namespace {

constexpr const char* kLogFileName = "Loftbay_Log.txt";

bool sameFile(const std::string& input, const std::string& output) {
  std::error_code error;
  const auto in = host::toFileSystemPath(host::toProgramPath(input));
  const auto out = host::toFileSystemPath(host::toProgramPath(output));
  return !input.empty() && (in == out || std::filesystem::equivalent(in, out, error));
}

// Puts the program's own seams back when the conversion is over.
class SavedSeams {
 public:
  SavedSeams() : saved_(diag::programSeams()) {}
  SavedSeams(const SavedSeams&) = delete;
  SavedSeams& operator=(const SavedSeams&) = delete;
  ~SavedSeams() { diag::programSeams() = saved_; }

 private:
  diag::ProgramSeams saved_;
};

}  // namespace

std::string oneLine(std::string_view text) {
  std::string line(text);
  for (char& c : line) {
    if (c == '\n' || c == '\r') c = ' ';
  }
  return line;
}

SingleConversion::SingleConversion(std::string input, std::string output, const ConvertOptions& options,
                                   ConversionReport& report)
    : input_(std::move(input)),
      output_(std::move(output)),
      options_(options),
      report_(report),
      observer_(report, !options.quiet && !options.in_batch && standardErrorIsTerminal()) {}

int SingleConversion::run() {
  const auto start = std::chrono::steady_clock::now();
  report_.input = input_;
  report_.output = output_;
  const SavedSeams restored_at_end;
  fillSeams();
  report_.exit_code = convert();
  observer_.clearProgress();
  if (report_.exit_code == kDone && !report_.skipped.empty()) report_.exit_code = kFailed;
  report_.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  if (const auto memory = host::processMemory()) report_.peak_rss_kb = memory->peak_working_set_bytes / 1024;
  return report_.exit_code;
}

std::vector<std::string> SingleConversion::untoldLosses() const {
  std::vector<std::string> lines;
  for (const auto& loss : report_.skipped) {
    if (messages_.told(loss.reason)) continue;
    lines.push_back(loss.part.empty() ? loss.reason : loss.part + ": " + loss.reason);
  }
  return lines;
}

void SingleConversion::fillSeams() {
  auto& seams = diag::programSeams();
  seams.showMessageBox = [this](std::string_view text, diag::BoxIcon) {
    observer_.clearProgress();
    box_shown_ = true;
    const std::string line = oneLine(text);
    say((options_.in_batch ? input_ + ": " : "") + line);
  };
  seams.toolkit_messages = &messages_.stream();
  seams.startup_failures = &std::cerr;
  seams.observer = &observer_;
}

void SingleConversion::complain(const std::string& text) {
  observer_.clearProgress();
  cli::complain("loftbay", input_ + ": " + oneLine(text));
}

int SingleConversion::convert() {
  if (sameFile(input_, output_)) {
    complain("input and output are the same file");
    return kPathRefused;
  }
  const std::string input = host::toProgramPath(input_);
  const std::string output = host::toProgramPath(output_);
  prepareProcess();
  if (!convert::validatePaths(input, output)) return kPathRefused;

  bool success = false;
  try {
    const convert::obJt2Zix job(input.c_str(), output.c_str(), &success, options_.optimize);
  } catch (const std::exception& error) {
    complain(error.what());
    report_.skipped.push_back({input_, error.what()});
    messages_.markTold(error.what());
    return kFailed;
  }
  return success && !box_shown_ ? kDone : kFailed;
}

void SingleConversion::prepareProcess() {
  std::optional<std::string> base;
  if (options_.work_dir) base = host::toProgramPath(*options_.work_dir);
  diag::selectOwnWorkDirectory(kLogFileName, base);
  report_.log = host::toHostPath(diag::logPath());
  if (options_.tess_tolerance) {
    diag::setUlpTessTolerance(*options_.tess_tolerance);
  } else {
    diag::readUlpTessTolerance();
  }
  convert::ignoreLines = !options_.lines;
  convert::ignorePoints = !options_.points;
  jttk::settings().exact_geometry = options_.exact_geometry;
  jttk::settings().level_of_detail = options_.level_of_detail;
  jttk::settings().allow_outside = options_.allow_outside;
  setSearchDirs(options_.search_dirs);
}

}  // namespace loftbay::cli
