// POSIX side of process.h.
#include "host/process.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>

#include "host/file.h"

namespace loftbay::host {

namespace {

// Kilobytes. Belongs to the program image; the number of getrusage outlives exec, so that a small child of a
// large parent would state the parent's.
std::optional<std::uint64_t> highWaterMark() {
  const FilePointer status(std::fopen("/proc/self/status", "r"));
  if (!status) return std::nullopt;
  std::array<char, 256> line{};
  unsigned long long kilobytes = 0;
  while (std::fgets(line.data(), line.size(), status.get()) != nullptr) {
    if (std::sscanf(line.data(), "VmHWM: %llu kB", &kilobytes) == 1) return kilobytes;
  }
  return std::nullopt;
}

// For systems that keep no such mark.
std::optional<std::uint64_t> largestEver() {
  rusage usage{};
  if (getrusage(RUSAGE_SELF, &usage) != 0) return std::nullopt;
  return static_cast<std::uint64_t>(usage.ru_maxrss);
}

}  // namespace

std::optional<MemoryCounters> processMemory() {
  // Second number of statm: resident pages.
  unsigned long long total_pages = 0;
  unsigned long long resident_pages = 0;
  const FilePointer statm(std::fopen("/proc/self/statm", "r"));
  if (!statm || std::fscanf(statm.get(), "%llu %llu", &total_pages, &resident_pages) != 2)
    return std::nullopt;
  auto peak = highWaterMark();
  if (!peak) peak = largestEver();
  if (!peak) return std::nullopt;
  const std::uint64_t resident = resident_pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
  // The two numbers are taken at different moments and rounded, so the peak can be below the current value.
  return MemoryCounters{resident, std::max(resident, *peak * 1024)};
}

}  // namespace loftbay::host
