#include "cli/loftbay/convert_command.h"

#include <fmt/core.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <thread>

#include "cli/arguments.h"
#include "cli/console.h"
#include "cli/json_text.h"
#include "cli/loftbay/batch.h"
#include "cli/loftbay/search_dirs.h"
#include "cli/loftbay/single_conversion.h"
#include "cli/program.h"

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
  std::string out_dir;
  std::size_t jobs = 0;
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
  if (error != std::errc{} || end != text.data() + text.size() || !std::isfinite(value)) return std::nullopt;
  return static_cast<float>(value);
}

std::optional<std::uint32_t> levelOf(const std::string& text) {
  if (text == "finest") return jttk::kFinestLevel;
  if (text == "coarsest") return jttk::kCoarsestLevel;
  std::uint32_t level = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), level);
  if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  return level;
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
  if (app.count("--out-dir") > 0) {
    if (parsed.out_dir.empty()) return "--out-dir: the name of a folder is missing";
    if (parsed.files.empty()) return "no JT file is named";
    if (app.count("--jobs") > 0 && parsed.jobs < 1) return "--jobs: at least 1";
    return {};
  }
  if (app.count("--jobs") > 0) return "--jobs goes with --out-dir";
  if (parsed.files.size() != 2) {
    return std::string(parsed.files.size() < 2 ? "a file name is missing"
                                               : "more than two file names without --out-dir") +
           "\nUsage: " + kUsage;
  }
  return {};
}

int runSingle(const Parsed& parsed) {
  exitOnInterrupt();
  const ConvertOptions& options = parsed.options;
  ConversionReport report;
  SingleConversion conversion(parsed.files[0], parsed.files[1], options, report);
  conversion.run();
  const std::string place = options.in_batch ? parsed.files[0] + ": " : "";
  for (const auto& line : conversion.untoldLosses()) complain("loftbay", place + oneLine(line));
  if (!options.quiet) {
    for (const auto& note : report.notes) say(place + "note: " + oneLine(note));
    if (report.exit_code == kDone || report.counts.nodes > 0) {
      say(fmt::format(
          "{}: {} shapes, {} triangles in {:.2f} s{}", parsed.files[1], report.counts.shapes,
          report.counts.triangles, report.seconds,
          report.skipped.empty() ? "" : fmt::format("; {} not converted", report.skipped.size())));
    }
  }
  if (options.json) printJson(toJson(report));
  return finishOutput("loftbay") || report.exit_code != kDone ? report.exit_code : kFailed;
}

int runSeveral(const Parsed& parsed) {
  Batch batch;
  batch.inputs = parsed.files;
  batch.out_dir = parsed.out_dir;
  batch.jobs = parsed.jobs > 0 ? parsed.jobs : std::max(1U, std::thread::hardware_concurrency());
  batch.json = parsed.options.json;
  batch.quiet = parsed.options.quiet;
  auto& shared = batch.shared_options;
  if (parsed.no_optimize) shared.emplace_back("--no-optimize");
  if (!parsed.tolerance.empty()) shared.insert(shared.end(), {"--tess-tolerance", parsed.tolerance});
  if (parsed.options.lines) shared.emplace_back("--lines");
  if (parsed.options.points) shared.emplace_back("--points");
  if (parsed.options.exact_geometry) shared.emplace_back("--exact-geometry");
  if (!parsed.level.empty()) shared.insert(shared.end(), {"--lod", parsed.level});
  if (parsed.options.allow_outside) shared.emplace_back("--allow-outside");
  for (const auto& folder : parsed.options.search_dirs) shared.insert(shared.end(), {"--search-dir", folder});
  if (parsed.options.work_dir) shared.insert(shared.end(), {"--work-dir", *parsed.options.work_dir});
  if (parsed.options.quiet) shared.emplace_back("--quiet");
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
  return parsed.out_dir.empty() ? runSingle(parsed) : runSeveral(parsed);
}

}  // namespace loftbay::cli
