#include "cli/loftbay/convert_command.h"

#include <fmt/core.h>

#include <algorithm>
#include <functional>
#include <thread>

#include "cli/command_line.h"
#include "cli/console.h"
#include "cli/json_value.h"
#include "cli/loftbay/batch.h"
#include "cli/loftbay/convert_options.h"
#include "cli/loftbay/options.h"
#include "cli/loftbay/single_conversion.h"
#include "cli/program.h"
#include "diag/work_directory.h"
#include "host/deadline.h"
#include "host/path.h"

namespace loftbay::cli {

namespace {

// What the command line asks for.
struct Request {
  std::vector<std::string> files;
  ConvertOptions options;
  std::optional<std::string> out_dir;  // given: several files, each with a process of its own
  std::size_t jobs = 0;                // 0: not given
};

Request requestIn(const CommandLine& line) {
  Request request;
  request.files = line.operands();
  request.out_dir = line.value("--out-dir");
  if (const auto text = line.value("--jobs")) request.jobs = *jobsIn(*text);
  ConvertOptions& options = request.options;
  options.optimize = !line.has("--no-optimize");
  options.lines = line.has("--lines");
  options.points = line.has("--points");
  options.exact_geometry = line.has("--exact-geometry");
  options.properties = line.has("--properties");
  if (const auto text = line.value("--lod")) options.level_of_detail = *levelIn(*text);
  if (const auto text = line.value("--tess-tolerance")) options.tess_tolerance = lengthIn(*text);
  options.allow_outside = line.has("--allow-outside");
  options.search_dirs = line.values("--search-dir");
  options.limits = limitsIn(line);
  if (const auto text = line.value("--timeout")) options.timeout = timeIn(*text);
  options.preview = line.value("--preview");
  options.exports = line.values("--export");
  options.work_dir = line.value("--work-dir");
  options.json = line.has("--json");
  options.quiet = line.has("--quiet");
  options.in_batch = line.has("--in-batch");
  options.given = line.words(&Option::reported);
  return request;
}

// A folder that the user names on the command line for the log must do.
std::string workDirComplaint(const ConvertOptions& options) {
  const auto& folder = options.work_dir;
  if (!folder || options.in_batch) return {};
  if (folder->empty()) return "--work-dir: the name of a folder is missing";
  if (diag::canHoldWorkDirectory(host::toProgramPath(*folder))) return {};
  return "--work-dir: no folder can be made in '" + *folder + "'";
}

// Why the options and files make no sense together; empty when they do.
std::string complaint(const Request& request) {
  if (request.out_dir) {
    if (request.out_dir->empty()) return "--out-dir: the name of a folder is missing";
    if (request.files.empty()) return "no JT file is named";
    if (request.options.preview) return "--preview is for one file and does not go with --out-dir";
    if (!request.options.exports.empty()) return "--export is for one file and does not go with --out-dir";
    return workDirComplaint(request.options);
  }
  if (request.jobs > 0) return "--jobs goes with --out-dir";
  if (request.files.size() != 2) {
    std::string text =
        request.files.size() < 2 ? "a file name is missing" : "more than two file names without --out-dir";
    for (const std::string_view usage : convertInTable().usages)
      text += (text.ends_with(']') ? "\n       " : "\nUsage: ") + std::string(usage);
    return text;
  }
  return workDirComplaint(request.options);
}

// The text on standard error, except what was written while the conversion ran.
void printResult(const Request& request, const SingleConversion& conversion, const ConversionReport& report) {
  const std::string& input = request.files[0];
  const bool in_batch = request.options.in_batch;
  const auto ofInput = [&](const std::string& text) { return in_batch ? inBatch(input, text) : text; };
  for (const auto& line : conversion.untoldLosses()) complain("loftbay", ofInput(oneLine(line)));
  if (request.options.quiet) return;
  for (const auto& note : report.notes) say(ofInput("note: " + oneLine(note)));
  if (report.exit_code == kDone || report.counts.nodes > 0) {
    std::string line =
        fmt::format("{}: {} shapes, {} triangles in {:.2f} s", in_batch ? input : request.files[1],
                    report.counts.shapes, report.counts.triangles, report.seconds);
    const std::size_t lost = report.skipped.size() - conversion.unwritten().size();
    if (lost != 0) line += fmt::format("; {} not converted", lost);
    for (const std::string& output : conversion.unwritten()) line += fmt::format("; {} not written", output);
    say(line);
  }
}

// Ends the process when the time of its conversion is over. The last report's reader may be slow or gone, so
// writing it gets a limited time.
void endWhenOver(SingleConversion& conversion, const Request& request) {
  static constexpr std::chrono::milliseconds kTimeForLastWords{5000};
  // Neither is ever destroyed: a destructor would wait for a function that ends the process.
  [[maybe_unused]] static auto* const deadline =
      new host::Deadline(*request.options.timeout, [&conversion, json = request.options.json] {
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

int runSingle(const Request& request) {
  const ConvertOptions& options = request.options;
  // Never destroyed: an interrupt uses them on a thread of its own, also while the program ends.
  static auto& report = *new ConversionReport;
  static auto& conversion = *new SingleConversion(request.files[0], request.files[1], options, report);
  std::function<void()> last_words;
  if (options.json) {
    last_words = [] {
      printJson(toJson(conversion.interrupt()));
      finishOutput("loftbay");
    };
  }
  exitOnInterrupt(std::move(last_words));
  if (options.timeout) endWhenOver(conversion, request);
  conversion.run();
  conversion.end();
  printResult(request, conversion, report);
  if (options.json) printJson(toJson(report));
  return finishOutput("loftbay") || report.exit_code != kDone ? report.exit_code : kFailed;
}

int runSeveral(const CommandLine& line, const Request& request) {
  Batch batch;
  batch.inputs = request.files;
  batch.out_dir = *request.out_dir;
  batch.jobs = request.jobs > 0 ? request.jobs : std::max(1U, std::thread::hardware_concurrency());
  batch.json = request.options.json;
  batch.quiet = request.options.quiet;
  batch.passed_on = line.words(&Option::passed_on);
  batch.reported = request.options.given;
  batch.timeout = request.options.timeout;
  const int code = runBatch(batch);
  return finishOutput("loftbay") || code != kDone ? code : kFailed;
}

}  // namespace

int convertCommand(std::span<const std::string> arguments) {
  const auto line = readCommandLine(loftbayProgram(), convertInTable(), arguments);
  if (!line) return finishOutput("loftbay") ? line.error() : kFailed;
  const Request request = requestIn(*line);
  if (const std::string reason = complaint(request); !reason.empty())
    return loftbayProgram().refuse(convertInTable(), reason);
  return request.out_dir ? runSeveral(*line, request) : runSingle(request);
}

}  // namespace loftbay::cli
