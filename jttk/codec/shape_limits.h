// How much a shape LOD element of a given size may plausibly hold.
//
// Some codecs state any number of equal values in no bits at all, so bytes do not bound counts
// strictly. But a shape is never all of one value: a flat, regular grid of two million quantised triangles
// with one normal takes 640 kB for 14 million values, which is some 20 values per byte. The limits below have
// room for that at every size, and allow small elements an amount that costs next to nothing. Beyond these
// rates only the memory budget is a limit.
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

// One large valence makes as many corners, and a corner takes more memory than a value. So more corners than
// this need bytes that justify them.
inline constexpr std::uint64_t kFreeShapeCorners = std::uint64_t{1} << 25;
// Corners are numbered in 32 bits, also where each of them has become a triangle.
inline constexpr std::uint64_t kMaximumShapeCorners = 0xffffffffU / 3;

// The values that all packets of an element of `bytes` bytes may hold together. Every array that is made of
// an element has its length from a packet or is checked against this number.
constexpr std::uint64_t plausibleShapeValues(std::size_t bytes) noexcept {
  constexpr std::uint64_t kMostBytes = std::uint64_t{1} << 50;  // so that products fit
  const std::uint64_t counted = std::min<std::uint64_t>(bytes, kMostBytes);
  const std::uint64_t generous =
      std::min(kGenerousShapeValues, kFreeShapeValues + kGenerousValuesPerByte * counted);
  return std::max(generous, kShapeValuesPerByte * counted);
}

// The corners of polygons or strips that an element of `bytes` bytes may have, covers included.
constexpr std::uint64_t plausibleShapeCorners(std::size_t bytes) noexcept {
  const std::uint64_t values = plausibleShapeValues(bytes);
  const std::uint64_t carried = std::min(values, kShapeValuesPerByte * std::uint64_t{bytes});
  return std::min({values, std::max(kFreeShapeCorners, carried), kMaximumShapeCorners});
}

}  // namespace jttk
