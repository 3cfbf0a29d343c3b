#include "cli/loftbay/batch.h"

#include <fmt/core.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <filesystem>
#include <map>
#include <thread>

#include "cli/console.h"
#include "cli/json_value.h"
#include "cli/loftbay/options.h"
#include "cli/loftbay/report.h"
#include "cli/loftbay/single_conversion.h"
#include "cli/program.h"
#include "host/child_process.h"
#include "host/path.h"
#include "zix/output_file.h"

namespace loftbay::cli {

namespace {

std::string narrow(const std::filesystem::path& path) {
  const auto text = path.u8string();
  return {text.begin(), text.end()};
}

std::filesystem::path hostPath(const std::string& path) {
  return host::toFileSystemPath(host::toProgramPath(path));
}

// File names that differ in letter case only are one file on Windows.
std::string comparable(std::string name) {
#ifdef _WIN32
  std::ranges::transform(name, name.begin(),
                         [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
#endif
  return name;
}

// How one file of the batch ended.
struct Ending {
  int exit_code = kFailed;
  bool started = true;
  JsonValue report;
};

ConversionReport reportOf(const Batch& batch, const std::string& input, const std::string& error) {
  ConversionReport report;
  report.input = input;
  report.output = batchOutput(input, batch.out_dir);
  report.options = batch.reported;
  report.error = error;
  return report;
}

// The report used for a file whose process wrote none.
Ending withoutReport(const Batch& batch, const std::string& input, const std::string& reason,
                     Outcome outcome = Outcome::Failed) {
  complain("loftbay", input + ": " + reason);
  ConversionReport report = reportOf(batch, input, reason);
  report.exit_code = kFailed;
  report.outcome = outcome;
  report.skipped.push_back({input, reason});
  return {kFailed, true, toJson(report)};
}

Ending interrupted(const Batch& batch, const std::string& input, bool started) {
  ConversionReport report = reportOf(
      batch, input, started ? "interrupted" : "the batch was interrupted before this file was started");
  report.exit_code = kInterrupted;
  report.outcome = Outcome::Interrupted;
  return {kInterrupted, started, toJson(report)};
}

// Nothing can be converted for this reason.
int refuseAll(const Batch& batch, const std::string& reason) {
  complain("loftbay", reason);
  JsonValue reports = JsonValue::array();
  for (const auto& input : batch.inputs) {
    ConversionReport report = reportOf(batch, input, reason);
    report.exit_code = kPathRefused;
    report.outcome = Outcome::Refused;
    reports.add(toJson(report));
  }
  if (batch.json) printJson(reports);
  return kPathRefused;
}

// Removes a scene that an ended process had just completed; an older file that it had not replaced stays.
void removeNewScene(const std::string& output, std::filesystem::file_time_type start) {
  std::error_code error;
  const auto path = hostPath(output);
  const auto written = std::filesystem::last_write_time(path, error);
  if (!error && written >= start) std::filesystem::remove(path, error);
}

Ending convertOne(const Batch& batch, const std::string& program, const std::string& input) {
  const std::string output = batchOutput(input, batch.out_dir);
  std::vector<std::string> arguments = {"convert", "--in-batch", "--json"};
  arguments.insert(arguments.end(), batch.passed_on.begin(), batch.passed_on.end());
  arguments.insert(arguments.end(), {"--", input, output});
  const auto start = std::filesystem::file_time_type::clock::now();
  // A conversion ends by itself when its time is over, with a report; one that cannot is ended.
  constexpr std::chrono::seconds kTimeForItsEnd{10};
  const auto child = host::runChild(
      program, arguments, batch.timeout ? std::optional(*batch.timeout + kTimeForItsEnd) : std::nullopt);
  if (!child.started) {
    if (host::childrenInterrupted()) return interrupted(batch, input, false);
    return withoutReport(batch, input, "the conversion could not be started: " + child.reason);
  }
  if (child.crashed) {
    // It could not remove its unfinished scene.
    Orb::Zix::removeAbandonedTemporaries(host::toProgramPath(output));
    if (child.timed_out) {
      removeNewScene(output, start);
      return withoutReport(batch, input, timeOutText(*batch.timeout), Outcome::TimedOut);
    }
    // The interrupt killed it before it could handle it.
    if (host::childrenInterrupted()) return interrupted(batch, input, true);
    return withoutReport(batch, input, "the conversion " + child.reason);
  }
  auto report = JsonValue::parse(child.output);
  if (!report) {
    return withoutReport(batch, input, fmt::format("the conversion ended with code {}", child.exit_code));
  }
  return {child.exit_code, true, std::move(*report)};
}

// Runs the conversions, `jobs` at a time, in input order.
std::vector<Ending> convertAll(const Batch& batch) {
  const std::string program = host::ownProgram();
  std::vector<Ending> endings(batch.inputs.size());
  std::atomic<std::size_t> next{0};
  const auto work = [&] {
    for (std::size_t i = next++; i < batch.inputs.size(); i = next++) {
      endings[i] = host::childrenInterrupted() ? interrupted(batch, batch.inputs[i], false)
                                               : convertOne(batch, program, batch.inputs[i]);
    }
  };
  std::vector<std::jthread> workers;
  for (std::size_t i = 1; i < std::min(batch.jobs, batch.inputs.size()); ++i) workers.emplace_back(work);
  work();
  workers.clear();
  return endings;
}

extern "C" void passInterruptOn(int) { host::interruptChildren(); }

void printSummary(const Batch& batch, const std::vector<Ending>& endings) {
  const auto count = [&](auto&& is) { return std::count_if(endings.begin(), endings.end(), is); };
  const auto converted = count([](const Ending& ending) { return ending.exit_code == kDone; });
  const auto not_started = count([](const Ending& ending) { return !ending.started; });
  const auto failed = static_cast<std::ptrdiff_t>(endings.size()) - converted - not_started;
  if (batch.quiet && failed + not_started == 0) return;
  say(fmt::format("{} converted, {} failed{}", converted, failed,
                  not_started > 0 ? fmt::format(", {} not started", not_started) : ""));
  for (std::size_t i = 0; i < endings.size(); ++i) {
    if (!endings[i].started) {
      say("not started: " + batch.inputs[i]);
    } else if (endings[i].exit_code != kDone) {
      say(fmt::format("failed: {} (code {})", batch.inputs[i], endings[i].exit_code));
    }
  }
}

// The two inputs that would be written to one output.
std::optional<std::pair<std::string, std::string>> clash(const Batch& batch) {
  std::map<std::string, std::string> owners;
  for (const auto& input : batch.inputs) {
    const auto [owner, is_new] = owners.try_emplace(comparable(batchOutput(input, batch.out_dir)), input);
    if (!is_new) return std::pair(owner->second, input);
  }
  return std::nullopt;
}

}  // namespace

std::string batchOutput(const std::string& input, const std::string& out_dir) {
  const std::string program_path = host::toProgramPath(input);
  const auto separator = program_path.rfind('\\');
  std::string name = separator == std::string::npos ? program_path : program_path.substr(separator + 1);
  const auto point = name.rfind('.');
  if (point != std::string::npos && point > 0) name.resize(point);
  return narrow(hostPath(out_dir) / host::toFileSystemPath(name + ".zix"));
}

int runBatch(const Batch& batch) {
  if (const auto both = clash(batch)) {
    return loftbayProgram().refuse(convertInTable(), both->first + " and " + both->second +
                                                         " would share the output " +
                                                         batchOutput(both->first, batch.out_dir));
  }
  std::error_code error;
  std::filesystem::create_directories(hostPath(batch.out_dir), error);
  if (error) return refuseAll(batch, batch.out_dir + ": " + error.message());
  callOnInterrupt(passInterruptOn);
  auto endings = convertAll(batch);

  if (batch.json) {
    JsonValue reports = JsonValue::array();
    for (auto& ending : endings) reports.add(std::move(ending.report));
    printJson(reports);
  }
  printSummary(batch, endings);
  if (host::childrenInterrupted()) return kInterrupted;
  const bool all_done = std::all_of(endings.begin(), endings.end(),
                                    [](const Ending& ending) { return ending.exit_code == kDone; });
  return all_done ? kDone : kFailed;
}

}  // namespace loftbay::cli
