// Writes packets of 8.x field by field, in any of the codecs and with any tables.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "samples/maker/pieces/bytes.h"

namespace loftbay::maker::pieces {

// I32 word count, and words in the file's byte order, filled from the most significant bit.
inline void addCodeText(ByteBuilder& out, const BitBuilder& text) {
  out.i32(static_cast<std::int64_t>(text.words().size()));
  for (const std::uint32_t word : text.words()) out.u32(word);
}

// A packet of codec 0: the values as they are.
inline ByteBuilder nullPacket(std::span<const std::int32_t> values, ByteOrder order = ByteOrder::Little) {
  ByteBuilder packet(order);
  packet.u8(0).i32(static_cast<std::int64_t>(values.size()));
  for (const std::int32_t value : values) packet.i32(value);
  return packet;
}

// A packet of codec 1 around a code text.
inline ByteBuilder bitLengthPacket(const BitBuilder& text, std::size_t value_count,
                                   ByteOrder order = ByteOrder::Little) {
  ByteBuilder packet(order);
  packet.u8(1).i32(static_cast<std::int64_t>(text.size())).i32(static_cast<std::int64_t>(value_count));
  addCodeText(packet, text);
  return packet;
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
inline ByteBuilder contexts(const std::vector<std::vector<Entry>>& tables,
                            ByteOrder order = ByteOrder::Little) {
  BitBuilder bits;
  bool first = true;
  for (const std::vector<Entry>& table : tables) {
    bits.number(table.size(), 32).number(7, 6).number(17, 6);
    if (first) bits.number(20, 6);
    bits.number(1, 6);
    if (first) bits.number(static_cast<std::uint32_t>(kMinimumValue), 32);
    for (const Entry& entry : table) {
      bits.number(static_cast<std::uint64_t>(entry.symbol + 2), 7).number(entry.count, 17);
      if (first) bits.number(static_cast<std::uint64_t>(entry.value - kMinimumValue), 20);
      bits.number(entry.next, 1);
    }
    first = false;
  }
  ByteBuilder result(order);
  return result.u8(static_cast<std::uint32_t>(tables.size())).byteBits(bits);
}

// A packet of codec 2 or 3. `symbol_count` is written when there are two tables.
inline ByteBuilder symbolPacket(std::uint32_t codec, const std::vector<std::vector<Entry>>& tables,
                                std::span<const std::int32_t> out_of_band, const BitBuilder& text,
                                std::size_t value_count, std::size_t symbol_count = 0,
                                ByteOrder order = ByteOrder::Little) {
  ByteBuilder packet(order);
  packet.u8(codec).bytes(contexts(tables, order)).i32(static_cast<std::int64_t>(out_of_band.size()));
  if (!out_of_band.empty()) packet.bytes(nullPacket(out_of_band, order));
  packet.i32(static_cast<std::int64_t>(text.size())).i32(static_cast<std::int64_t>(value_count));
  if (tables.size() == 2) packet.i32(static_cast<std::int64_t>(symbol_count));
  addCodeText(packet, text);
  return packet;
}

}  // namespace loftbay::maker::pieces
