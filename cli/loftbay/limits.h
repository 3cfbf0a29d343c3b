// What a file may cost: the options that conversions and `loftbay info` share.
#pragma once

#include <cstdint>
#include <optional>

#include "cli/command_line.h"

namespace loftbay::cli {

// None: the toolkit's own limit, which grows with the size of the files.
struct Limits {
  std::optional<std::uint64_t> places;
  std::optional<std::uint64_t> unpacked_bytes;
  std::optional<std::uint64_t> memory_bytes;
};

[[nodiscard]] Limits limitsIn(const CommandLine& line);

// Hands the limits to the toolkit, for the files that are loaded from here on.
void setLimits(const Limits& limits);

}  // namespace loftbay::cli
