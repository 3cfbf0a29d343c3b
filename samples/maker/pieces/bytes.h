// Bytes and bits put down one after the other, for files that a test or a fuzzing seed wants to the letter.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "samples/maker/byte_writer.h"
#include "samples/maker/compress.h"

namespace loftbay::maker::pieces {

// As readers take them.
using Bytes = std::vector<std::byte>;

enum class ByteOrder : std::uint8_t { Little, Big };

Bytes bytesOf(const maker::Bytes& bytes);
// The same bytes as the writers of the maker take them.
std::span<const std::uint8_t> octets(std::span<const std::byte> bytes);

// Bits, first bit first. Code texts take them as words, probability tables as bytes.
class BitBuilder {
 public:
  BitBuilder() = default;
  explicit BitBuilder(std::string_view text) { bits(text); }
  explicit BitBuilder(BitWriter bits) : writer_(std::move(bits)) {}

  // A text of 0 and 1; other characters separate.
  BitBuilder& bits(std::string_view text);
  // The low `width` bits; above the 64th they are 0.
  BitBuilder& number(std::uint64_t value, int width);

  [[nodiscard]] std::uint32_t size() const { return static_cast<std::uint32_t>(writer_.bitCount()); }
  [[nodiscard]] const std::vector<std::uint32_t>& words() const { return writer_.words(); }
  // The last byte is filled up with zeros.
  [[nodiscard]] Bytes asBytes() const;
  // Length in bits, then little-endian words.
  [[nodiscard]] Bytes asCodeText() const;

 private:
  BitWriter writer_;
};

class ByteBuilder {
 public:
  explicit ByteBuilder(ByteOrder order = ByteOrder::Little) : writer_(order == ByteOrder::Big) {}

  // Of a value that is too large, the low bits are stored.
  ByteBuilder& u8(std::uint64_t v) {
    return with([&] { writer_.u8(static_cast<std::uint8_t>(v)); });
  }
  ByteBuilder& u16(std::uint64_t v) {
    return with([&] { writer_.u16(static_cast<std::uint16_t>(v)); });
  }
  ByteBuilder& u32(std::uint64_t v) {
    return with([&] { writer_.u32(static_cast<std::uint32_t>(v)); });
  }
  ByteBuilder& u64(std::uint64_t v) {
    return with([&] { writer_.u64(v); });
  }
  ByteBuilder& i16(int v) {
    return with([&] { writer_.i16(v); });
  }
  ByteBuilder& i32(std::int64_t v) {
    return with([&] { writer_.i32(v); });
  }
  ByteBuilder& f32(float v) {
    return with([&] { writer_.f32(v); });
  }
  ByteBuilder& f64(double v) {
    return with([&] { writer_.f64(v); });
  }
  ByteBuilder& guid(const GuidValue& id) {
    return with([&] { writer_.guid(id); });
  }
  // I32 count of UTF-16 units, then one unit for each character: not UTF-8, but Latin-1.
  ByteBuilder& mbString(std::string_view latin1);
  // The characters alone.
  ByteBuilder& text(std::string_view v);
  ByteBuilder& bytes(std::span<const std::byte> v) {
    return with([&] { writer_.append(octets(v)); });
  }
  ByteBuilder& bytes(const ByteBuilder& other) {
    return with([&] { writer_.append(other.writer_.bytes()); });
  }
  // Whole bytes, the most significant bit of each first; zeros at the end.
  ByteBuilder& byteBits(const BitBuilder& bits) { return bytes(bits.asBytes()); }

  // A copy; view() does without, and is good until something is added.
  [[nodiscard]] Bytes result() const { return bytesOf(writer_.bytes()); }
  [[nodiscard]] std::span<const std::byte> view() const { return std::as_bytes(std::span(writer_.bytes())); }
  [[nodiscard]] std::uint32_t size() const { return static_cast<std::uint32_t>(writer_.size()); }
  [[nodiscard]] ByteOrder order() const { return writer_.bigEndian() ? ByteOrder::Big : ByteOrder::Little; }
  // For functions of the maker that write into it.
  [[nodiscard]] ByteWriter& writer() { return writer_; }

 private:
  template <typename Write>
  ByteBuilder& with(Write write) {
    write();
    return *this;
  }

  ByteWriter writer_;
};

// A zlib stream.
Bytes zlibOf(std::span<const std::byte> plain);
// An xz stream; quick to make.
Bytes xzOf(std::span<const std::byte> plain, XzCheck check = XzCheck::Crc64);

}  // namespace loftbay::maker::pieces
