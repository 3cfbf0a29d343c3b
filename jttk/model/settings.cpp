#include "jttk/model/settings.h"

namespace jttk {

Settings& settings() {
  static Settings values;
  return values;
}

// A small file must stay cheap: ten kilobytes may cost some seconds and some dozens of megabytes at most. The
// best-packed real files stay far below all of it.
WorkLimits workLimits() {
  constexpr std::uint64_t kMegabyte = std::uint64_t{1} << 20U;
  WorkLimits limits{};
  limits.places = {.base = 50'000, .per_byte = 4, .given = settings().max_placed_nodes};
  limits.unpacked = {.base = 16 * kMegabyte, .per_byte = 256, .given = settings().max_unpacked_bytes};
  limits.exact = {.base = 3'000'000, .per_byte = 100, .given = {}};
  limits.memory = {.base = 48 * kMegabyte,
                   .per_byte = 2048,
                   .most = 8192 * kMegabyte,
                   .given = settings().max_memory_bytes};
  return limits;
}

}  // namespace jttk
