// Windows side of process.h.
#include "host/process.h"

#include <windows.h>
// After windows.h, whose types it uses.
#include <psapi.h>

#include <algorithm>

namespace loftbay::host {

std::optional<MemoryCounters> processMemory() {
  PROCESS_MEMORY_COUNTERS_EX counters{};
  if (GetProcessMemoryInfo(GetCurrentProcess(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters),
                           sizeof counters) == 0) {
    return std::nullopt;
  }
  return MemoryCounters{counters.WorkingSetSize,
                        std::max(counters.WorkingSetSize, counters.PeakWorkingSetSize)};
}

}  // namespace loftbay::host
