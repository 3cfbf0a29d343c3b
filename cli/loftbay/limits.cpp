#include "cli/loftbay/limits.h"

#include "cli/loftbay/options.h"
#include "jttk/interface/settings.h"

namespace loftbay::cli {

Limits limitsIn(const CommandLine& line) {
  Limits limits;
  if (const auto text = line.value("--max-places")) limits.places = countIn(*text);
  if (const auto text = line.value("--max-unpacked")) limits.unpacked_bytes = bytesIn(*text);
  if (const auto text = line.value("--max-memory")) limits.memory_bytes = bytesIn(*text);
  return limits;
}

void setLimits(const Limits& limits) {
  jttk::settings().max_placed_nodes = limits.places;
  jttk::settings().max_unpacked_bytes = limits.unpacked_bytes;
  jttk::settings().max_memory_bytes = limits.memory_bytes;
}

}  // namespace loftbay::cli
