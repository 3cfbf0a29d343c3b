// The coded bits of a packet: I32 length in bits, then as many 32-bit words as they take. There is no count
// of the words.
#pragma once

#include <cstdint>
#include <span>

#include "jttk/codec/bits/bit_reader.h"
#include "jttk/file/byte_reader.h"
#include "jttk/file/error.h"

namespace jttk {

struct CodeText {
  std::span<const std::byte> words;
  ByteOrder order = ByteOrder::Little;
  std::uint32_t length_bits = 0;
  std::uint64_t offset = 0;  // of the first word, for messages

  [[nodiscard]] BitReader bits() const noexcept { return BitReader(words, order, length_bits); }
};

inline Result<CodeText> readCodeText(ByteReader& reader) {
  CodeText text;
  text.order = reader.order();
  text.length_bits = reader.count("length of the code text", 0);
  text.offset = reader.offset();
  const std::size_t words = (std::size_t{text.length_bits} + 31) / 32;
  text.words = reader.take(words * 4, "code text");
  if (!reader.ok()) return reader.unexpected();
  return text;
}

}  // namespace jttk
