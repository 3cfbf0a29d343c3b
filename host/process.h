// What the program asks the system about its own process.
#pragma once

#include <cstdint>
#include <optional>

namespace loftbay::host {

struct MemoryCounters {
  std::uint64_t working_set_bytes = 0;  // resident now
  // The most that was ever resident of this process itself, never less than what is resident now.
  std::uint64_t peak_working_set_bytes = 0;
};

// Empty when the system does not answer.
std::optional<MemoryCounters> processMemory();

}  // namespace loftbay::host
