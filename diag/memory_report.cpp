#include "diag/memory_report.h"

#include <utility>

#include "diag/trace_log.h"

namespace loftbay::diag {

namespace {
std::function<std::optional<host::MemoryCounters>()>& memoryQuery() {
  static std::function<std::optional<host::MemoryCounters>()> query;
  return query;
}
}  // namespace

std::string& GetMemoryUsageReport(std::string& out) {
  const auto counters = memoryQuery() ? memoryQuery()() : host::processMemory();
  out.clear();
  if (counters) {
    // The missing blank after the second colon and the trailing tab are what readers of these logs expect.
    out = text(counters->working_set_bytes / 1024, " Kb\t\t",
               "Peak Memory Usage :", counters->peak_working_set_bytes / 1024, " Kb\t");
  }
  return out;
}

std::string memoryUsageReport() {
  std::string report;
  GetMemoryUsageReport(report);
  return report;
}

void setMemoryQuery(std::function<std::optional<host::MemoryCounters>()> query) {
  memoryQuery() = std::move(query);
}

}  // namespace loftbay::diag
