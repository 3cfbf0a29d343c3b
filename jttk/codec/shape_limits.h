// How much a shape LOD element of a given size may plausibly hold.
//
// Three of the codecs state any number of equal values in no bits at all, so bytes do not bound counts
// strictly. But a shape is never all of one value: a flat, regular grid of two million quantised triangles
// with one normal takes 640 kB for 14 million values, which is some 20 values per byte. The limit below has
// ten times as much room, and lets small elements have what a small computer can afford without a thought.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace jttk {

// A small element may hold this many whatever its size.
inline constexpr std::uint64_t kFreeShapeValues = std::uint64_t{1} << 21;
// What an element of middling size may hold, all its packets together. Beyond, it takes bytes to have more.
inline constexpr std::uint64_t kGenerousShapeValues = std::uint64_t{1} << 27;
inline constexpr std::uint64_t kGenerousValuesPerByte = 256;
inline constexpr std::uint64_t kShapeValuesPerByte = 32;
// No shape holds more, however large its element is.
inline constexpr std::uint64_t kMaximumShapeValues = std::uint64_t{1} << 31;

// The values that all packets of an element of `bytes` bytes may hold together. Every array that is made of
// an element has its length from a packet or is checked against this number.
constexpr std::uint64_t plausibleShapeValues(std::size_t bytes) noexcept {
  const std::uint64_t counted = std::min<std::uint64_t>(bytes, kMaximumShapeValues / kShapeValuesPerByte);
  const std::uint64_t generous =
      std::min(kGenerousShapeValues, kFreeShapeValues + kGenerousValuesPerByte * counted);
  return std::max(generous, kShapeValuesPerByte * counted);
}

}  // namespace jttk
