#include "cli/loftbay/convert_command.h"

#include <fmt/core.h>

#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <sstream>

#include "cli/arguments.h"
#include "cli/console.h"
#include "cli/json_text.h"
#include "cli/loftbay/message_stream.h"
#include "cli/loftbay/report.h"
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

constexpr const char* kFooter =
    "Exit codes:\n"
    "  0    converted\n"
    "  1    the conversion failed, or something the file holds did not reach the scene\n"
    "  2    wrong usage\n"
    "  3    a path was refused\n"
    "  130  interrupted\n"
    "\n"
    "Environment: MERIDAN_TEMP_PATH, TEMP, TMP, USERPROFILE name the folder of the log;\n"
    "MERIDAN_JT_ULP_TESS_TOLERANCE is the minimum edge length for parts tessellated on load.\n"
    "Other commands: 'loftbay info --help'.";

// A box becomes one line on standard error.
std::string oneLine(std::string_view text) {
  std::string line(text);
  for (char& c : line) {
    if (c == '\n' || c == '\r') c = ' ';
  }
  return line;
}

bool sameFile(const std::string& input, const std::string& output) {
  std::error_code error;
  const auto in = host::toFileSystemPath(host::toProgramPath(input));
  const auto out = host::toFileSystemPath(host::toProgramPath(output));
  return in == out || std::filesystem::equivalent(in, out, error);
}

std::optional<float> parseTolerance(const std::string& text) {
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc{} || end != text.data() + text.size() || !std::isfinite(value)) return std::nullopt;
  return static_cast<float>(value);
}

// Runs one conversion with everything it needs of the process set up, and fills the report.
class Conversion {
 public:
  Conversion(const ConvertOptions& options, ConversionReport& report)
      : options_(options), report_(report), observer_(report, !options.quiet && standardErrorIsTerminal()) {}

  int run() {
    const auto start = std::chrono::steady_clock::now();
    report_.input = options_.input;
    report_.output = options_.output;
    fillSeams();
    report_.exit_code = convert();
    observer_.clearProgress();
    diag::programSeams() = saved_seams_;
    if (report_.exit_code == kDone && !report_.skipped.empty()) report_.exit_code = kFailed;
    report_.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (const auto memory = host::processMemory())
      report_.peak_rss_kb = memory->peak_working_set_bytes / 1024;
    return report_.exit_code;
  }

  // Losses that no message on standard error has told yet.
  [[nodiscard]] std::vector<std::string> untoldLosses() const {
    std::vector<std::string> lines;
    for (const auto& loss : report_.skipped) {
      if (!messages_.told(loss.reason))
        lines.push_back(loss.part.empty() ? loss.reason : loss.part + ": " + loss.reason);
    }
    return lines;
  }

 private:
  void fillSeams() {
    auto& seams = diag::programSeams();
    saved_seams_ = seams;
    seams.showMessageBox = [this](std::string_view text, diag::BoxIcon) {
      observer_.clearProgress();
      box_shown_ = true;
      fmt::print(stderr, "{}\n", oneLine(text));
    };
    seams.toolkit_messages = &messages_.stream();
    seams.startup_failures = &std::cerr;
    seams.observer = &observer_;
  }

  int convert() {
    if (sameFile(options_.input, options_.output)) {
      fmt::print(stderr, "loftbay: {}: input and output are the same file\n", options_.input);
      return kPathRefused;
    }
    const std::string input = host::toProgramPath(options_.input);
    const std::string output = host::toProgramPath(options_.output);
    prepareProcess();
    if (!convert::validatePaths(input, output)) return kPathRefused;

    bool success = false;
    try {
      const convert::obJt2Zix job(input.c_str(), output.c_str(), &success, options_.optimize);
    } catch (const std::exception& error) {
      observer_.clearProgress();
      fmt::print(stderr, "loftbay: {}: {}\n", options_.input, error.what());
      report_.skipped.push_back({options_.input, error.what()});
      messages_.markTold(error.what());
      return kFailed;
    }
    return success && !box_shown_ ? kDone : kFailed;
  }

  void prepareProcess() {
    if (options_.work_dir) {
      diag::selectOwnWorkDirectory(kLogFileName, host::toProgramPath(*options_.work_dir));
    } else {
      diag::selectOwnWorkDirectory(kLogFileName);
    }
    report_.log = host::toHostPath(diag::logPath());
    if (options_.tess_tolerance) {
      diag::setUlpTessTolerance(*options_.tess_tolerance);
    } else {
      diag::readUlpTessTolerance();
    }
    jttk::settings().allow_outside = options_.allow_outside;
  }

  const ConvertOptions& options_;
  ConversionReport& report_;
  ReportObserver observer_;
  MessageStream messages_;
  diag::ProgramSeams saved_seams_{};
  bool box_shown_ = false;
};

void printSummary(const ConvertOptions& options, const ConversionReport& report,
                  const std::vector<std::string>& untold) {
  for (const auto& line : untold) fmt::print(stderr, "loftbay: {}\n", oneLine(line));
  if (options.quiet) return;
  for (const auto& note : report.notes) fmt::print(stderr, "note: {}\n", oneLine(note));
  if (report.exit_code != kDone && report.counts.nodes == 0) return;
  fmt::print(stderr, "{}: {} shapes, {} triangles in {:.2f} s{}\n", options.output, report.counts.shapes,
             report.counts.triangles, report.seconds,
             report.skipped.empty() ? "" : fmt::format("; {} not converted", report.skipped.size()));
}

// What does not exist yet is refused by name instead of being ignored.
std::optional<std::string> notYetThere(const CLI::App& app) {
  for (const char* name : {"--lines", "--points", "--exact-geometry"}) {
    if (app.count(name) > 0) return std::string(name) + ": not supported yet";
  }
  return std::nullopt;
}

}  // namespace

int convertCommand(const std::vector<std::string>& arguments) {
  ConvertOptions options;
  std::string tolerance;
  bool no_optimize = false;
  CLI::App app("Converts a JT product model into a Zix scene.", "loftbay");
  app.footer(kFooter);
  app.set_version_flag("--version", "loftbay " LOFTBAY_VERSION " (Zix format 1)");
  app.add_option("IN.jt", options.input, "the JT file")->required();
  app.add_option("OUT.zix", options.output, "the scene; an existing one is replaced")->required();
  app.add_flag("--no-optimize", no_optimize, "keep every vertex instead of merging equal ones");
  app.add_option("--tess-tolerance", tolerance, "minimum edge length for parts tessellated on load");
  app.add_flag("--allow-outside", options.allow_outside,
               "follow references to files outside the model's folder");
  app.add_option("--work-dir", options.work_dir, "base folder of the log");
  app.add_flag("--json", options.json, "print a report on standard output");
  app.add_flag("--quiet", options.quiet, "print errors only");
  for (const char* name : {"--lines", "--points", "--exact-geometry"}) app.add_flag(name)->group("");
  if (const auto code = parseArguments(app, arguments)) return *code;
  if (const auto refused = notYetThere(app)) return wrongUsage("loftbay", *refused);
  if (!tolerance.empty()) {
    options.tess_tolerance = parseTolerance(tolerance);
    if (!options.tess_tolerance)
      return wrongUsage("loftbay", "--tess-tolerance: '" + tolerance + "' is not a number");
  }
  options.optimize = !no_optimize;

  exitOnInterrupt();
  ConversionReport report;
  Conversion conversion(options, report);
  conversion.run();
  printSummary(options, report, conversion.untoldLosses());
  if (options.json) printJson(toJson(report));
  return report.exit_code;
}

}  // namespace loftbay::cli
