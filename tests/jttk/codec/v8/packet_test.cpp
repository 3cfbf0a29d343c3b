#include "jttk/codec/v8/packet.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <string>

#include "samples/maker/entropy.h"
#include "samples/maker/pieces/packets_v8.h"
#include "tests/jttk/codec/v8/prefixes.h"
#include "tests/jttk/support/from_maker.h"

namespace jttk {
namespace {

namespace pieces = loftbay::maker::pieces;
using from_maker::readerOf;
using loftbay::maker::ArithmeticEncoder;
using loftbay::maker::pieces::BitBuilder;
using loftbay::maker::pieces::bitLengthPacket;
using loftbay::maker::pieces::ByteBuilder;
using loftbay::maker::pieces::Entry;
using loftbay::maker::pieces::kEscape;
using loftbay::maker::pieces::nullPacket;
using loftbay::maker::pieces::symbolPacket;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Values = std::vector<std::int32_t>;

constexpr std::size_t kAny = 1000000;
constexpr std::uint32_t kHuffman = 2;
constexpr std::uint32_t kArithmetic = 3;

Values decode(const ByteBuilder& bytes, std::size_t maximum_count = kAny) {
  ByteReader in = readerOf(bytes);
  Values values = {77, 77, 77};  // whatever was there is replaced
  const Result<void> read = decodePacketV8(in, maximum_count, values);
  EXPECT_TRUE(read.has_value()) << read.error().text();
  EXPECT_EQ(in.remaining(), 0U);
  return values;
}

std::string packetError(const ByteBuilder& bytes, std::size_t maximum_count = kAny) {
  ByteReader in = readerOf(bytes);
  Values values;
  const Result<void> read = decodePacketV8(in, maximum_count, values);
  return read ? "" : read.error().what;
}

// ---- null ----

TEST(PacketV8Null, ValuesAreStoredPlainly) {
  const std::uint8_t golden[] = {0, 2, 0, 0, 0, 0xff, 0xff, 0xff, 0xff, 4, 3, 2, 1};
  ByteReader in(std::as_bytes(std::span(golden)));
  Values values;
  ASSERT_TRUE(decodePacketV8(in, 2, values).has_value());
  EXPECT_THAT(values, ElementsAre(-1, 0x01020304));
}

TEST(PacketV8Null, WordsHaveTheByteOrderOfTheFile) {
  EXPECT_THAT(decode(nullPacket(Values{1, -2}, pieces::ByteOrder::Big)), ElementsAre(1, -2));
}

TEST(PacketV8Null, CountIsLimitedByTheBytesLeftAndByTheCaller) {
  EXPECT_THAT(packetError(ByteBuilder().u8(0).i32(0x7fffffff).i32(0)), HasSubstr("value count"));
  EXPECT_THAT(packetError(ByteBuilder().u8(0).i32(-1)), HasSubstr("value count"));
  EXPECT_THAT(packetError(nullPacket(Values{1, 2, 3}), 2), HasSubstr("3 values"));
}

// ---- bit lengths ----

TEST(PacketV8BitLength, EmptyVectorIsThreeZeros) {
  EXPECT_THAT(decode(ByteBuilder().u8(1).i32(0).i32(0).i32(0), 0), IsEmpty());
}

TEST(PacketV8BitLength, WidthsChangeInStepsOfTwo) {
  const BitBuilder text(
      "0"                   // width 0: value 0
      "1 10 01"             // +2: width 2, value 1
      "0 10"                // same width: -2
      "1 110 011111"        // +4: width 6, value 31
      "1 01 1000"           // -2: width 4, value -8
      "1 001"               // -4: width 0, value 0
      "1 11110 10000000");  // +8: width 8, value -128
  EXPECT_THAT(decode(bitLengthPacket(text, 7)), ElementsAre(0, 1, -2, 31, -8, 0, -128));
  EXPECT_THAT(decode(bitLengthPacket(text, 7, pieces::ByteOrder::Big)),
              ElementsAre(0, 1, -2, 31, -8, 0, -128));
}

TEST(PacketV8BitLength, WordsAreUsedFromTheMostSignificantBit) {
  // Width 2, value 1, then 0 01 eleven times: 38 bits, 11001001 00100100 10010010 01001001 001001.
  BitBuilder text("1 10 01");
  for (int i = 0; i < 11; ++i) text.bits("0 01");
  const std::uint8_t golden[] = {1, 38, 0,    0,    0,    12,   0, 0, 0, 2,   0,
                                 0, 0,  0x49, 0x92, 0x24, 0xc9, 0, 0, 0, 0x24};
  const ByteBuilder packet = bitLengthPacket(text, 12);
  ASSERT_EQ(packet.size(), sizeof golden);
  for (std::size_t i = 0; i < sizeof golden; ++i) {
    EXPECT_EQ(std::to_integer<int>(packet.view()[i]), golden[i]) << "byte " << i;
  }
  EXPECT_EQ(decode(packet), Values(12, 1));
}

TEST(PacketV8BitLength, WidthGoesUpTo32) {
  BitBuilder text("1");
  text.bits(std::string(16, '1')).bits("0").number(0x80000000U, 32);  // 16 steps
  text.bits("0").number(0x7fffffffU, 32);
  text.bits("1").bits(std::string(16, '0')).bits("1");  // all the way back
  EXPECT_THAT(decode(bitLengthPacket(text, 3)), ElementsAre(std::numeric_limits<std::int32_t>::min(),
                                                            std::numeric_limits<std::int32_t>::max(), 0));
}

TEST(PacketV8BitLength, WidthStaysWithin0To32) {
  EXPECT_THAT(packetError(bitLengthPacket(BitBuilder("1 01"), 1)), HasSubstr("width"));
  EXPECT_THAT(packetError(bitLengthPacket(BitBuilder("1 10 01  1 001"), 2)), HasSubstr("width"));
  const std::string steps17(17, '1');
  EXPECT_THAT(packetError(bitLengthPacket(BitBuilder("1").bits(steps17).bits("0").number(0, 40), 1)),
              HasSubstr("width"));
}

TEST(PacketV8BitLength, TextIsUsedUpExactly) {
  EXPECT_THAT(packetError(bitLengthPacket(BitBuilder("0 0 0"), 2)), HasSubstr("do not end"));
  EXPECT_THAT(packetError(bitLengthPacket(BitBuilder("0 1 10 0"), 2)), HasSubstr("do not end"));
}

TEST(PacketV8BitLength, EveryValueTakesABit) {
  EXPECT_THAT(packetError(bitLengthPacket(BitBuilder("0"), 1000)), HasSubstr("1000 values in 1 bits"));
}

TEST(PacketV8BitLength, WordsAreEnoughForTheBits) {
  EXPECT_THAT(decode(ByteBuilder().u8(1).i32(3).i32(3).i32(2).i32(0).i32(0)), ElementsAre(0, 0, 0));
  EXPECT_THAT(packetError(ByteBuilder().u8(1).i32(33).i32(3).i32(1).i32(0)), HasSubstr("33 bits in 1 words"));
  EXPECT_THAT(packetError(ByteBuilder().u8(1).i32(0x7fffffff).i32(3).i32(0x04000000).i32(0)),
              HasSubstr("word count"));
  EXPECT_THAT(packetError(ByteBuilder().u8(1).i32(-1).i32(0).i32(0)), HasSubstr("code text length"));
}

// ---- Huffman ----

// Counts 1 1 1 1 give the codes 11, 10, 00, 01 (by hand in huffman_test.cpp).
const std::vector<std::vector<Entry>> kFourEqual = {{{0, 1, 10}, {kEscape, 1, 0}, {2, 1, 30}, {3, 1, -40}}};

TEST(PacketV8Huffman, EscapeIsALeafThatTakesTheNextOutOfBandValue) {
  const Values out_of_band = {123456, -654321};
  const ByteBuilder packet =
      symbolPacket(kHuffman, kFourEqual, out_of_band, BitBuilder("11 10 01 00 10 11"), 6);
  EXPECT_THAT(decode(packet), ElementsAre(10, 123456, -40, 30, -654321, 10));
}

TEST(PacketV8Huffman, BothByteOrders) {
  const ByteBuilder packet =
      symbolPacket(kHuffman, kFourEqual, Values{5}, BitBuilder("01 10"), 2, 0, pieces::ByteOrder::Big);
  EXPECT_THAT(decode(packet), ElementsAre(-40, 5));
}

TEST(PacketV8Huffman, EscapeWithoutValuesCanBeListed) {
  EXPECT_THAT(decode(symbolPacket(kHuffman, kFourEqual, Values{}, BitBuilder("01 00"), 2)),
              ElementsAre(-40, 30));
}

TEST(PacketV8Huffman, OneSymbolTakesNoBits) {
  EXPECT_EQ(decode(symbolPacket(kHuffman, {{{4, 9, -3}}}, Values{}, BitBuilder(), 9)), Values(9, -3));
}

TEST(PacketV8Huffman, OneSymbolMayTakeABitEach) {
  const std::vector<std::vector<Entry>> one = {{{4, 9, -3}}};
  EXPECT_EQ(decode(symbolPacket(kHuffman, one, Values{}, BitBuilder("000000000"), 9)), Values(9, -3));
  EXPECT_EQ(decode(symbolPacket(kHuffman, one, Values{}, BitBuilder("111111111"), 9)), Values(9, -3));
  EXPECT_THAT(packetError(symbolPacket(kHuffman, one, Values{}, BitBuilder("00000000"), 9)),
              HasSubstr("do not end"));
  EXPECT_THAT(packetError(symbolPacket(kHuffman, one, Values{}, BitBuilder("0000000000"), 9)),
              HasSubstr("do not end"));
}

TEST(PacketV8Huffman, TextIsUsedUpExactly) {
  EXPECT_THAT(packetError(symbolPacket(kHuffman, kFourEqual, Values{}, BitBuilder("00 01 11"), 2)),
              HasSubstr("do not end"));
  EXPECT_THAT(packetError(symbolPacket(kHuffman, kFourEqual, Values{}, BitBuilder("00 0"), 2)),
              HasSubstr("do not end"));
}

TEST(PacketV8Huffman, OutOfBandValuesAreUsedUpExactly) {
  EXPECT_THAT(packetError(symbolPacket(kHuffman, kFourEqual, Values{1}, BitBuilder("10 10"), 2)),
              HasSubstr("more escapes"));
  EXPECT_THAT(packetError(symbolPacket(kHuffman, kFourEqual, Values{1, 2}, BitBuilder("10 00"), 2)),
              HasSubstr("left over"));
}

TEST(PacketV8Huffman, TableWithoutSymbols) {
  EXPECT_THAT(packetError(symbolPacket(kHuffman, {{}}, Values{}, BitBuilder(), 1)),
              HasSubstr("without symbols"));
  EXPECT_THAT(decode(symbolPacket(kHuffman, {{}}, Values{}, BitBuilder(), 0)), IsEmpty());
}

// ---- arithmetic ----

TEST(PacketV8Arithmetic, EqualHalvesAreOneBitEach) {
  // Two symbols of count 1 halve the interval: 0 selects the first, 1 the second, and the registers are as
  // before after each.
  const std::vector<std::vector<Entry>> tables = {{{0, 1, 7}, {1, 1, 9}}};
  EXPECT_THAT(decode(symbolPacket(kArithmetic, tables, Values{}, BitBuilder("0 1 1 0"), 4)),
              ElementsAre(7, 9, 9, 7));
}

TEST(PacketV8Arithmetic, EntriesWithoutCountAreNeverChosen) {
  const std::vector<std::vector<Entry>> tables = {{{5, 0, 1}, {0, 1, 7}, {6, 0, 2}, {1, 1, 9}, {7, 0, 3}}};
  EXPECT_THAT(decode(symbolPacket(kArithmetic, tables, Values{}, BitBuilder("0 1 1 0"), 4)),
              ElementsAre(7, 9, 9, 7));
}

// The first table halves (a bit per symbol), the second one quarters (two bits); after value 9 the second one
// is in force until its escape, which gives no value, or its value 7.
const std::vector<std::vector<Entry>> kTwoTables = {{{0, 1, 7, 0}, {1, 1, 9, 1}},
                                                    {{1, 1, 0, 1}, {kEscape, 2, 0, 0}, {0, 1, 0, 0}}};

TEST(PacketV8Arithmetic, ContextsTakeTurns) {
  // 7 | 9, now second table | 9 | escape: the middle half, and 9 in the first: its upper half, together 10 |
  // 7 in the second | 7 in the first
  const BitBuilder text("0 1 00 10 11 0");
  EXPECT_THAT(decode(symbolPacket(kArithmetic, kTwoTables, Values{}, text, 6, 7)),
              ElementsAre(7, 9, 9, 9, 7, 7));
}

TEST(PacketV8Arithmetic, EscapeOfTheFirstTableGivesAValueAndTheSecondsDoesNot) {
  const std::vector<std::vector<Entry>> tables = {{{kEscape, 1, 0, 1}, {0, 1, 9, 0}},
                                                  {{0, 1, 0, 1}, {kEscape, 1, 0, 0}}};
  // escape: 1000, to the second | 9 | escape: nothing, to the first | escape: 2000 | escape: nothing | 9
  EXPECT_THAT(decode(symbolPacket(kArithmetic, tables, Values{1000, 2000}, BitBuilder("0 0 1 0 1 1"), 4, 6)),
              ElementsAre(1000, 9, 2000, 9));
}

TEST(PacketV8Arithmetic, SymbolCountFitsTheValueCount) {
  const BitBuilder text("0 1 00 10 11 0");
  EXPECT_THAT(packetError(symbolPacket(kArithmetic, kTwoTables, Values{}, text, 6, 5)),
              HasSubstr("5 symbols for 6"));
  EXPECT_THAT(packetError(symbolPacket(kArithmetic, kTwoTables, Values{}, text, 6, 14)),
              HasSubstr("14 symbols for 6"));
  EXPECT_THAT(packetError(symbolPacket(kArithmetic, kTwoTables, Values{}, text, 6, 6)),
              HasSubstr("fewer values"));
  EXPECT_THAT(packetError(symbolPacket(kArithmetic, kTwoTables, Values{}, text, 5, 7)),
              HasSubstr("more values"));
}

// What the encoder makes of `choices` (entries of one table), decoded again.
void expectRoundTrip(const std::vector<Entry>& table, const std::vector<std::size_t>& choices,
                     bool straddles) {
  std::vector<std::uint32_t> begins = {0};
  for (const Entry& entry : table) begins.push_back(begins.back() + entry.count);
  ArithmeticEncoder encoder;
  Values expected;
  Values out_of_band;
  for (const std::size_t choice : choices) {
    encoder.encode(begins[choice], table[choice].count, begins.back());
    expected.push_back(table[choice].value);
    if (table[choice].symbol == kEscape) {
      expected.back() = static_cast<std::int32_t>(out_of_band.size()) * 1000003;
      out_of_band.push_back(expected.back());
    }
  }
  if (straddles) {
    EXPECT_GT(encoder.straddles(), 10);
  }
  encoder.end();
  const BitBuilder text(encoder.bits());
  for (const pieces::ByteOrder order : {pieces::ByteOrder::Little, pieces::ByteOrder::Big}) {
    EXPECT_EQ(decode(symbolPacket(kArithmetic, {table}, out_of_band, text, expected.size(), 0, order)),
              expected);
  }
}

TEST(PacketV8Arithmetic, IntervalsAroundTheMiddle) {
  // The middle third again and again: no bit is settled for long.
  std::vector<std::size_t> choices(200, 1);
  choices.push_back(0);
  choices.insert(choices.end(), 50, 1);
  choices.push_back(2);
  expectRoundTrip({{0, 1, -5}, {1, 1, 0}, {2, 1, 5}}, choices, true);
}

TEST(PacketV8Arithmetic, WhatTheEncoderWritesComesBack) {
  std::mt19937 random(1);
  for (int round = 0; round < 50; ++round) {
    std::vector<Entry> table;
    std::uint32_t total = 0;
    const std::size_t entry_count = 1 + random() % 40;
    for (std::size_t i = 0; i < entry_count; ++i) {
      const auto count = static_cast<std::uint32_t>(round % 2 == 0 ? 1 + random() % 20 : 1U << random() % 9);
      table.push_back(
          {i == 3 ? kEscape : static_cast<std::int32_t>(i), count, static_cast<std::int32_t>(i * i)});
      total += count;
    }
    std::vector<std::size_t> choices;
    for (int i = 0; i < 500; ++i) {
      std::uint32_t place = static_cast<std::uint32_t>(random()) % total;
      std::size_t entry = 0;
      while (place >= table[entry].count) place -= table[entry++].count;
      choices.push_back(entry);
    }
    expectRoundTrip(table, choices, false);
  }
}

TEST(PacketV8Arithmetic, TotalsUpToTheLimitAreDividedRight) {
  for (const std::uint32_t total : {3U, 0x3fffU, 0x4000U, 0x7fffU, 0x8000U, 0x8001U, 0xfffeU, 0xffffU}) {
    // The coder is exact only for intervals that are wider than the total, so parts are not too small.
    const std::uint32_t third = total / 3;
    std::vector<std::size_t> choices;
    std::mt19937 random(total);
    for (int i = 0; i < 3000; ++i) choices.push_back(random() % 3);
    expectRoundTrip({{0, third, -5}, {1, total - 2 * third, 0}, {2, third, 5}}, choices, false);
  }
}

TEST(PacketV8Arithmetic, OneSymbolNeedsNoBits) {
  EXPECT_EQ(decode(symbolPacket(kArithmetic, {{{4, 9, -3}}}, Values{}, BitBuilder(), 9)), Values(9, -3));
}

TEST(PacketV8Arithmetic, TextThatEndsLongBeforeTheValuesIsAnError) {
  const std::vector<std::vector<Entry>> tables = {{{0, 1, 7}, {1, 1, 9}}};
  EXPECT_THAT(packetError(symbolPacket(kArithmetic, tables, Values{}, BitBuilder("0 1 1"), 4)),
              HasSubstr("ends too early"));
}

TEST(PacketV8Arithmetic, TablesOfAnyNumberOfOccurrences) {
  // Up to 65535 occurrences, and more.
  const auto packet = [](std::uint32_t count) {
    return symbolPacket(kArithmetic, {{{0, count, 7}, {1, count, 9}}}, Values{}, BitBuilder("01 10"), 2);
  };
  for (const std::uint32_t count : {1U, 0x7fffU, 0x8000U, 0x1ffffU}) {
    EXPECT_THAT(decode(packet(count)), ElementsAre(7, 9)) << count;
  }
}

TEST(PacketV8Arithmetic, TableWithoutSymbols) {
  EXPECT_THAT(packetError(symbolPacket(kArithmetic, {{{0, 0, 7}}}, Values{}, BitBuilder("0"), 1)),
              HasSubstr("without symbols"));
}

// ---- all codecs ----

TEST(PacketV8, EveryPrefixIsAnError) {
  const ByteBuilder packets[] = {
      nullPacket(Values{1, 2}), bitLengthPacket(BitBuilder("1 10 01 0 10"), 2),
      symbolPacket(kHuffman, kFourEqual, Values{5, 6}, BitBuilder("00 10 10"), 3),
      symbolPacket(kArithmetic, kTwoTables, Values{}, BitBuilder("0 1 00 10 11 0"), 6, 7)};
  for (const ByteBuilder& packet : packets) {
    test::forEachPrefix(packet, [](ByteReader in, bool whole) {
      Values values;
      EXPECT_EQ(decodePacketV8(in, kAny, values).has_value(), whole);
    });
  }
}

TEST(PacketV8, LyingCountsTakeNoMemory) {
  // A single symbol without bits could mean any number of values.
  const ByteBuilder packet = symbolPacket(kHuffman, {{{4, 9, -3}}}, Values{}, BitBuilder(), 0x7fffffff);
  ByteReader in = readerOf(packet);
  Values values;
  EXPECT_FALSE(decodePacketV8(in, 1000, values).has_value());
  EXPECT_LE(values.capacity(), 1000U);
  EXPECT_THAT(packetError(symbolPacket(kArithmetic, {{{4, 9, -3}}}, Values{}, BitBuilder(), 1001), 1000),
              HasSubstr("1001 values"));
  EXPECT_THAT(packetError(bitLengthPacket(BitBuilder("0 0 0"), 3), 2), HasSubstr("3 values"));
}

TEST(PacketV8, CodecsAre0To3) {
  EXPECT_THAT(packetError(ByteBuilder().u8(4).i32(0).i32(0).i32(0)), HasSubstr("codec 4"));
  EXPECT_THAT(packetError(ByteBuilder().u8(255)), HasSubstr("codec 255"));
}

// `inner` as the out-of-band packet of a packet that consists of one escape.
ByteBuilder wrapped(const ByteBuilder& inner) {
  ByteBuilder packet;
  packet.u8(kHuffman).bytes(pieces::contexts({{{kEscape, 1, 0}}})).i32(1).bytes(inner);
  return packet.i32(0).i32(1).i32(0);
}

TEST(PacketV8, PacketsInPacketsHaveAFixedDepth) {
  ByteBuilder packet = nullPacket(Values{42});
  for (int depth = 0; depth < 4; ++depth) {
    packet = wrapped(packet);
    EXPECT_THAT(decode(packet), ElementsAre(42));
  }
  EXPECT_THAT(packetError(wrapped(packet)), HasSubstr("nested too deeply"));
  for (int depth = 0; depth < 1000; ++depth) packet = wrapped(packet);
  EXPECT_THAT(packetError(packet), HasSubstr("nested too deeply"));
}

TEST(PacketV8, OutOfBandPacketHoldsWhatIsAnnounced) {
  const auto announced = [](std::int32_t count) {
    ByteBuilder packet;
    packet.u8(kHuffman)
        .bytes(pieces::contexts({{{kEscape, 1, 0}}}))
        .i32(count)
        .bytes(nullPacket(Values{1, 2}));
    return packet.i32(0).i32(2).i32(0);
  };
  EXPECT_THAT(decode(announced(2)), ElementsAre(1, 2));
  EXPECT_THAT(packetError(announced(1)), HasSubstr("2 values in a packet that may hold 1"));
  EXPECT_THAT(packetError(announced(3)), HasSubstr("2 values where 3 are announced"));
  EXPECT_THAT(packetError(announced(-1)), HasSubstr("-1 values"));
}

TEST(PacketV8, PacketsAreSkippedWhateverTheirValues) {
  ByteBuilder bad_code = symbolPacket(kHuffman, kFourEqual, Values{5, 6}, BitBuilder("10 10 10"), 3);
  EXPECT_NE(packetError(bad_code), "");
  for (const ByteBuilder& packet :
       {nullPacket(Values{1, 2}), bitLengthPacket(BitBuilder("1111"), 4), bad_code,
        symbolPacket(kHuffman, kFourEqual, Values{}, BitBuilder("00"), 1)}) {
    ByteBuilder two = packet;
    two.u8(77);
    ByteReader reader = readerOf(two);
    EXPECT_TRUE(skipPacketV8(reader).has_value());
    EXPECT_EQ(reader.u8("behind"), 77U);
    for (std::size_t size = 0; size < packet.size(); ++size) {
      ByteReader cut(std::span(packet.view()).first(size));
      EXPECT_FALSE(skipPacketV8(cut).has_value()) << size;
    }
  }
}

}  // namespace
}  // namespace jttk
