// Packets of 9.x and 10.x put together bit by bit, and what the reader makes of them.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "jttk/codec/v9/packet.h"
#include "samples/maker/pieces/bytes.h"
#include "samples/maker/pieces/packets.h"
#include "tests/jttk/support/from_maker.h"

namespace jttk::testing {

using jttk::from_maker::formOf;
using loftbay::maker::pieces::BitBuilder;
using loftbay::maker::pieces::ByteBuilder;
using loftbay::maker::pieces::Bytes;
using loftbay::maker::pieces::PacketForm;
using loftbay::maker::pieces::packetOf;
using Values = std::vector<std::int32_t>;

inline constexpr std::uint32_t kPlenty = 1000;

inline Result<Values> decodePacket(const Bytes& bytes, PacketForm form, std::uint32_t maximum = kPlenty) {
  ByteReader reader(bytes);
  PacketReader packets(formOf(form));
  Values values;
  const auto done = packets.read(reader, "values", Predictor::Null, maximum, values);
  if (!done) return tl::unexpected<Error>(done.error());
  EXPECT_EQ(reader.remaining(), 0U);
  return values;
}

inline std::string packetError(const Bytes& bytes, PacketForm form, std::uint32_t maximum = kPlenty) {
  const auto values = decodePacket(bytes, form, maximum);
  return values ? "decoded" : values.error().text();
}

// Entries A (value 10, half of all), B (17, a quarter), escape (a quarter). The interval is cut in
// proportion: A is code 0, B is 10, the escape 11.
inline BitBuilder tableOfThree(PacketForm form) {
  BitBuilder bits;
  bits.number(3, 16);
  if (form == PacketForm::V9) {
    bits.number(2, 6).number(2, 6).number(3, 6).number(10, 32);
    return bits.bits("10 10 000").bits("11 01 111").bits("00 01 000");
  }
  bits.number(2, 6).number(3, 7).number(10, 32);
  return bits.bits("0 10 000").bits("0 01 111").bits("1 01 000");
}

// Behind the last value the decoder has 16 bits in hand.
inline constexpr std::string_view kLookAhead = "0000 0000 0000 0000";

inline Bytes arithmeticPacket(std::uint32_t count, const BitBuilder& text, const BitBuilder& table) {
  return ByteBuilder().u32(count).u8(3).bytes(text.asCodeText()).bytes(table.asBytes()).result();
}

inline Bytes chopperPacket(std::uint32_t count, std::uint32_t chop_bits, std::int32_t bias,
                           std::uint32_t span_bits, const Values& upper, const Values& lower) {
  return ByteBuilder()
      .u32(count)
      .u8(4)
      .u8(chop_bits)
      .i32(bias)
      .u8(span_bits)
      .bytes(packetOf(upper, PacketForm::V9))
      .bytes(packetOf(lower, PacketForm::V9))
      .result();
}

}  // namespace jttk::testing
