#include "cli/loftbay/batch.h"

#include <fmt/core.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <map>
#include <thread>

#include "cli/arguments.h"
#include "cli/console.h"
#include "cli/json_text.h"
#include "cli/loftbay/report.h"
#include "cli/program.h"
#include "host/child_process.h"
#include "host/path.h"

namespace loftbay::cli {

namespace {

using Json = nlohmann::ordered_json;

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

struct Outcome {
  int exit_code = kFailed;
  Json report;
};

// What stands in the array for a file whose process gave no report of its own.
Outcome withoutReport(const std::string& input, const std::string& output, const std::string& reason) {
  ConversionReport report;
  report.input = input;
  report.output = output;
  report.exit_code = kFailed;
  report.skipped.push_back({input, reason});
  return {kFailed, toJson(report)};
}

// A process that crashed could not remove its unfinished scene.
void removeLeftovers(const std::string& output, std::uint64_t process_id) {
  const auto path = hostPath(output);
  const std::string mark = "." + std::to_string(process_id) + "-";
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(path.parent_path(), error)) {
    const std::string name = narrow(entry.path().filename());
    if (name.starts_with(".") && name.ends_with(".tmp") && name.find(mark) != std::string::npos) {
      std::filesystem::remove(entry.path(), error);
    }
  }
}

Outcome convertOne(const Batch& batch, const std::string& program, const std::string& input) {
  const std::string output = batchOutput(input, batch.out_dir);
  std::vector<std::string> arguments = {"convert", "--in-batch", "--json"};
  arguments.insert(arguments.end(), batch.shared_options.begin(), batch.shared_options.end());
  arguments.insert(arguments.end(), {"--", input, output});
  const auto child = host::runChild(program, arguments);
  if (!child.started)
    return withoutReport(input, output, "the conversion could not be started: " + child.reason);
  if (child.crashed) {
    removeLeftovers(output, child.process_id);
    complain("loftbay", input + ": the conversion " + child.reason);
    return withoutReport(input, output, "the conversion " + child.reason);
  }
  Json report = Json::parse(child.output, nullptr, false);
  if (report.is_discarded()) {
    return withoutReport(input, output, fmt::format("the conversion ended with code {}", child.exit_code));
  }
  return {child.exit_code, std::move(report)};
}

// Runs the conversions, `jobs` at a time, in input order.
std::vector<Outcome> convertAll(const Batch& batch) {
  const std::string program = host::ownProgram();
  std::vector<Outcome> outcomes(batch.inputs.size());
  std::atomic<std::size_t> next{0};
  const auto work = [&] {
    for (std::size_t i = next++; i < batch.inputs.size(); i = next++) {
      outcomes[i] =
          host::childrenInterrupted()
              ? withoutReport(batch.inputs[i], batchOutput(batch.inputs[i], batch.out_dir), "interrupted")
              : convertOne(batch, program, batch.inputs[i]);
    }
  };
  std::vector<std::jthread> workers;
  for (std::size_t i = 1; i < std::min(batch.jobs, batch.inputs.size()); ++i) workers.emplace_back(work);
  work();
  workers.clear();
  return outcomes;
}

extern "C" void passInterruptOn(int) { host::interruptChildren(); }

void passInterruptsOn() {
  std::signal(SIGINT, passInterruptOn);
  std::signal(SIGTERM, passInterruptOn);
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
    return wrongUsage("loftbay", both->first + " and " + both->second + " would share the output " +
                                     batchOutput(both->first, batch.out_dir));
  }
  std::error_code error;
  std::filesystem::create_directories(hostPath(batch.out_dir), error);
  if (error) {
    complain("loftbay", batch.out_dir + ": " + error.message());
    return kPathRefused;
  }
  passInterruptsOn();
  const auto outcomes = convertAll(batch);

  std::size_t failed = 0;
  Json reports = Json::array();
  for (const auto& outcome : outcomes) {
    if (outcome.exit_code != kDone) ++failed;
    reports.push_back(outcome.report);
  }
  if (batch.json) printJson(reports);
  if (!batch.quiet || failed > 0) {
    say(fmt::format("{} converted, {} failed", outcomes.size() - failed, failed));
    for (std::size_t i = 0; i < outcomes.size(); ++i) {
      if (outcomes[i].exit_code != kDone)
        say(fmt::format("failed: {} (code {})", batch.inputs[i], outcomes[i].exit_code));
    }
  }
  if (host::childrenInterrupted()) return kInterrupted;
  return failed == 0 ? kDone : kFailed;
}

}  // namespace loftbay::cli
