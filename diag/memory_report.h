// The process's memory numbers as log lines show them.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "host/process.h"

namespace loftbay::diag {

// Fills `out` with "<current> Kb\t\tPeak Memory Usage :<peak> Kb\t" (kilobytes, rounded down) and returns it.
// Empty when the system does not answer.
std::string& GetMemoryUsageReport(std::string& out);

// The same as a value, for use in a line.
std::string memoryUsageReport();

// Puts another query in force; an empty function brings back the system's.
void setMemoryQuery(std::function<std::optional<host::MemoryCounters>()> query);

}  // namespace loftbay::diag
