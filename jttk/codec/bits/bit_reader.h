// Reads bits from the most significant end of 32-bit words that are stored in the file's byte order. A byte
// stream is the same thing with big-endian words, its last word cut short.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include "jttk/file/byte_reader.h"

namespace jttk {

// A read past the end gives zero bits and is remembered: ask overread() after a group of reads, and at least
// once per turn of a loop that ends on what was read.
//
// State: `buffer_` holds the next `available_` bits in its upper part, zeros below; `loaded_` counts the bits
// that were put into it, those invented past the end too.
class BitReader {
 public:
  // `length_bits` may be less than the bytes hold (the last word is padded), never more.
  BitReader(std::span<const std::byte> bytes, ByteOrder word_order, std::uint64_t length_bits) noexcept
      : next_(bytes.data()), left_bytes_(bytes.size()), order_(word_order), length_bits_(length_bits) {}

  // The next `width` bits, 0 .. 32.
  std::uint32_t bits(std::uint32_t width) noexcept {
    if (width > available_) [[likely]]
      refill();
    const auto value = static_cast<std::uint32_t>(buffer_ >> 1 >> (63 - width));
    buffer_ <<= width;
    available_ -= width;
    return value;
  }

  // The next `width` bits, 0 .. 32, without passing over them.
  std::uint32_t peek(std::uint32_t width) noexcept {
    if (width > available_) [[likely]]
      refill();
    return static_cast<std::uint32_t>(buffer_ >> 1 >> (63 - width));
  }

  // Skips `width` bits, no more than the last peek showed.
  void skip(std::uint32_t width) noexcept {
    buffer_ <<= width;
    available_ -= width;
  }

  // bits() in two's complement.
  std::int32_t signedBits(std::uint32_t width) noexcept {
    if (width == 0) return 0;
    if (width > available_) [[likely]]
      refill();
    const std::int64_t value = static_cast<std::int64_t>(buffer_) >> (64 - width);
    buffer_ <<= width;
    available_ -= width;
    return static_cast<std::int32_t>(value);
  }

  [[nodiscard]] bool overread() const noexcept { return consumed() > length_bits_; }
  [[nodiscard]] std::uint64_t consumed() const noexcept { return loaded_ - available_; }
  [[nodiscard]] std::uint64_t length() const noexcept { return length_bits_; }

 private:
  static std::uint32_t swapped(std::uint32_t v) noexcept {
    return (v >> 24) | ((v >> 8) & 0xff00U) | ((v << 8) & 0xff0000U) | (v << 24);
  }

  // At most 32 bits are left whenever this is called with width <= 32, so one word always fits. Called as
  // likely: so it becomes part of the loops that read, and their state stays in registers.
  void refill() noexcept {
    std::uint32_t word = 0;
    if (left_bytes_ >= sizeof word) {
      std::memcpy(&word, next_, sizeof word);
      if (order_ == ByteOrder::Big) word = swapped(word);
      next_ += sizeof word;
      left_bytes_ -= sizeof word;
    } else {
      word = lastWord(next_, left_bytes_);
      left_bytes_ = 0;
    }
    buffer_ |= static_cast<std::uint64_t>(word) << (32 - available_);
    available_ += 32;
    loaded_ += 32;
  }

  // What is left of a byte stream, filled up with zeros.
  static std::uint32_t lastWord(const std::byte* bytes, std::size_t count) noexcept {
    std::uint32_t word = 0;
    for (std::size_t i = 0; i < count; ++i) word |= std::to_integer<std::uint32_t>(bytes[i]) << (24 - 8 * i);
    return word;
  }

  const std::byte* next_;
  std::size_t left_bytes_;
  ByteOrder order_;
  std::uint64_t length_bits_;
  std::uint64_t buffer_ = 0;
  std::uint32_t available_ = 0;
  std::uint64_t loaded_ = 0;
};

}  // namespace jttk
