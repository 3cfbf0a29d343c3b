// Appends typed values to a growing byte array in the byte order of the file, and packs bits, most
// significant first, into code text words or bytes.
#pragma once

#include <bit>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace loftbay::maker {

using Bytes = std::vector<std::uint8_t>;

struct GuidValue {
  std::uint32_t a = 0;
  std::uint16_t b = 0;
  std::uint16_t c = 0;
  std::uint8_t d[8] = {};
  friend bool operator==(const GuidValue&, const GuidValue&) = default;
  friend auto operator<=>(const GuidValue&, const GuidValue&) = default;  // NOLINT(modernize-use-nullptr)
};

class ByteWriter {
 public:
  explicit ByteWriter(bool big_endian) : big_endian_(big_endian) {}

  void u8(unsigned value) { bytes_.push_back(static_cast<std::uint8_t>(value)); }
  void u16(std::uint16_t value) { put(value, 2); }
  void u32(std::uint32_t value) { put(value, 4); }
  void u64(std::uint64_t value) { put(value, 8); }
  void i16(int value) { put(static_cast<std::uint16_t>(value), 2); }
  void i32(std::int64_t value) { put(static_cast<std::uint32_t>(value), 4); }
  void f32(float value) { put(std::bit_cast<std::uint32_t>(value), 4); }
  void f64(double value) { put(std::bit_cast<std::uint64_t>(value), 8); }
  void guid(const GuidValue& value);
  // UTF-8 in; I32 count of UTF-16 units, then the units.
  void mbString(std::string_view text);
  void append(std::span<const std::uint8_t> bytes) {
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
  }

  // Overwrites four bytes that were written before.
  void patchI32(std::size_t at, std::int64_t value);

  [[nodiscard]] bool bigEndian() const { return big_endian_; }
  [[nodiscard]] std::size_t size() const { return bytes_.size(); }
  [[nodiscard]] const Bytes& bytes() const { return bytes_; }
  [[nodiscard]] Bytes take() { return std::move(bytes_); }

 private:
  void put(std::uint64_t value, unsigned size) {
    const std::size_t at = bytes_.size();
    bytes_.resize(at + size);
    for (unsigned i = 0; i < size; ++i) {
      bytes_[at + (big_endian_ ? size - 1 - i : i)] = static_cast<std::uint8_t>(value >> (8 * i));
    }
  }

  Bytes bytes_;
  bool big_endian_;
};

class BitWriter {
 public:
  // The lowest `width` bits (0 .. 32) of `value`, the most significant of them first.
  void put(std::uint32_t value, unsigned width) {
    if (width == 0) return;
    if (width < 32) value &= (1U << width) - 1;
    const auto used = static_cast<unsigned>(bit_count_ & 31);
    bit_count_ += width;
    if (used == 0) words_.push_back(0);
    const unsigned space = 32 - used;
    if (width <= space) {
      words_.back() |= value << (space - width);
    } else {
      words_.back() |= value >> (width - space);
      words_.push_back(value << (32 - (width - space)));
    }
  }
  void put(bool bit) { put(bit ? 1U : 0U, 1); }

  [[nodiscard]] std::size_t bitCount() const { return bit_count_; }
  [[nodiscard]] const std::vector<std::uint32_t>& words() const { return words_; }
  // I32 length in bits, then the words.
  void writeCodeText(ByteWriter& out) const;
  // The bits as a byte stream, the last byte filled up with zeros.
  void writeBytes(ByteWriter& out) const;

 private:
  std::vector<std::uint32_t> words_;
  std::size_t bit_count_ = 0;
};

}  // namespace loftbay::maker
