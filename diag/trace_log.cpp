#include "diag/trace_log.h"

#include <ctime>
#include <optional>
#include <string_view>
#include <utility>

#include "host/file.h"

namespace loftbay::diag {

namespace {

LocalTime systemLocalTime() {
  const std::time_t now = std::time(nullptr);
  const std::tm* const parts = std::localtime(&now);
  if (parts == nullptr) return {};
  return {parts->tm_hour, parts->tm_min,     parts->tm_sec,
          parts->tm_mday, parts->tm_mon + 1, parts->tm_year + 1900};
}

struct TraceLog {
  std::string path;
  host::FilePointer stream;  // open only between openTraceLog and the first line
  std::optional<host::GrowingFile> file;
  std::function<LocalTime()> clock;
  std::optional<std::time_t> stamped_second;  // whose text `stamp` is; none where `clock` is in force
  std::string stamp;
  std::string line;
};

TraceLog& traceLog() {
  static TraceLog log;
  return log;
}

// Made anew only when the second is another one: a log of a large model has thousands of lines in each.
void renewStamp(TraceLog& log) {
  const std::optional<std::time_t> second =
      log.clock ? std::nullopt : std::optional<std::time_t>(std::time(nullptr));
  if (second && second == log.stamped_second) return;
  const LocalTime now = localTime();
  log.stamp = text("[", now.hour, ":", now.minute, ":", now.second, ", ", now.day, "-", now.month, "-",
                   now.year, "] ");
  log.stamped_second = second;
}

}  // namespace

LocalTime localTime() { return traceLog().clock ? traceLog().clock() : systemLocalTime(); }

void setClock(std::function<LocalTime()> clock) { traceLog().clock = std::move(clock); }

void openTraceLog(std::string program_path) {
  TraceLog& log = traceLog();
  log.path = std::move(program_path);
  log.stream = host::pathExists(log.path) ? host::openFile(log.path, "w") : nullptr;
  log.file.emplace(log.path);
}

const std::string& logPath() { return traceLog().path; }

void WriteTraceLog(std::string_view message) {
  TraceLog& log = traceLog();
  if (log.path.empty()) return;
  renewStamp(log);
  log.line.assign(log.stamp).append(message).push_back('\n');
  if (log.stream) {
    std::fwrite(log.line.data(), 1, log.line.size(), log.stream.get());
    log.stream.reset();
  } else {
    log.file->append(log.line);
  }
}

}  // namespace loftbay::diag
