// How the data of a segment are compressed: the prefix that says so, and what comes out.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "jttk/file/byte_reader.h"
#include "jttk/file/error.h"
#include "jttk/file/work_budget.h"

namespace jttk {

enum class Compression : std::uint8_t { None, Stored, Zlib, Lzma };
// "none", "stored", "zlib" or "lzma".
[[nodiscard]] const char* compressionName(Compression compression);

struct Prefix {
  Compression compression = Compression::None;
  std::span<const std::byte> reach;  // what follows the prefix
  std::size_t stated_bytes = 0;      // of `reach`: the stated size, at most what is there
  std::size_t missing_bytes = 0;     // of what the prefix states
  bool exceeds_segment = false;      // the prefix states more than the segment does
  std::uint64_t offset = 0;          // of `reach`

  [[nodiscard]] std::span<const std::byte> stated() const { return reach.first(stated_bytes); }
};

// I32 flag, I32 length, U8 algorithm; the length counts the algorithm byte. A length below 1 is not used; the
// segment's own length is. `segment_bytes`: what that leaves, the prefix included.
Result<Prefix> readPrefix(ByteReader reader, std::size_t segment_bytes);

// The error of a prefix that states more than there is.
[[nodiscard]] Error tooShort(const Prefix& prefix);
// The error of a limit of the whole conversion.
[[nodiscard]] Error overBudget(std::string what, std::uint64_t offset);

struct Unpacked {
  std::vector<std::byte> bytes;
  bool lacks_checksum = false;
};

// A stream knows its own end, so all bytes up to the next segment are offered first. If that fails, the
// stated size is tried: what follows may belong to something else. `budget` may be null.
Result<Unpacked> unpack(const Prefix& prefix, WorkBudget* budget);

}  // namespace jttk
