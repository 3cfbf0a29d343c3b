// The checksum of header, directory and chunks: XXH64 with seed 0.
#pragma once

#include <xxhash.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace Orb::Zix {

inline std::uint64_t checksum(std::span<const std::byte> bytes) {
  return XXH64(bytes.data(), bytes.size(), 0);
}

// The same over bytes that come piece by piece.
class RunningChecksum {
 public:
  RunningChecksum() { XXH64_reset(&state_, 0); }
  void add(std::span<const std::byte> bytes) {
    if (!bytes.empty()) XXH64_update(&state_, bytes.data(), bytes.size());
  }
  [[nodiscard]] std::uint64_t value() const { return XXH64_digest(&state_); }

 private:
  XXH64_state_t state_;
};

}  // namespace Orb::Zix
