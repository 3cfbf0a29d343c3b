#include "samples/maker/pieces/bytes.h"

namespace loftbay::maker::pieces {

Bytes bytesOf(const maker::Bytes& bytes) {
  const auto all = std::as_bytes(std::span(bytes));
  return {all.begin(), all.end()};
}

std::span<const std::uint8_t> octets(std::span<const std::byte> bytes) {
  return {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
}

BitBuilder& BitBuilder::bits(std::string_view text) {
  for (const char c : text) {
    if (c == '0' || c == '1') writer_.put(c == '1');
  }
  return *this;
}

BitBuilder& BitBuilder::number(std::uint64_t value, int width) {
  for (int i = width - 1; i >= 0; --i) writer_.put(i < 64 && (value >> i & 1U) != 0);
  return *this;
}

Bytes BitBuilder::asBytes() const {
  ByteWriter out(false);
  writer_.writeBytes(out);
  return bytesOf(out.bytes());
}

Bytes BitBuilder::asCodeText() const {
  ByteWriter out(false);
  writer_.writeCodeText(out);
  return bytesOf(out.bytes());
}

ByteBuilder& ByteBuilder::text(std::string_view v) {
  for (const char c : v) writer_.u8(static_cast<std::uint8_t>(c));
  return *this;
}

ByteBuilder& ByteBuilder::mbString(std::string_view latin1) {
  u32(latin1.size());
  for (const char c : latin1) u16(static_cast<std::uint8_t>(c));
  return *this;
}

Bytes zlibOf(std::span<const std::byte> plain) { return bytesOf(zlibCompressed(octets(plain))); }

Bytes xzOf(std::span<const std::byte> plain, XzCheck check) {
  return bytesOf(xzCompressed(octets(plain), 1, check));
}

}  // namespace loftbay::maker::pieces
