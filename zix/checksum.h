// The checksum of header, directory and chunks: XXH64 with seed 0.
#pragma once

#include <xxhash.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace Orb::Zix {

#ifdef __clang_analyzer__
// Static analysis does not see that spans with bytes are not null, and reports the hash for it.
std::uint64_t checksum(std::span<const std::byte> bytes);
#else
inline std::uint64_t checksum(std::span<const std::byte> bytes) {
  return bytes.empty() ? XXH64("", 0, 0) : XXH64(bytes.data(), bytes.size(), 0);
}
#endif

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
