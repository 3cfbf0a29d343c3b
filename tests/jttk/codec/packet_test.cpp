// Packets written out bit by bit beside the values that they hold.
#include "jttk/codec/v9/packet.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "jttk/codec/bits/bit_reader.h"
#include "tests/jttk/support/jt_bytes.h"

namespace {

using jttk::ByteReader;
using jttk::PacketForm;
using jttk::Predictor;
using jttk::testing::BitBuilder;
using jttk::testing::ByteBuilder;
using jttk::testing::Bytes;
using jttk::testing::packetOf;
using ::testing::HasSubstr;
using Values = std::vector<std::int32_t>;

constexpr std::uint32_t kPlenty = 1000;

jttk::Result<Values> decode(const Bytes& bytes, PacketForm form, std::uint32_t maximum = kPlenty) {
  ByteReader reader(bytes);
  jttk::PacketReader packets(form);
  Values values;
  const auto done = packets.read(reader, "values", Predictor::Null, maximum, values);
  if (!done) return tl::unexpected<jttk::Error>(done.error());
  EXPECT_EQ(reader.remaining(), 0U);
  return values;
}

std::string errorOf(const Bytes& bytes, PacketForm form, std::uint32_t maximum = kPlenty) {
  const auto values = decode(bytes, form, maximum);
  return values ? "decoded" : values.error().text();
}

Bytes bitLengthPacket(std::uint32_t count, const BitBuilder& bits) {
  return ByteBuilder().u32(count).u8(1).bytes(bits.asCodeText()).result();
}

TEST(BitReader, takesBitsFromTheTopOfWordsInFileOrder) {
  const Bytes bytes = ByteBuilder().u32(0x80000001).u32(0xf0000000).result();
  jttk::BitReader bits(bytes, jttk::ByteOrder::Little, 64);
  EXPECT_EQ(bits.bits(1), 1U);
  EXPECT_EQ(bits.bits(30), 0U);
  EXPECT_EQ(bits.bits(5), 0b11111U);
  EXPECT_EQ(bits.bits(28), 0U);
  EXPECT_FALSE(bits.overread());
  EXPECT_EQ(bits.bits(32), 0U);
  EXPECT_TRUE(bits.overread());
}

TEST(BitReader, signExtends) {
  const Bytes bytes = BitBuilder().bits("101 011 1").asBytes();
  jttk::BitReader bits(bytes, jttk::ByteOrder::Big, 7);
  EXPECT_EQ(bits.signedBits(3), -3);
  EXPECT_EQ(bits.signedBits(3), 3);
  EXPECT_EQ(bits.signedBits(0), 0);
  EXPECT_EQ(bits.signedBits(1), -1);
}

TEST(PacketV9, anEmptyPacketIsItsCountAlone) {
  EXPECT_EQ(decode(ByteBuilder().u32(0).result(), PacketForm::V9).value(), Values{});
}

TEST(PacketV9, plainValuesStateTheirSizeInWordsBytesOrBits) {
  for (const std::uint32_t size : {2U, 8U, 64U}) {
    const Bytes bytes = ByteBuilder().u32(2).u8(0).u32(size).i32(-5).i32(70000).result();
    EXPECT_EQ(decode(bytes, PacketForm::V9).value(), (Values{-5, 70000}));
  }
  EXPECT_THAT(errorOf(ByteBuilder().u32(2).u8(0).u32(3).i32(0).i32(0).result(), PacketForm::V9),
              HasSubstr("states a size of 3"));
}

TEST(BitLength, fixedWidthInV9) {
  // Minimum -1 in 2 bits, maximum 6 in 4 bits: 7 takes 3 bits.
  const BitBuilder bits = BitBuilder().bits("0  000010 000100  11 0110  000 111 011");
  EXPECT_EQ(decode(bitLengthPacket(3, bits), PacketForm::V9).value(), (Values{-1, 6, 2}));
}

TEST(BitLength, fixedWidthInV10) {
  // Minimum 9 as two nibbles (one would be -7), maximum 17: 8 takes 4 bits.
  const BitBuilder bits = BitBuilder().bits("0  1001 1 0000 0  0001 1 0001 0  0000 1000 0011");
  EXPECT_EQ(decode(bitLengthPacket(3, bits), PacketForm::V10).value(), (Values{9, 17, 12}));
}

TEST(BitLength, equalValuesTakeNoBits) {
  const BitBuilder bits = BitBuilder().bits("0  000100 000100  0101 0101");
  EXPECT_EQ(decode(bitLengthPacket(4, bits), PacketForm::V9).value(), (Values{5, 5, 5, 5}));
}

TEST(BitLength, variableWidthInV9) {
  BitBuilder bits;
  // Mean 10; steps of 3 bits, runs of 3 bits. Two values of width 0, two of width 2. Then +3 and +1, the 3
  // saying that one more step follows: one value of width 6.
  bits.bits("1").number(10, 32).bits("011 011");
  bits.bits("000 010").bits("010 010 01 11").bits("011 001 001 010100");
  EXPECT_EQ(decode(bitLengthPacket(5, bits), PacketForm::V9).value(), (Values{10, 10, 11, 9, 30}));
}

TEST(BitLength, variableWidthInV10) {
  // Mean -2 in one nibble; steps and runs of 4 bits. One value of width 3, then -1: two of width 2.
  const BitBuilder bits = BitBuilder().bits("1  1110 0  0011 0001 101  1111 0010 01 10");
  EXPECT_EQ(decode(bitLengthPacket(3, bits), PacketForm::V10).value(), (Values{-5, -1, -4}));
}

TEST(BitLength, theCodeTextMustBeUsedUpExactly) {
  const BitBuilder long_one = BitBuilder().bits("0  000010 000100  11 0110  000 111 011 0");
  EXPECT_THAT(errorOf(bitLengthPacket(3, long_one), PacketForm::V9), HasSubstr("left over"));
  EXPECT_THAT(errorOf(bitLengthPacket(4, long_one), PacketForm::V9), HasSubstr("too short"));
}

TEST(BitLength, impossibleWidthsAreErrors) {
  EXPECT_THAT(errorOf(bitLengthPacket(1, BitBuilder().bits("0 111111 000001 0 0")), PacketForm::V9),
              HasSubstr("wider than 32"));
  BitBuilder negative;
  negative.bits("1").number(0, 32).bits("011 011 111 001 0");
  EXPECT_THAT(errorOf(bitLengthPacket(1, negative), PacketForm::V9), HasSubstr("outside of 0 to 32"));
  BitBuilder no_step;
  no_step.bits("1").number(0, 32).bits("000 011 001");
  EXPECT_THAT(errorOf(bitLengthPacket(1, no_step), PacketForm::V9), HasSubstr("no bits"));
  BitBuilder long_run;
  long_run.bits("1").number(0, 32).bits("011 011 000 111");
  EXPECT_THAT(errorOf(bitLengthPacket(1, long_run), PacketForm::V9), HasSubstr("past the last value"));
}

// Entries A (value 10, half of all), B (17, a quarter), escape (a quarter). The interval is cut in
// proportion: A is code 0, B is 10, the escape 11.
BitBuilder tableOfThree(PacketForm form) {
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
constexpr std::string_view kLookAhead = "0000 0000 0000 0000";

Bytes arithmeticPacket(std::uint32_t count, const BitBuilder& text, const BitBuilder& table) {
  return ByteBuilder().u32(count).u8(3).bytes(text.asCodeText()).bytes(table.asBytes()).result();
}

TEST(Arithmetic, sharesThatArePowersOfTwoAreAPrefixCode) {
  for (const PacketForm form : {PacketForm::V9, PacketForm::V10}) {
    const BitBuilder text = BitBuilder().bits("0 10 11 0 11").bits(kLookAhead);
    const Bytes bytes = ByteBuilder()
                            .bytes(arithmeticPacket(5, text, tableOfThree(form)))
                            .bytes(packetOf({-70, 99}, form))
                            .result();
    EXPECT_EQ(decode(bytes, form).value(), (Values{10, 17, -70, 10, 99}));
  }
}

TEST(Arithmetic, jt10HasOutOfBandValuesOnlyWithAnEscape) {
  BitBuilder table;
  table.number(2, 16).number(1, 6).number(1, 7).number(5, 32).bits("0 1 0").bits("0 1 1");
  EXPECT_EQ(
      decode(arithmeticPacket(4, BitBuilder().bits("0110").bits(kLookAhead), table), PacketForm::V10).value(),
      (Values{5, 6, 6, 5}));
}

TEST(Arithmetic, anIntervalRoundTheMiddleIsSpreadOut) {
  // A quarter, half, quarter: the middle entry is [1/4, 3/4). Twice the middle is [3/8, 5/8); its last
  // quarter begins at 9/16: bits 1001.
  BitBuilder table;
  table.number(3, 16).number(2, 6).number(2, 7).number(0, 32).bits("0 01 00").bits("0 10 01").bits("0 01 10");
  const BitBuilder text = BitBuilder().bits("1001").bits(kLookAhead);
  EXPECT_EQ(decode(arithmeticPacket(3, text, table), PacketForm::V10).value(), (Values{1, 1, 2}));
}

TEST(Arithmetic, oneEntryNeedsNoBits) {
  BitBuilder table;
  table.number(1, 16).number(3, 6).number(0, 7).number(8, 32).bits("0 111");
  EXPECT_EQ(decode(arithmeticPacket(3, BitBuilder().bits(kLookAhead), table), PacketForm::V10).value(),
            (Values{8, 8, 8}));
}

TEST(Arithmetic, entriesWithoutOccurrencesAreNeverChosen) {
  BitBuilder table;
  table.number(4, 16).number(1, 6).number(2, 7).number(0, 32);
  table.bits("0 0 00").bits("0 1 01").bits("0 0 10").bits("0 1 11");
  EXPECT_EQ(
      decode(arithmeticPacket(3, BitBuilder().bits("011").bits(kLookAhead), table), PacketForm::V10).value(),
      (Values{1, 3, 3}));
}

TEST(Arithmetic, outOfBandValuesMustBeUsedExactly) {
  const BitBuilder text = BitBuilder().bits("0 11").bits(kLookAhead);
  const Bytes packet = arithmeticPacket(2, text, tableOfThree(PacketForm::V9));
  const auto with = [&](const Values& values) {
    return ByteBuilder().bytes(packet).bytes(packetOf(values, PacketForm::V9)).result();
  };
  EXPECT_EQ(decode(with({4}), PacketForm::V9).value(), (Values{10, 4}));
  EXPECT_THAT(errorOf(with({}), PacketForm::V9), HasSubstr("too few out-of-band"));
  EXPECT_THAT(errorOf(with({4, 5}), PacketForm::V9), HasSubstr("left over"));
}

TEST(Arithmetic, anEmptyTableIsAnError) {
  BitBuilder table;
  table.number(0, 16).number(1, 6).number(1, 7).number(0, 32);
  EXPECT_THAT(errorOf(arithmeticPacket(1, BitBuilder().bits(kLookAhead), table), PacketForm::V10),
              HasSubstr("table is empty"));
}

Bytes chopperPacket(std::uint32_t count, std::uint32_t chop_bits, std::int32_t bias, std::uint32_t span_bits,
                    const Values& upper, const Values& lower) {
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

TEST(Chopper, joinsUpperAndLowerBitsAboveABias) {
  // 3 of 8 bits are cut off: the lower 5 are in the second packet.
  EXPECT_EQ(decode(chopperPacket(2, 3, -100, 8, {7, 1}, {31, 2}), PacketForm::V9).value(),
            (Values{255 - 100, 34 - 100}));
}

TEST(Chopper, withoutBitsHoldsOnePacket) {
  const Bytes bytes = ByteBuilder().u32(2).u8(4).u8(0).bytes(packetOf({3, 4}, PacketForm::V9)).result();
  EXPECT_EQ(decode(bytes, PacketForm::V9).value(), (Values{3, 4}));
}

TEST(Chopper, refusesWrongLengthsAndWidths) {
  EXPECT_THAT(errorOf(chopperPacket(2, 3, 0, 8, {7}, {31, 2}), PacketForm::V9),
              HasSubstr("1 values instead of 2"));
  EXPECT_THAT(errorOf(chopperPacket(2, 9, 0, 8, {7, 7}, {1, 2}), PacketForm::V9), HasSubstr("cuts 9 of 8"));
  EXPECT_THAT(errorOf(chopperPacket(2, 9, 0, 33, {7, 7}, {1, 2}), PacketForm::V9), HasSubstr("cuts 9 of 33"));
}

Bytes recentPacket(const Values& fresh, const Values& offsets) {
  return ByteBuilder()
      .u32(static_cast<std::uint32_t>(offsets.size()))
      .u8(5)
      .bytes(packetOf(fresh, PacketForm::V10))
      .bytes(packetOf(offsets, PacketForm::V10))
      .result();
}

TEST(MoveToFront, everyUseMakesAValueTheLatest) {
  // 4, 9; then index 1 is 4, now the latest; index 1 is 9; index 0 is 9 again; 6 is new; index 2 is 4.
  EXPECT_EQ(decode(recentPacket({4, 9, 6}, {-1, -1, 1, 1, 0, -1, 2}), PacketForm::V10).value(),
            (Values{4, 9, 4, 9, 9, 6, 4}));
}

TEST(MoveToFront, remembersSixteenValues) {
  Values fresh;
  for (std::int32_t i = 0; i < 17; ++i) fresh.push_back(100 + i);
  Values offsets(17, -1);
  offsets.push_back(15);
  EXPECT_EQ(decode(recentPacket(fresh, offsets), PacketForm::V10).value().back(), 101);
  offsets.back() = 16;
  EXPECT_THAT(errorOf(recentPacket(fresh, offsets), PacketForm::V10), HasSubstr("place 16 of 16"));
}

TEST(MoveToFront, refusesUnknownPlacesAndWrongNumbersOfNewValues) {
  EXPECT_THAT(errorOf(recentPacket({4}, {0, -1}), PacketForm::V10), HasSubstr("place 0 of 0"));
  EXPECT_THAT(errorOf(recentPacket({4}, {-2}), PacketForm::V10), HasSubstr("place -2"));
  EXPECT_THAT(errorOf(recentPacket({4}, {-1, -1}), PacketForm::V10), HasSubstr("too few new values"));
  EXPECT_THAT(errorOf(recentPacket({4, 5}, {-1, 0}), PacketForm::V10), HasSubstr("left over"));
}

TEST(PacketV9, aCountAboveTheMaximumIsRefusedBeforeAnythingIsAllocated) {
  const Bytes lying = ByteBuilder().u32(0x7fffffff).u8(1).u32(0).result();
  EXPECT_EQ(errorOf(lying, PacketForm::V9, 3),
            "values: 2147483647 values in a packet that may hold 3 at most (at byte 0)");
  EXPECT_THAT(errorOf(ByteBuilder().i32(-1).result(), PacketForm::V9), HasSubstr("negative count"));
}

TEST(PacketV9, thePacketsOfOneReaderShareABudget) {
  const Bytes bytes = ByteBuilder()
                          .bytes(packetOf({1, 2, 3}, PacketForm::V9))
                          .bytes(packetOf({1, 2}, PacketForm::V9))
                          .result();
  ByteReader reader(bytes);
  jttk::PacketReader packets(PacketForm::V9, 4);
  Values values;
  EXPECT_TRUE(packets.read(reader, "first", Predictor::Null, kPlenty, values).has_value());
  const auto second = packets.read(reader, "second", Predictor::Null, kPlenty, values);
  ASSERT_FALSE(second.has_value());
  EXPECT_THAT(second.error().what, HasSubstr("too many values"));
}

TEST(PacketV9, nestingHasALimit) {
  ByteBuilder deep;
  for (int i = 0; i < 100; ++i) deep.u32(1).u8(4).u8(0);
  EXPECT_THAT(errorOf(deep.bytes(packetOf({3}, PacketForm::V9)).result(), PacketForm::V9),
              HasSubstr("too deeply"));
}

TEST(PacketV9, unknownCodecsAreRefused) {
  EXPECT_THAT(errorOf(ByteBuilder().u32(1).u8(2).u32(0).result(), PacketForm::V9),
              HasSubstr("codec 2 is not known"));
}

TEST(PacketV9, everyTruncationIsAnError) {
  const BitBuilder text = BitBuilder().bits("0 10 11 0").bits(kLookAhead);
  const Bytes arithmetic = ByteBuilder()
                               .bytes(arithmeticPacket(4, text, tableOfThree(PacketForm::V9)))
                               .bytes(packetOf({-70}, PacketForm::V9))
                               .result();
  for (const Bytes& whole :
       {arithmetic, chopperPacket(2, 3, 0, 8, {7, 1}, {31, 2}), packetOf({1, 500, 3}, PacketForm::V9)}) {
    for (std::size_t size = 0; size < whole.size(); ++size) {
      // An exact-size copy, so that the sanitizer sees a read of one byte too many.
      const auto exact = std::make_unique<std::byte[]>(size);
      std::copy_n(whole.begin(), size, exact.get());
      ByteReader reader({exact.get(), size});
      jttk::PacketReader packets(PacketForm::V9);
      Values values;
      EXPECT_FALSE(packets.read(reader, "values", Predictor::Null, kPlenty, values).has_value()) << size;
    }
  }
}

// Two million equal values in no bits take what the budget has, or nothing.
TEST(PacketV9, memoryIsTakenFromTheBudget) {
  const Bytes bytes = ByteBuilder().u32(1U << 21U).u8(1).u32(13).u32(0).result();
  for (const bool enough : {true, false}) {
    jttk::MemoryBudget memory((std::uint64_t{4} << 21U) - (enough ? 0 : 1));
    jttk::ByteReader reader(bytes);
    jttk::PacketReader packets(PacketForm::V9, std::uint64_t{1} << 27U, &memory);
    Values values;
    const auto read = packets.read(reader, "values", Predictor::Null, 1U << 22U, values);
    EXPECT_EQ(read.has_value(), enough);
    EXPECT_EQ(memory.taken(), enough ? std::uint64_t{4} << 21U : 0U);
    if (!read) {
      EXPECT_THAT(read.error().what, HasSubstr("more memory is asked for than the limit of 8388607 bytes"));
    }
  }
}

}  // namespace
