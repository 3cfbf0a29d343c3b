#include "cli/loftbay/convert_command.h"

#include <fmt/core.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <limits>
#include <thread>

#include "cli/arguments.h"
#include "cli/console.h"
#include "cli/json_text.h"
#include "cli/loftbay/batch.h"
#include "cli/loftbay/search_dirs.h"
#include "cli/loftbay/single_conversion.h"
#include "cli/program.h"
#include "diag/work_directory.h"
#include "host/deadline.h"
#include "host/path.h"

namespace loftbay::cli {

namespace {

constexpr const char* kFooter =
    "Exit codes:\n"
    "  0    converted\n"
    "  1    the conversion failed, or something the file holds did not reach the scene\n"
    "  2    wrong usage\n"
    "  3    a path was refused\n"
    "  130  interrupted\n"
    "With --out-dir the code is 1 as soon as one file's is not 0.\n"
    "\n"
    "Environment: MERIDAN_TEMP_PATH, TEMP, TMP, USERPROFILE name the folder of the log;\n"
    "MERIDAN_JT_ULP_TESS_TOLERANCE is the minimum edge length for parts tessellated on load.\n"
    "Other commands: 'loftbay info --help'.";

constexpr const char* kUsage =
    "loftbay [convert] IN.jt OUT.zix [OPTIONS]\n"
    "       loftbay [convert] IN.jt... --out-dir DIR [--jobs N] [OPTIONS]";

// Two forms of use, where CLI11 would make one of the option list.
struct UsageFormatter : CLI::Formatter {
  std::string make_usage(const CLI::App* /*app*/, std::string /*name*/) const override {
    return std::string("Usage: ") + kUsage + "\n";
  }
};

// The command line as CLI11 fills it in.
struct Parsed {
  ConvertOptions options;
  std::vector<std::string> files;
  std::string tolerance;
  std::string level;
  LimitTexts limits;
  std::string timeout;
  std::string out_dir;
  std::int64_t jobs = 0;
  bool no_optimize = false;
};

void declare(CLI::App& app, Parsed& parsed) {
  app.formatter(std::make_shared<UsageFormatter>());
  app.footer(kFooter);
  app.set_version_flag("--version", "loftbay " LOFTBAY_VERSION " (Zix format 1)");
  app.add_option("FILES", parsed.files, "the JT file and the scene, or with --out-dir JT files");
  app.add_flag("--no-optimize", parsed.no_optimize, "keep every vertex instead of merging equal ones");
  app.add_flag("--lines", parsed.options.lines, "convert lines too");
  app.add_flag("--points", parsed.options.points, "convert points too");
  app.add_flag("--exact-geometry", parsed.options.exact_geometry,
               "tessellate exact geometry also where the file has facets of it");
  app.add_option("--lod", parsed.level,
                 "level of detail: finest (as without it), coarsest, or a number from 0, the finest");
  app.add_option("--tess-tolerance", parsed.tolerance, "minimum edge length for parts tessellated on load");
  app.add_flag("--allow-outside", parsed.options.allow_outside,
               "follow references to files outside the model's folder");
  addSearchDirs(app, parsed.options.search_dirs);
  addLimits(app, parsed.limits);
  app.add_option(
      "--timeout", parsed.timeout,
      "seconds after which the conversion of a file is given up, with code 1 and no scene (default: "
      "none)");
  app.add_option("--work-dir", parsed.options.work_dir, "base folder of the log");
  app.add_option("--out-dir", parsed.out_dir,
                 "convert every JT file into this folder, which is made if need be");
  app.add_option("--jobs", parsed.jobs,
                 "files converted at a time with --out-dir (default: one per processor)");
  app.add_flag("--json", parsed.options.json, "print a report on standard output");
  app.add_flag("--quiet", parsed.options.quiet, "print errors only");
  app.add_flag("--in-batch", parsed.options.in_batch)->group("");
}

std::optional<float> numberOf(const std::string& text) {
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  // False for what is not a number, too.
  if (!(std::abs(value) <= std::numeric_limits<float>::max())) return std::nullopt;
  return static_cast<float>(value);
}

// Whole milliseconds, at least one, at most some years.
std::optional<std::chrono::milliseconds> timeOf(const std::string& text) {
  constexpr double kMostSeconds = 1e8;
  double seconds = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
  if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  if (!(seconds > 0 && seconds <= kMostSeconds)) return std::nullopt;
  return std::chrono::milliseconds(static_cast<std::int64_t>(std::ceil(seconds * 1000)));
}

std::optional<std::uint32_t> levelOf(const std::string& text) {
  if (text == "finest") return jttk::kFinestLevel;
  if (text == "coarsest") return jttk::kCoarsestLevel;
  std::uint32_t level = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), level);
  if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  return level;
}

// A folder that the user names on the command line for the log must do.
std::string workDirComplaint(const Parsed& parsed) {
  const auto& folder = parsed.options.work_dir;
  if (!folder || parsed.options.in_batch) return {};
  if (folder->empty()) return "--work-dir: the name of a folder is missing";
  if (diag::canHoldWorkDirectory(host::toProgramPath(*folder))) return {};
  return "--work-dir: no folder can be made in '" + *folder + "'";
}

// Why the command line makes no sense; empty when it does.
std::string complaint(const CLI::App& app, Parsed& parsed) {
  if (app.count("--tess-tolerance") > 0) {
    parsed.options.tess_tolerance = numberOf(parsed.tolerance);
    if (!parsed.options.tess_tolerance) return "--tess-tolerance: '" + parsed.tolerance + "' is not a number";
  }
  if (std::string reason = complaintOfSearchDirs(parsed.options.search_dirs); !reason.empty()) return reason;
  if (app.count("--lod") > 0) {
    const std::optional<std::uint32_t> level = levelOf(parsed.level);
    if (!level) return "--lod: '" + parsed.level + "' is not finest, coarsest or a number from 0";
    parsed.options.level_of_detail = *level;
  }
  if (std::string reason = readLimits(app, parsed.limits, parsed.options.limits); !reason.empty()) {
    return reason;
  }
  if (app.count("--timeout") > 0) {
    parsed.options.timeout = timeOf(parsed.timeout);
    if (!parsed.options.timeout)
      return "--timeout: '" + parsed.timeout + "' is not a number of seconds above 0";
  }
  if (app.count("--out-dir") > 0) {
    if (parsed.out_dir.empty()) return "--out-dir: the name of a folder is missing";
    if (parsed.files.empty()) return "no JT file is named";
    if (app.count("--jobs") > 0 && parsed.jobs < 1) return "--jobs: at least 1";
    return workDirComplaint(parsed);
  }
  if (app.count("--jobs") > 0) return "--jobs goes with --out-dir";
  if (parsed.files.size() != 2) {
    return std::string(parsed.files.size() < 2 ? "a file name is missing"
                                               : "more than two file names without --out-dir") +
           "\nUsage: " + kUsage;
  }
  return workDirComplaint(parsed);
}

// The text on standard error, except what was told while the conversion ran.
void printResult(const Parsed& parsed, const SingleConversion& conversion, const ConversionReport& report) {
  const std::string& input = parsed.files[0];
  const bool in_batch = parsed.options.in_batch;
  const auto ofInput = [&](const std::string& text) { return in_batch ? inBatch(input, text) : text; };
  for (const auto& line : conversion.untoldLosses()) complain("loftbay", ofInput(oneLine(line)));
  if (parsed.options.quiet) return;
  for (const auto& note : report.notes) say(ofInput("note: " + oneLine(note)));
  if (report.exit_code == kDone || report.counts.nodes > 0) {
    say(fmt::format("{}: {} shapes, {} triangles in {:.2f} s{}", in_batch ? input : parsed.files[1],
                    report.counts.shapes, report.counts.triangles, report.seconds,
                    report.skipped.empty() ? "" : fmt::format("; {} not converted", report.skipped.size())));
  }
}

// Ends the process when the time of its conversion is over. Whoever takes the last words may take them
// slowly, or not at all; they get this long.
void endWhenOver(SingleConversion& conversion, const Parsed& parsed) {
  static constexpr std::chrono::milliseconds kTimeForLastWords{5000};
  // Neither is ever destroyed: what they wait for may be the end of the process.
  [[maybe_unused]] static auto* const deadline =
      new host::Deadline(*parsed.options.timeout, [&conversion, json = parsed.options.json] {
        const ConversionReport report = conversion.timeOut();
        [[maybe_unused]] static auto* const hard_end =
            new host::Deadline(kTimeForLastWords, [&conversion] { conversion.endProcess(); });
        if (json) {
          printJson(toJson(report));
          finishOutput("loftbay");
        }
        conversion.tellTimeOut();
        conversion.endProcess();
      });
}

int runSingle(const Parsed& parsed) {
  const ConvertOptions& options = parsed.options;
  // Never destroyed: an interrupt tells of them on a thread of its own, also while the program ends.
  static auto& report = *new ConversionReport;
  static auto& conversion = *new SingleConversion(parsed.files[0], parsed.files[1], options, report);
  std::function<void()> last_words;
  if (options.json) {
    last_words = [] {
      printJson(toJson(conversion.interrupt()));
      finishOutput("loftbay");
    };
  }
  exitOnInterrupt(std::move(last_words));
  if (options.timeout) endWhenOver(conversion, parsed);
  conversion.run();
  conversion.end();
  printResult(parsed, conversion, report);
  if (options.json) printJson(toJson(report));
  return finishOutput("loftbay") || report.exit_code != kDone ? report.exit_code : kFailed;
}

int runSeveral(const Parsed& parsed) {
  Batch batch;
  batch.inputs = parsed.files;
  batch.out_dir = parsed.out_dir;
  batch.jobs = parsed.jobs > 0 ? static_cast<std::size_t>(parsed.jobs)
                               : std::max(1U, std::thread::hardware_concurrency());
  batch.json = parsed.options.json;
  batch.quiet = parsed.options.quiet;
  batch.shared_options = parsed.options.given;
  batch.timeout = parsed.options.timeout;
  const int code = runBatch(batch);
  return finishOutput("loftbay") || code != kDone ? code : kFailed;
}

}  // namespace

int convertCommand(const std::vector<std::string>& arguments) {
  Parsed parsed;
  CLI::App app("Converts JT product models into Zix scenes.", "loftbay");
  declare(app, parsed);
  if (const auto code = parseArguments(app, arguments)) return *code;
  if (const std::string reason = complaint(app, parsed); !reason.empty())
    return wrongUsage("loftbay", reason);
  parsed.options.optimize = !parsed.no_optimize;
  parsed.options.given = givenOptions(app, {"--json", "--quiet", "--out-dir", "--jobs"});
  return parsed.out_dir.empty() ? runSingle(parsed) : runSeveral(parsed);
}

}  // namespace loftbay::cli
