#include "jttk/file/packed_data.h"

#include <algorithm>
#include <array>
#include <new>
#include <utility>

#include "jttk/file/inflate.h"
#include "jttk/file/unxz.h"

namespace jttk {
namespace {

bool looksLikeXz(std::span<const std::byte> packed) {
  constexpr std::array kMagic{std::byte{0xfd}, std::byte{'7'}, std::byte{'z'},
                              std::byte{'X'},  std::byte{'Z'}, std::byte{0}};
  return packed.size() >= kMagic.size() && std::equal(kMagic.begin(), kMagic.end(), packed.begin());
}

// A zlib header: method 8, and both bytes together are a multiple of 31.
bool looksLikeZlib(std::span<const std::byte> packed) {
  if (packed.size() < 2) return false;
  const auto method = std::to_integer<unsigned>(packed[0]);
  return (method & 15U) == 8 && (method * 256 + std::to_integer<unsigned>(packed[1])) % 31 == 0;
}

// Flag and algorithm are 2 for zlib and 3 for LZMA. Where they do not agree, the first bytes of the data
// decide; if these do not either, the data count as not compressed.
Compression compressionOf(std::uint32_t flag, std::uint32_t algorithm, std::span<const std::byte> packed) {
  constexpr std::uint32_t kZlib = 2;
  constexpr std::uint32_t kLzma = 3;
  const bool packs = flag == kZlib || flag == kLzma || algorithm == kZlib || algorithm == kLzma;
  if (packs && looksLikeXz(packed)) return Compression::Lzma;
  if (flag == kLzma && algorithm == kLzma) return Compression::Lzma;
  if (flag == kZlib && algorithm == kZlib) return Compression::Zlib;
  return packs && looksLikeZlib(packed) ? Compression::Zlib : Compression::Stored;
}

Error unpacksTooMuch(const WorkBudget& budget, std::uint64_t offset) {
  return overBudget(
      "the model unpacks to more than " + std::to_string(budget.unpackedLimit()) + " bytes (--max-unpacked)",
      offset);
}

Result<Unpacked> unpack(Compression compression, std::span<const std::byte> packed, std::uint64_t offset,
                        WorkBudget* budget) {
  Unpacked unpacked;
  const std::uint64_t left = budget == nullptr ? kMaximumUnpackedBytes : budget->mayUnpack();
  const bool is_short = left < kMaximumUnpackedBytes;
  if (left == 0) return tl::unexpected<Error>(unpacksTooMuch(*budget, offset));
  const std::size_t limit = is_short ? static_cast<std::size_t>(left) : kMaximumUnpackedBytes;
  std::size_t came_out = 0;
  auto bytes = compression == Compression::Zlib
                   ? inflateZlib(packed, offset, limit, &unpacked.lacks_checksum, &came_out)
                   : unpackLzma(packed, offset, limit, &unpacked.lacks_checksum, &came_out);
  if (budget != nullptr) budget->unpacked(came_out, !bytes);
  if (!bytes) {
    return tl::unexpected<Error>(is_short && came_out > limit ? unpacksTooMuch(*budget, offset)
                                                              : bytes.error());
  }
  unpacked.bytes = std::move(*bytes);
  return unpacked;
}

}  // namespace

const char* compressionName(Compression compression) {
  switch (compression) {
    case Compression::None:
      return "none";
    case Compression::Stored:
      return "stored";
    case Compression::Zlib:
      return "zlib";
    case Compression::Lzma:
      return "lzma";
  }
  return "";
}

Result<Prefix> readPrefix(ByteReader reader, std::size_t segment_bytes) {
  constexpr std::size_t kPrefixBytes = 9;
  Prefix prefix;
  const std::uint32_t flag = reader.u32("compression flag");
  const std::uint64_t length_offset = reader.offset();
  const std::int32_t length = reader.i32("compressed length");
  const std::uint8_t algorithm = reader.u8("compression algorithm");
  if (!reader.ok()) return reader.unexpected();
  prefix.offset = reader.offset();
  prefix.reach = reader.take(reader.remaining(), "compressed data");
  prefix.compression = compressionOf(flag, algorithm, prefix.reach);
  if (length < 0 && prefix.compression == Compression::Stored) {
    return fail("compressed length is " + std::to_string(length), length_offset);
  }
  const std::size_t left = segment_bytes - std::min(segment_bytes, kPrefixBytes);
  const std::size_t size = length < 1 ? left : static_cast<std::size_t>(length) - 1;
  prefix.exceeds_segment = size > left;
  prefix.stated_bytes = std::min(size, prefix.reach.size());
  prefix.missing_bytes = size - prefix.stated_bytes;
  return prefix;
}

Error tooShort(const Prefix& prefix) {
  return makeError("compressed data are " + std::to_string(prefix.stated_bytes + prefix.missing_bytes) +
                       " bytes, but only " + std::to_string(prefix.stated_bytes) + " are left in the segment",
                   prefix.offset);
}

Error overBudget(std::string what, std::uint64_t offset) {
  Error error = makeError(std::move(what), offset);
  error.is_over_budget = true;
  return error;
}

Result<Unpacked> unpack(const Prefix& prefix, WorkBudget* budget) {
  try {
    auto unpacked = unpack(prefix.compression, prefix.reach, prefix.offset, budget);
    if (unpacked || unpacked.error().is_over_budget || prefix.stated_bytes == prefix.reach.size()) {
      return unpacked;
    }
    return unpack(prefix.compression, prefix.stated(), prefix.offset, budget);
  } catch (const std::bad_alloc&) {
    return fail("out of memory", prefix.offset);
  }
}

}  // namespace jttk
