// Puts JT structures together for tests and fuzzing seeds: bytes, bit streams, packets, containers.
// Everything is little endian.
#pragma once

#include <zlib.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "jttk/codec/v9/packet.h"
#include "jttk/file/byte_reader.h"

namespace jttk::testing {

using Bytes = std::vector<std::byte>;

class ByteBuilder {
 public:
  ByteBuilder& u8(std::uint32_t v) { return put(v, 1); }
  ByteBuilder& u16(std::uint32_t v) { return put(v, 2); }
  ByteBuilder& u32(std::uint32_t v) { return put(v, 4); }
  ByteBuilder& i32(std::int32_t v) { return put(static_cast<std::uint32_t>(v), 4); }
  ByteBuilder& u64(std::uint64_t v) { return put(v, 8); }
  ByteBuilder& f32(float v) { return u32(std::bit_cast<std::uint32_t>(v)); }
  ByteBuilder& guid(const Guid& id) {
    u32(id.a).u16(id.b).u16(id.c);
    for (const std::uint8_t byte : id.d) u8(byte);
    return *this;
  }
  ByteBuilder& text(std::string_view v) {
    for (const char c : v) u8(static_cast<unsigned char>(c));
    return *this;
  }
  ByteBuilder& bytes(std::span<const std::byte> v) {
    bytes_.insert(bytes_.end(), v.begin(), v.end());
    return *this;
  }
  [[nodiscard]] const Bytes& result() const { return bytes_; }
  [[nodiscard]] std::uint32_t size() const { return static_cast<std::uint32_t>(bytes_.size()); }

 private:
  ByteBuilder& put(std::uint64_t v, int count) {
    for (int i = 0; i < count; ++i) bytes_.push_back(static_cast<std::byte>(v >> (8 * i)));
    return *this;
  }
  Bytes bytes_;
};

// Bits, first bit first. Code texts take them as words, probability tables as bytes.
class BitBuilder {
 public:
  // A text of 0 and 1; other characters separate.
  BitBuilder& bits(std::string_view text) {
    for (const char c : text) {
      if (c == '0' || c == '1') bits_.push_back(c == '1');
    }
    return *this;
  }
  BitBuilder& number(std::uint32_t value, int width) {
    for (int i = width - 1; i >= 0; --i) bits_.push_back(((value >> i) & 1U) != 0);
    return *this;
  }
  [[nodiscard]] std::uint32_t size() const { return static_cast<std::uint32_t>(bits_.size()); }
  [[nodiscard]] Bytes asBytes() const {
    Bytes bytes((bits_.size() + 7) / 8);
    for (std::size_t i = 0; i < bits_.size(); ++i) {
      if (bits_[i]) bytes[i / 8] |= static_cast<std::byte>(0x80U >> (i % 8));
    }
    return bytes;
  }
  // Length in bits, then little-endian words.
  [[nodiscard]] Bytes asCodeText() const {
    Bytes padded = asBytes();
    padded.resize((padded.size() + 3) / 4 * 4);
    ByteBuilder out;
    out.u32(size());
    for (std::size_t i = 0; i < padded.size(); i += 4) {
      for (std::size_t k = 4; k > 0; --k) out.u8(std::to_integer<std::uint32_t>(padded[i + k - 1]));
    }
    return out.result();
  }

 private:
  std::vector<bool> bits_;
};

inline int signedWidth(std::int32_t value) {
  return static_cast<int>(std::bit_width(static_cast<std::uint32_t>(value < 0 ? ~value : value))) + 1;
}

// A number as JT 10 chains it from nibbles.
inline void addNibbles(BitBuilder& bits, std::int32_t value) {
  const int groups = (signedWidth(value) + 3) / 4;
  for (int i = 0; i < groups; ++i) {
    bits.number((static_cast<std::uint32_t>(value) >> (4 * i)) & 15U, 4).number(i + 1 < groups ? 1 : 0, 1);
  }
}

// A packet of the bit length codec with a fixed width.
inline Bytes packetOf(const std::vector<std::int32_t>& values, PacketForm form) {
  ByteBuilder out;
  out.u32(static_cast<std::uint32_t>(values.size()));
  if (values.empty()) return out.result();
  std::int32_t minimum = values[0];
  std::int32_t maximum = values[0];
  for (const std::int32_t value : values) {
    minimum = value < minimum ? value : minimum;
    maximum = value > maximum ? value : maximum;
  }
  BitBuilder bits;
  bits.bits("0");
  if (form == PacketForm::V10) {
    addNibbles(bits, minimum);
    addNibbles(bits, maximum);
  } else {
    bits.number(static_cast<std::uint32_t>(signedWidth(minimum)), 6);
    bits.number(static_cast<std::uint32_t>(signedWidth(maximum)), 6);
    bits.number(static_cast<std::uint32_t>(minimum), signedWidth(minimum));
    bits.number(static_cast<std::uint32_t>(maximum), signedWidth(maximum));
  }
  const auto base = static_cast<std::uint32_t>(minimum);
  const auto width = static_cast<int>(std::bit_width(static_cast<std::uint32_t>(maximum) - base));
  for (const std::int32_t value : values) bits.number(static_cast<std::uint32_t>(value) - base, width);
  return out.u8(1).bytes(bits.asCodeText()).result();
}

// What Lag1 leaves of values: the first four stay.
inline std::vector<std::int32_t> lag1Residuals(std::vector<std::int32_t> values) {
  for (std::size_t i = values.size(); i > 4; --i) {
    values[i - 1] = static_cast<std::int32_t>(static_cast<std::uint32_t>(values[i - 1]) -
                                              static_cast<std::uint32_t>(values[i - 2]));
  }
  return values;
}

inline Bytes zlibOf(std::span<const std::byte> plain) {
  uLongf size = compressBound(static_cast<uLong>(plain.size()));
  Bytes packed(size);
  compress(reinterpret_cast<Bytef*>(packed.data()), &size, reinterpret_cast<const Bytef*>(plain.data()),
           static_cast<uLong>(plain.size()));
  packed.resize(size);
  return packed;
}

}  // namespace jttk::testing
