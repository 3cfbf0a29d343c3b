#include "diag/trace_log.h"

#include <ctime>
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
  std::function<LocalTime()> clock;
};

TraceLog& traceLog() {
  static TraceLog log;
  return log;
}

}  // namespace

LocalTime localTime() { return traceLog().clock ? traceLog().clock() : systemLocalTime(); }

void setClock(std::function<LocalTime()> clock) { traceLog().clock = std::move(clock); }

void openTraceLog(std::string program_path) {
  TraceLog& log = traceLog();
  log.path = std::move(program_path);
  log.stream = host::pathExists(log.path) ? host::openFile(log.path, "w") : nullptr;
}

const std::string& logPath() { return traceLog().path; }

void WriteTraceLog(std::string message) {
  TraceLog& log = traceLog();
  if (log.path.empty()) return;
  if (!log.stream) log.stream = host::openFile(log.path, "a");
  if (!log.stream) return;
  const LocalTime now = localTime();
  const std::string line = text("[", now.hour, ":", now.minute, ":", now.second, ", ", now.day, "-",
                                now.month, "-", now.year, "] ", message, "\n");
  std::fwrite(line.data(), 1, line.size(), log.stream.get());
  log.stream.reset();
  message.clear();
}

}  // namespace loftbay::diag
