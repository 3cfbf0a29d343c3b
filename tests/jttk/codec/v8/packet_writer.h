// Writes JT 8.x packets and shapes field by field, for tests. Straightforward rather than quick, and made
// from the definition of the format, not from the decoder.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "jttk/file/byte_reader.h"

namespace jttk::test {

// A sequence of bits.
class Bits {
 public:
  Bits() = default;
  // '0' and '1'; other characters are for the reader.
  explicit Bits(std::string_view text) { add(text); }

  Bits& add(std::string_view text) {
    for (const char c : text) {
      if (c == '0' || c == '1') bits_.push_back(c == '1');
    }
    return *this;
  }
  // The low `width` bits of `value`, the most significant one first.
  Bits& add(std::uint64_t value, unsigned width) {
    for (unsigned i = width; i-- > 0;) bits_.push_back(((value >> i) & 1U) != 0);
    return *this;
  }
  [[nodiscard]] std::size_t size() const { return bits_.size(); }
  [[nodiscard]] bool operator[](std::size_t i) const { return i < bits_.size() && bits_[i]; }

 private:
  std::vector<bool> bits_;
};

class Bytes {
 public:
  explicit Bytes(ByteOrder order = ByteOrder::Little) : order_(order) {}

  Bytes& u8(std::uint32_t value) { return number(value, 1); }
  Bytes& i16(std::int32_t value) { return number(static_cast<std::uint32_t>(value), 2); }
  Bytes& i32(std::int64_t value) { return number(static_cast<std::uint32_t>(value), 4); }
  Bytes& f32(float value) { return number(std::bit_cast<std::uint32_t>(value), 4); }
  Bytes& bytes(const Bytes& other) { return bytes(other.data_); }
  Bytes& bytes(std::span<const std::byte> other) {
    data_.insert(data_.end(), other.begin(), other.end());
    return *this;
  }
  // Whole bytes, the most significant bit of each first; zeros at the end.
  Bytes& byteBits(const Bits& bits) {
    for (std::size_t i = 0; i < bits.size(); i += 8) {
      std::uint32_t byte = 0;
      for (std::size_t k = 0; k < 8; ++k) byte = byte << 1 | static_cast<std::uint32_t>(bits[i + k]);
      u8(byte);
    }
    return *this;
  }
  // I32 word count, and words in the file's byte order, filled from the most significant bit.
  Bytes& codeTextWords(const Bits& bits) {
    i32(static_cast<std::int64_t>((bits.size() + 31) / 32));
    for (std::size_t i = 0; i < bits.size(); i += 32) {
      std::uint32_t word = 0;
      for (std::size_t k = 0; k < 32; ++k) word = word << 1 | static_cast<std::uint32_t>(bits[i + k]);
      i32(word);
    }
    return *this;
  }

  [[nodiscard]] const std::vector<std::byte>& data() const { return data_; }
  [[nodiscard]] std::size_t size() const { return data_.size(); }
  [[nodiscard]] ByteOrder order() const { return order_; }
  [[nodiscard]] ByteReader reader() const { return ByteReader(data_, order_); }

 private:
  Bytes& number(std::uint32_t value, unsigned size) {
    for (unsigned i = 0; i < size; ++i) {
      const unsigned shift = 8 * (order_ == ByteOrder::Little ? i : size - 1 - i);
      data_.push_back(static_cast<std::byte>(value >> shift));
    }
    return *this;
  }

  ByteOrder order_;
  std::vector<std::byte> data_;
};

// A packet of codec 0: the values as they are.
inline Bytes nullPacket(std::span<const std::int32_t> values, ByteOrder order = ByteOrder::Little) {
  Bytes packet(order);
  packet.u8(0).i32(static_cast<std::int64_t>(values.size()));
  for (const std::int32_t value : values) packet.i32(value);
  return packet;
}

// A packet of codec 1 around a code text.
inline Bytes bitLengthPacket(const Bits& text, std::size_t value_count, ByteOrder order = ByteOrder::Little) {
  Bytes packet(order);
  packet.u8(1).i32(static_cast<std::int64_t>(text.size())).i32(static_cast<std::int64_t>(value_count));
  return packet.codeTextWords(text);
}

struct Entry {
  std::int32_t symbol;  // -2: escape
  std::uint32_t count;
  std::int32_t value;  // first table only
  std::uint32_t next = 0;
};

inline constexpr std::int32_t kEscape = -2;
inline constexpr std::int32_t kMinimumValue = -1000;

// Probability contexts with generous field widths: 7 bits symbol, 17 count, 20 value - kMinimumValue, 1 next.
inline Bytes contexts(const std::vector<std::vector<Entry>>& tables, ByteOrder order = ByteOrder::Little) {
  Bits bits;
  bool first = true;
  for (const std::vector<Entry>& table : tables) {
    bits.add(table.size(), 32).add(7, 6).add(17, 6);
    if (first) bits.add(20, 6);
    bits.add(1, 6);
    if (first) bits.add(static_cast<std::uint32_t>(kMinimumValue), 32);
    for (const Entry& entry : table) {
      bits.add(static_cast<std::uint64_t>(entry.symbol + 2), 7).add(entry.count, 17);
      if (first) bits.add(static_cast<std::uint64_t>(entry.value - kMinimumValue), 20);
      bits.add(entry.next, 1);
    }
    first = false;
  }
  Bytes result(order);
  return result.u8(static_cast<std::uint32_t>(tables.size())).byteBits(bits);
}

// A packet of codec 2 or 3. `symbol_count` is written when there are two tables.
inline Bytes symbolPacket(std::uint32_t codec, const std::vector<std::vector<Entry>>& tables,
                          std::span<const std::int32_t> out_of_band, const Bits& text,
                          std::size_t value_count, std::size_t symbol_count = 0,
                          ByteOrder order = ByteOrder::Little) {
  Bytes packet(order);
  packet.u8(codec).bytes(contexts(tables, order)).i32(static_cast<std::int64_t>(out_of_band.size()));
  if (!out_of_band.empty()) packet.bytes(nullPacket(out_of_band, order));
  packet.i32(static_cast<std::int64_t>(text.size())).i32(static_cast<std::int64_t>(value_count));
  if (tables.size() == 2) packet.i32(static_cast<std::int64_t>(symbol_count));
  return packet.codeTextWords(text);
}

// Calls `decode` with a reader over every prefix of `bytes`, each a heap copy of exactly its length, so that
// sanitizers see the smallest over-read. `decode` gets the reader and whether the prefix is the whole.
template <typename Decode>
void forEachPrefix(const Bytes& bytes, Decode decode) {
  for (std::size_t size = 0; size <= bytes.size(); ++size) {
    const std::unique_ptr<std::byte[]> copy(new std::byte[size]);
    for (std::size_t i = 0; i < size; ++i) copy[i] = bytes.data()[i];
    decode(ByteReader({copy.get(), size}, bytes.order()), size == bytes.size());
  }
}

}  // namespace jttk::test
