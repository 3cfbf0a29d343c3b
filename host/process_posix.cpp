// POSIX side of process.h.
#include "host/process.h"

#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>

#include "host/file.h"

namespace loftbay::host {

std::optional<MemoryCounters> processMemory() {
  // Second figure of statm: resident pages. getrusage gives the peak in kilobytes on Linux.
  unsigned long long total_pages = 0;
  unsigned long long resident_pages = 0;
  const FilePointer statm(std::fopen("/proc/self/statm", "r"));
  if (!statm || std::fscanf(statm.get(), "%llu %llu", &total_pages, &resident_pages) != 2)
    return std::nullopt;
  rusage usage{};
  if (getrusage(RUSAGE_SELF, &usage) != 0) return std::nullopt;
  return MemoryCounters{resident_pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE)),
                        static_cast<std::uint64_t>(usage.ru_maxrss) * 1024};
}

}  // namespace loftbay::host
