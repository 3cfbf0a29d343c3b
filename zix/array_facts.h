// What a check needs to know of an array's values, gathered while the array passes by once.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>

namespace Orb::Zix {

namespace array_facts {

// The values in a piece of an array. Pieces of a file are as well aligned as the values.
template <typename T>
std::span<const T> valuesIn(std::span<const std::byte> piece) {
  return {reinterpret_cast<const T*>(piece.data()), piece.size() / sizeof(T)};
}

// Calls `look(block, offset)` for blocks that are short enough to be looked at twice.
template <typename T, typename Look>
void forEachBlock(std::span<const std::byte> piece, std::uint64_t offset, Look look) {
  constexpr std::size_t kBlock = 1024;
  auto values = valuesIn<T>(piece);
  while (!values.empty()) {
    const auto block = values.first(std::min(values.size(), kBlock));
    look(block, offset);
    values = values.subspan(block.size());
    offset += block.size_bytes();
  }
}

}  // namespace array_facts

// Of an array of floats.
class FloatFacts {
 public:
  void add(std::span<const std::byte> piece, std::uint64_t offset) {
    if (first_not_finite_) return;
    array_facts::forEachBlock<std::uint32_t>(
        piece, offset, [&](std::span<const std::uint32_t> block, std::uint64_t block_offset) {
          if (first_not_finite_) return;
          std::uint32_t largest = 0;
          for (const std::uint32_t bits : block) largest = std::max(largest, bits & kExponent);
          if (largest != kExponent) return;
          const auto bad = std::find_if(block.begin(), block.end(),
                                        [](std::uint32_t bits) { return (bits & kExponent) == kExponent; });
          first_not_finite_ = block_offset + 4 * static_cast<std::uint64_t>(bad - block.begin());
        });
  }
  // Where in the file the first infinity or NaN stands.
  [[nodiscard]] std::optional<std::uint64_t> firstNotFinite() const { return first_not_finite_; }

 private:
  static constexpr std::uint32_t kExponent =
      0x7f800000;  // all bits of it are set where a value is not finite
  std::optional<std::uint64_t> first_not_finite_;
};

// Of an array of indices or of element lengths.
class IndexFacts {
 public:
  void add(std::span<const std::byte> piece, std::uint64_t offset) {
    array_facts::forEachBlock<std::uint32_t>(
        piece, offset, [&](std::span<const std::uint32_t> block, std::uint64_t block_offset) {
          std::uint32_t largest = 0;
          std::uint32_t other_than_three = 0;
          std::uint64_t sum = 0;
          for (const std::uint32_t value : block) {
            largest = std::max(largest, value);
            other_than_three |= value ^ 3;
            sum += value;
          }
          sum_ += sum;
          const auto offsetOf = [&](auto place) {
            return block_offset + 4 * static_cast<std::uint64_t>(place - block.begin());
          };
          if (count_ == 0 || largest > largest_) {
            largest_ = largest;
            largest_offset_ = offsetOf(std::find(block.begin(), block.end(), largest));
          }
          if (other_than_three != 0 && !first_not_three_) {
            const auto place =
                std::find_if(block.begin(), block.end(), [](auto value) { return value != 3; });
            first_not_three_ = NotThree{*place, offsetOf(place)};
          }
          count_ += block.size();
        });
  }

  [[nodiscard]] std::uint64_t count() const { return count_; }
  // Modulo 2^64.
  [[nodiscard]] std::uint64_t sum() const { return sum_; }
  // The largest value and where in the file it stands first; 0 for an empty array.
  [[nodiscard]] std::uint32_t largest() const { return largest_; }
  [[nodiscard]] std::uint64_t largestOffset() const { return largest_offset_; }
  struct NotThree {
    std::uint32_t value;
    std::uint64_t offset;
  };
  [[nodiscard]] std::optional<NotThree> firstNotThree() const { return first_not_three_; }

 private:
  std::uint64_t count_ = 0;
  std::uint64_t sum_ = 0;
  std::uint32_t largest_ = 0;
  std::uint64_t largest_offset_ = 0;
  std::optional<NotThree> first_not_three_;
};

}  // namespace Orb::Zix
