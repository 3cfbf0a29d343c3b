#include "samples/maker/byte_writer.h"

namespace loftbay::maker {

void ByteWriter::guid(const GuidValue& value) {
  u32(value.a);
  u16(value.b);
  u16(value.c);
  append(value.d);
}

void ByteWriter::patchI32(std::size_t at, std::int64_t value) {
  const auto bits = static_cast<std::uint32_t>(value);
  for (unsigned i = 0; i < 4; ++i) {
    bytes_[at + (big_endian_ ? 3 - i : i)] = static_cast<std::uint8_t>(bits >> (8 * i));
  }
}

void ByteWriter::mbString(std::string_view text) {
  std::vector<std::uint16_t> units;
  for (std::size_t i = 0; i < text.size();) {
    const auto lead = static_cast<std::uint8_t>(text[i]);
    const std::size_t length = lead < 0x80 ? 1 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
    std::uint32_t code = length == 1 ? lead : lead & (0xffU >> (length + 1));
    for (std::size_t k = 1; k < length && i + k < text.size(); ++k) {
      code = code << 6 | (static_cast<std::uint8_t>(text[i + k]) & 0x3fU);
    }
    if (code >= 0x10000) {
      units.push_back(static_cast<std::uint16_t>(0xd800 + ((code - 0x10000) >> 10)));
      units.push_back(static_cast<std::uint16_t>(0xdc00 + (code & 0x3ff)));
    } else {
      units.push_back(static_cast<std::uint16_t>(code));
    }
    i += length;
  }
  i32(static_cast<std::int64_t>(units.size()));
  for (const auto unit : units) u16(unit);
}

void BitWriter::writeCodeText(ByteWriter& out) const {
  out.i32(static_cast<std::int64_t>(bit_count_));
  for (const auto word : words_) out.u32(word);
}

void BitWriter::writeBytes(ByteWriter& out) const {
  for (std::size_t i = 0; i < (bit_count_ + 7) / 8; ++i) {
    out.u8(static_cast<std::uint8_t>(words_[i / 4] >> (24 - 8 * (i % 4))));
  }
}

}  // namespace loftbay::maker
