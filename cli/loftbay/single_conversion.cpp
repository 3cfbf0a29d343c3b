#include "cli/loftbay/single_conversion.h"

#include <fmt/core.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <utility>

#include "cli/console.h"
#include "cli/loftbay/further_outputs.h"
#include "cli/loftbay/search_dirs.h"
#include "cli/program.h"
#include "cli/same_file.h"
#include "convert/job.h"
#include "convert/path_validation.h"
#include "diag/tolerance.h"
#include "diag/trace_log.h"
#include "diag/work_directory.h"
#include "host/file.h"
#include "host/out_of_memory.h"
#include "host/path.h"
#include "host/process.h"
#include "jttk/interface/settings.h"
#include "zix/interrupted_write.h"
#include "zix/reader.h"

namespace loftbay::cli {

namespace {

constexpr const char* kLogFileName = "Loftbay_Log.txt";

// None when there is no scene, or one that cannot be read.
std::optional<SceneBytes> sceneBytes(const std::string& program_path) {
  const auto scene = Orb::Zix::SceneFile::open(program_path);
  if (!scene) return std::nullopt;
  SceneBytes bytes;
  bytes.total = scene->size();
  for (std::size_t i = 0; i < scene->chunks().size(); ++i) {
    const auto chunk = scene->chunks()[i];
    if (chunk.type == Orb::Zix::format::kFloatArrayChunk || chunk.type == Orb::Zix::format::kIndexArrayChunk)
      bytes.arrays += chunk.size;
  }
  return bytes;
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

std::string timeOutText(std::chrono::milliseconds time) {
  return fmt::format("the conversion took longer than {} seconds (--timeout) and was given up",
                     std::chrono::duration<double>(time).count());
}

std::string inBatch(const std::string& input, std::string text) {
  const std::string front = input + ": ";
  for (auto at = text.find(front); at != std::string::npos; at = text.find(front, at)) {
    if (at == 0 || text[at - 1] == ' ') {
      text.erase(at, front.size());
    } else {
      ++at;  // the end of a longer name
    }
  }
  return front + text;
}

SingleConversion::SingleConversion(std::string input, std::string output, const ConvertOptions& options,
                                   ConversionReport& report)
    : input_(std::move(input)),
      output_(std::move(output)),
      options_(options),
      report_(report),
      observer_(report, !options.quiet && !options.in_batch && standardErrorIsTerminal()) {
  report_.input = input_;
  report_.output = output_;
  report_.options = options_.given;
}

int SingleConversion::run() {
  const SavedSeams restored_at_end;
  fillSeams();
  const int code = convert();
  messages_.endLine();
  startup_failures_.endLine();
  observer_.clearProgress();
  observer_.finish();
  {
    const auto held = observer_.lock();
    report_.exit_code = code;
    finishReport();
    if (code != kPathRefused) report_.bytes = sceneBytes(host::toProgramPath(output_));
  }
  writeFurtherOutputs();
  const auto held = observer_.lock();
  finishReport();
  return report_.exit_code;
}

void SingleConversion::writeFurtherOutputs() {
  const bool has_scene = report_.outcome == Outcome::Ok || report_.outcome == Outcome::Partial;
  if (!has_scene || !report_.bytes) return;
  std::string report;
  {
    const auto held = observer_.lock();
    report = toJson(report_).text();
  }
  for (const std::string& output : furtherOutputs(options_)) {
    claim(output);
    const auto failure =
        writeFurther(output_, output, report, [this](const std::string& line) { observer_.note(line); });
    if (!failure) continue;
    observer_.lost(output, *failure);
    unwritten_.push_back(output);
  }
}

void SingleConversion::claim(const std::string& output) {
  const auto held = observer_.lock();
  const auto path = host::toFileSystemPath(host::toProgramPath(output));
  std::error_code error;
  if (std::filesystem::is_regular_file(path, error)) std::filesystem::remove(path, error);
  if (!std::filesystem::exists(std::filesystem::symlink_status(path, error))) claimed_.push_back(output);
}

void SingleConversion::finishReport() {
  if (report_.exit_code == kFailed && report_.outcome == Outcome::Ok) report_.outcome = Outcome::Failed;
  if (report_.exit_code == kDone && !report_.skipped.empty()) {
    report_.exit_code = kFailed;
    report_.outcome = report_.files.empty() ? Outcome::Failed : Outcome::Partial;
  }
  if (report_.outcome == Outcome::Failed && !report_.error) {
    report_.error = report_.skipped.empty() ? "the conversion failed" : report_.skipped.front().reason;
  }
  report_.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
  if (const auto memory = host::processMemory()) report_.peak_rss_kb = memory->peak_working_set_bytes / 1024;
  if (!host::pathExists(diag::logPath())) report_.log.clear();
}

ConversionReport SingleConversion::stop(int exit_code, Outcome outcome, const std::string& error) {
  observer_.lock().release();
  report_.exit_code = exit_code;
  report_.outcome = outcome;
  report_.error = error;
  finishReport();
  return report_;
}

ConversionReport SingleConversion::interrupt() {
  return stop(kInterrupted, Outcome::Interrupted, "interrupted");
}

ConversionReport SingleConversion::timeOut() {
  auto report = stop(kFailed, Outcome::TimedOut, timeOutText(*options_.timeout));
  report.bytes.reset();  // endProcess removes the scene
  return report;
}

void SingleConversion::tellTimeOut() { complain(*report_.error); }

void SingleConversion::endProcess() {
  Orb::Zix::removeInterruptedWrites();
  std::error_code error;
  if (owns_output_) claimed_.push_back(output_);
  for (const std::string& path : claimed_)
    std::filesystem::remove(host::toFileSystemPath(host::toProgramPath(path)), error);
  putConsoleBack();
  std::_Exit(kFailed);
}

void SingleConversion::end() { observer_.lock().release(); }

std::vector<std::string> SingleConversion::untoldLosses() const {
  std::vector<std::string> lines;
  for (const auto& loss : report_.skipped) {
    if (!messages_.told(loss.reason)) lines.push_back(lossText(loss.part, loss.reason));
  }
  return lines;
}

void SingleConversion::fillSeams() {
  auto& seams = diag::programSeams();
  seams.showMessageBox = [this](std::string_view text, diag::BoxIcon) {
    box_shown_ = true;
    const std::string line = oneLine(text);
    fail(line);
    tell(line);
  };
  seams.toolkit_messages = &messages_.stream();
  seams.startup_failures = &startup_failures_.stream();
  seams.observer = &observer_;
}

void SingleConversion::tell(const std::string& text) {
  observer_.clearProgress();
  say(options_.in_batch ? inBatch(input_, text) : text);
}

void SingleConversion::complain(const std::string& text) {
  observer_.clearProgress();
  cli::complain("loftbay", inBatch(input_, oneLine(text)));
}

void SingleConversion::fail(std::string reason) {
  const auto held = observer_.lock();
  if (!report_.error) report_.error = std::move(reason);
}

int SingleConversion::convert() {
  const std::string input = host::toProgramPath(input_);
  const std::string output = host::toProgramPath(output_);
  std::string refusal = isSameFile(input_, output_)
                            ? "input and output are the same file"
                            : outputComplaint(input_, output_, furtherOutputs(options_));
  if (!refusal.empty()) {
    complain(refusal);
    fail(std::move(refusal));
  } else {
    prepareProcess();
  }
  if (report_.error || !pathsAreAccepted(input, output)) {
    const auto held = observer_.lock();
    report_.outcome = Outcome::Refused;
    return kPathRefused;
  }

  bool success = false;
  owns_output_ = true;
  try {
    const convert::obJt2Zix job(input.c_str(), output.c_str(), &success, options_.optimize);
  } catch (const std::exception& error) {
    const std::string reason = host::failureText(error);
    complain(reason);
    fail(reason);
    observer_.lost(input_, reason);
    messages_.markTold(reason);
    return kFailed;
  }
  return success && !box_shown_ ? kDone : kFailed;
}

// The dialog's own message, behind the path that it is about.
bool SingleConversion::pathsAreAccepted(const std::string& input, const std::string& output) {
  std::string message;
  auto& show = diag::programSeams().showMessageBox;
  const auto shown_otherwise = show;
  show = [&](std::string_view text, diag::BoxIcon) { message = oneLine(text); };
  const bool accepted = convert::validatePaths(input, output);
  show = shown_otherwise;
  if (accepted) return true;
  std::string path;
  if (!input.empty() && !output.empty()) {
    const bool input_is_good = convert::isInputExtension(input) &&
                               (!convert::isOutputExtension(output) || host::openFile(input, "r"));
    path = input_is_good ? output_ : input_;
  }
  const std::string line = lossText(path, message);
  fail(line);
  tell(line);
  return false;
}

void SingleConversion::prepareProcess() {
  chooseWorkDirectory();
  if (options_.tess_tolerance) {
    diag::setUlpTessTolerance(*options_.tess_tolerance);
  } else {
    diag::readUlpTessTolerance();
  }
  convert::ignoreLines = !options_.lines;
  convert::ignorePoints = !options_.points;
  jttk::settings().exact_geometry = options_.exact_geometry;
  jttk::settings().node_properties = options_.properties;
  jttk::settings().level_of_detail = options_.level_of_detail;
  jttk::settings().allow_outside = options_.allow_outside;
  setLimits(options_.limits);
  setSearchDirs(options_.search_dirs);
}

void SingleConversion::chooseWorkDirectory() {
  std::optional<std::string> base;
  if (options_.work_dir) base = host::toProgramPath(*options_.work_dir);
  const bool made = diag::selectOwnWorkDirectory(kLogFileName, base);
  if (!made) {
    observer_.note("no log is written: the folder " + host::toHostPath(diag::workDirectory()) +
                   " cannot be made");
    return;
  }
  const auto held = observer_.lock();
  report_.log = host::toHostPath(diag::logPath());
}

}  // namespace loftbay::cli
