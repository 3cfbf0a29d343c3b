#include "jttk/codec/v8/probability_contexts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "samples/maker/pieces/packets_v8.h"
#include "tests/jttk/codec/v8/prefixes.h"
#include "tests/jttk/support/from_maker.h"

namespace jttk {
namespace {

namespace pieces = loftbay::maker::pieces;
using from_maker::readerOf;
using loftbay::maker::pieces::BitBuilder;
using loftbay::maker::pieces::ByteBuilder;
using test::forEachPrefix;
using testing::HasSubstr;

// Symbols of 2 bits, counts of 4, values of 3 above -3, no next context: 9 bits per entry.
ByteBuilder oneTable() {
  return ByteBuilder().u8(1).byteBits(BitBuilder()
                                          .number(3, 32)
                                          .bits("000010 000100 000011 000000")
                                          .number(0xfffffffdU, 32)
                                          .bits("10 0101 110")    // symbol 0, 5 times, value 6 - 3
                                          .bits("00 0011 000")    // escape, 3 times
                                          .bits("11 1111 000"));  // symbol 1, 15 times, value 0 - 3
}

TEST(ProbabilityContexts, FieldsAreABitStreamOfBytes) {
  const ByteBuilder bytes = oneTable();
  // By hand; the entries are 10010111 00000110 00111111 000.
  const std::uint8_t golden[] = {0x01, 0x00, 0x00, 0x00, 0x03, 0x08, 0x40, 0xc0,
                                 0xff, 0xff, 0xff, 0xfd, 0x97, 0x06, 0x3f, 0x00};
  ASSERT_EQ(bytes.size(), sizeof golden);
  for (std::size_t i = 0; i < sizeof golden; ++i) EXPECT_EQ(std::to_integer<int>(bytes.view()[i]), golden[i]);

  ByteReader in = readerOf(bytes);
  const auto contexts = readProbabilityContexts(in);
  ASSERT_TRUE(contexts.has_value()) << contexts.error().text();
  EXPECT_EQ(contexts->table_count, 1U);
  EXPECT_EQ(in.remaining(), 0U);
  const ContextTable& table = contexts->tables[0];
  ASSERT_EQ(table.entries.size(), 3U);
  EXPECT_EQ(table.total, 23U);
  EXPECT_EQ(table.entries[0].value, 3);
  EXPECT_EQ(table.entries[0].count, 5U);
  EXPECT_FALSE(table.entries[0].escape);
  EXPECT_EQ(table.entries[1].count, 3U);
  EXPECT_TRUE(table.entries[1].escape);
  EXPECT_EQ(table.entries[2].value, -3);
  EXPECT_EQ(table.entries[2].count, 15U);
}

TEST(ProbabilityContexts, ByteOrderOfTheFileDoesNotMatter) {
  const ByteBuilder bytes = oneTable();
  ByteReader in(bytes.view(), ByteOrder::Big);
  const auto contexts = readProbabilityContexts(in);
  ASSERT_TRUE(contexts.has_value());
  EXPECT_EQ(contexts->tables[0].entries[0].value, 3);
}

TEST(ProbabilityContexts, SecondTableTakesValuesBySymbolFromTheFirst) {
  // The second table has other frequencies, another order, and its escape is no symbol of the first.
  const ByteBuilder bytes =
      pieces::contexts({{{5, 1, 50, 1}, {7, 2, -70, 0}}, {{7, 9, 0, 1}, {-2, 4, 0, 0}, {5, 3, 0, 1}}});
  ByteReader in = readerOf(bytes);
  const auto contexts = readProbabilityContexts(in);
  ASSERT_TRUE(contexts.has_value()) << contexts.error().text();
  ASSERT_EQ(contexts->table_count, 2U);
  EXPECT_EQ(contexts->tables[0].entries[0].next_context, 1);
  const auto& second = contexts->tables[1].entries;
  ASSERT_EQ(second.size(), 3U);
  EXPECT_EQ(second[0].value, -70);
  EXPECT_EQ(second[0].count, 9U);
  EXPECT_EQ(second[0].next_context, 1);
  EXPECT_TRUE(second[1].escape);
  EXPECT_EQ(second[2].value, 50);
  EXPECT_EQ(contexts->tables[1].total, 16U);
  EXPECT_EQ(in.remaining(), 0U);
}

TEST(ProbabilityContexts, ValuesWrapAround) {
  const ByteBuilder bytes = ByteBuilder().u8(1).byteBits(BitBuilder()
                                                             .number(1, 32)
                                                             .bits("000010 000001 100000 000000")
                                                             .number(0x80000000U, 32)
                                                             .bits("11 1")
                                                             .number(0xffffffffU, 32));
  ByteReader in = readerOf(bytes);
  const auto contexts = readProbabilityContexts(in);
  ASSERT_TRUE(contexts.has_value()) << contexts.error().text();
  EXPECT_EQ(contexts->tables[0].entries[0].value, 0x7fffffff);
}

TEST(ProbabilityContexts, EveryPrefixIsAnError) {
  const ByteBuilder bytes =
      pieces::contexts({{{5, 1, 50, 1}, {7, 2, -70, 0}}, {{7, 9, 0, 1}, {-2, 4, 0, 0}, {5, 3, 0, 1}}});
  forEachPrefix(bytes,
                [](ByteReader in, bool whole) { EXPECT_EQ(readProbabilityContexts(in).has_value(), whole); });
}

std::string contextsError(const ByteBuilder& bytes) {
  ByteReader in = readerOf(bytes);
  const auto contexts = readProbabilityContexts(in);
  return contexts ? "" : contexts.error().what;
}

TEST(ProbabilityContexts, TableCountIsOneOrTwo) {
  EXPECT_THAT(contextsError(ByteBuilder().u8(0)), HasSubstr("0 tables"));
  EXPECT_THAT(contextsError(ByteBuilder().u8(3)), HasSubstr("3 tables"));
}

TEST(ProbabilityContexts, FieldsHave32BitsAtMost) {
  EXPECT_THAT(
      contextsError(ByteBuilder().u8(1).byteBits(
          BitBuilder().number(1, 32).bits("000010 100001 000011 000000").number(0, 32).number(0, 64))),
      HasSubstr("more than 32 bits"));
}

TEST(ProbabilityContexts, EntryCountIsCheckedAgainstTheBytesLeft) {
  const auto claim = [](std::uint32_t count, std::string_view widths) {
    return contextsError(ByteBuilder().u8(1).byteBits(
        BitBuilder().number(count, 32).bits(widths).number(0, 32).number(0, 24)));
  };
  EXPECT_THAT(claim(0xffffffffU, "000010 000100 000011 000000"), HasSubstr("more entries"));
  EXPECT_THAT(claim(3, "000010 000100 000011 000000"), HasSubstr("more entries"));
  EXPECT_EQ(claim(2, "000010 000100 000011 000000"), "");
  // Entries without any bits would cost nothing at all.
  EXPECT_THAT(claim(2, "000000 000000 000000 000000"), HasSubstr("more entries"));
  EXPECT_EQ(claim(1, "000000 000000 000000 000000"), "");
}

TEST(ProbabilityContexts, SecondTableHasNoSymbolsOfItsOwn) {
  EXPECT_THAT(contextsError(pieces::contexts({{{5, 1, 50}}, {{6, 1, 0}}})),
              HasSubstr("a symbol that the first table lacks"));
}

TEST(ProbabilityContexts, NextContextExists) {
  EXPECT_THAT(contextsError(pieces::contexts({{{5, 1, 50, 1}}})),
              HasSubstr("a next context that does not exist"));
}

}  // namespace
}  // namespace jttk
