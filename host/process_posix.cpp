// POSIX side of process.h.
#include "host/process.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

namespace loftbay::host {

namespace {

// What /proc/self/status says of this process, in kilobytes; 0 where it does not. The high water mark belongs
// to the program image; the number of getrusage outlives exec, so that a small child of a large parent would
// state the parent's.
struct StatedMemory {
  std::uint64_t resident = 0;
  std::uint64_t peak = 0;
};

std::uint64_t kilobytesAt(std::string_view text, std::string_view field) {
  const std::size_t at = text.find(field);
  if (at == std::string_view::npos) return 0;
  text.remove_prefix(at + field.size());
  text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
  std::uint64_t kilobytes = 0;
  std::from_chars(text.data(), text.data() + text.size(), kilobytes);
  return kilobytes;
}

// The log asks before and after many steps, so the file stays open.
StatedMemory statedMemory() {
  static const int status = open("/proc/self/status", O_RDONLY | O_CLOEXEC);
  std::array<char, 8192> buffer;
  const ssize_t size = status < 0 ? -1 : pread(status, buffer.data(), buffer.size(), 0);
  if (size <= 0) return {};
  const std::string_view text(buffer.data(), static_cast<std::size_t>(size));
  return {kilobytesAt(text, "\nVmRSS:"), kilobytesAt(text, "\nVmHWM:")};
}

// For systems that keep no such mark.
std::optional<std::uint64_t> largestEver() {
  rusage usage{};
  if (getrusage(RUSAGE_SELF, &usage) != 0) return std::nullopt;
  return static_cast<std::uint64_t>(usage.ru_maxrss);
}

}  // namespace

std::optional<MemoryCounters> processMemory() {
  StatedMemory stated = statedMemory();
  if (stated.resident == 0) return std::nullopt;
  if (stated.peak == 0) stated.peak = largestEver().value_or(0);
  // The two numbers are rounded, so the peak can be below the current value.
  return MemoryCounters{stated.resident * 1024, std::max(stated.resident, stated.peak) * 1024};
}

}  // namespace loftbay::host
