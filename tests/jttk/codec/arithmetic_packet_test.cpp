// Packets in the arithmetic codec, written out beside the values that they hold.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/jttk/codec/packet_bytes.h"

namespace {

using namespace jttk::testing;  // NOLINT: everything here is about these packets
using ::testing::HasSubstr;

TEST(Arithmetic, SharesThatArePowersOfTwoAreAPrefixCode) {
  for (const PacketForm form : {PacketForm::V9, PacketForm::V10}) {
    const BitBuilder text = BitBuilder().bits("0 10 11 0 11").bits(kLookAhead);
    const Bytes bytes = ByteBuilder()
                            .bytes(arithmeticPacket(5, text, tableOfThree(form)))
                            .bytes(packetOf({-70, 99}, form))
                            .result();
    EXPECT_EQ(decodePacket(bytes, form).value(), (Values{10, 17, -70, 10, 99}));
  }
}

TEST(Arithmetic, Jt10HasOutOfBandValuesOnlyWithAnEscape) {
  BitBuilder table;
  table.number(2, 16).number(1, 6).number(1, 7).number(5, 32).bits("0 1 0").bits("0 1 1");
  EXPECT_EQ(
      decodePacket(arithmeticPacket(4, BitBuilder().bits("0110").bits(kLookAhead), table), PacketForm::V10)
          .value(),
      (Values{5, 6, 6, 5}));
}

TEST(Arithmetic, AnIntervalRoundTheMiddleIsSpreadOut) {
  // A quarter, half, quarter: the middle entry is [1/4, 3/4). Twice the middle is [3/8, 5/8); its last
  // quarter begins at 9/16: bits 1001.
  BitBuilder table;
  table.number(3, 16).number(2, 6).number(2, 7).number(0, 32).bits("0 01 00").bits("0 10 01").bits("0 01 10");
  const BitBuilder text = BitBuilder().bits("1001").bits(kLookAhead);
  EXPECT_EQ(decodePacket(arithmeticPacket(3, text, table), PacketForm::V10).value(), (Values{1, 1, 2}));
}

TEST(Arithmetic, OneEntryNeedsNoBits) {
  BitBuilder table;
  table.number(1, 16).number(3, 6).number(0, 7).number(8, 32).bits("0 111");
  EXPECT_EQ(decodePacket(arithmeticPacket(3, BitBuilder().bits(kLookAhead), table), PacketForm::V10).value(),
            (Values{8, 8, 8}));
}

TEST(Arithmetic, EntriesWithoutOccurrencesAreNeverChosen) {
  BitBuilder table;
  table.number(4, 16).number(1, 6).number(2, 7).number(0, 32);
  table.bits("0 0 00").bits("0 1 01").bits("0 0 10").bits("0 1 11");
  EXPECT_EQ(
      decodePacket(arithmeticPacket(3, BitBuilder().bits("011").bits(kLookAhead), table), PacketForm::V10)
          .value(),
      (Values{1, 3, 3}));
}

TEST(Arithmetic, OutOfBandValuesMustBeUsedExactly) {
  const BitBuilder text = BitBuilder().bits("0 11").bits(kLookAhead);
  const Bytes packet = arithmeticPacket(2, text, tableOfThree(PacketForm::V9));
  const auto with = [&](const Values& values) {
    return ByteBuilder().bytes(packet).bytes(packetOf(values, PacketForm::V9)).result();
  };
  EXPECT_EQ(decodePacket(with({4}), PacketForm::V9).value(), (Values{10, 4}));
  EXPECT_THAT(packetError(with({}), PacketForm::V9), HasSubstr("too few out-of-band"));
  EXPECT_THAT(packetError(with({4, 5}), PacketForm::V9), HasSubstr("left over"));
}

TEST(Arithmetic, AnEmptyTableIsAnError) {
  BitBuilder table;
  table.number(0, 16).number(1, 6).number(1, 7).number(0, 32);
  EXPECT_THAT(packetError(arithmeticPacket(1, BitBuilder().bits(kLookAhead), table), PacketForm::V10),
              HasSubstr("table is empty"));
}

}  // namespace
