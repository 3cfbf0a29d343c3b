#include "jttk/codec/v8/huffman.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "samples/maker/pieces/packets_v8.h"

namespace jttk {
namespace {

namespace pieces = loftbay::maker::pieces;
using loftbay::maker::pieces::BitBuilder;
using loftbay::maker::pieces::ByteBuilder;
using testing::ElementsAre;

ContextTable tableOf(const std::vector<std::uint32_t>& counts) {
  ContextTable table;
  for (const std::uint32_t count : counts) {
    table.entries.push_back({0, count, 0, false});
    table.total += count;
  }
  return table;
}

// Decodes all of `text`: the entries, or an empty list when the text does not end with a symbol.
std::vector<std::uint32_t> decodeAll(const std::vector<std::uint32_t>& counts, std::string_view text) {
  const HuffmanDecoder decoder(tableOf(counts));
  const BitBuilder bits(text);
  ByteBuilder words;
  pieces::addCodeText(words, bits);
  const std::span<const std::byte> stored = words.view();
  BitReader reader(stored.subspan(4), ByteOrder::Little, bits.size());
  std::vector<std::uint32_t> entries;
  while (reader.consumed() < reader.length()) entries.push_back(decoder.decode(reader));
  if (reader.overread()) entries.clear();
  return entries;
}

// Counts 1 1 1 1. Heap as an array, by hand:
//   added: A B C D.  pop A: D sinks from the top past its equal B: B D C.  pop B: C sinks past D: D C.
//   E = (A B), count 2: D C E.  pop D: E sinks past C: C E.  pop C.  F = (D C), count 2: E F.  root = (E F).
// With 1 for the left child: A 11, B 10, D 01, C 00. A first-in first-out queue would exchange C and D;
// a heap that lets equals rise, stops at equals on the way down, or takes the right one of two equal
// children, pairs A, B, C, D otherwise.
TEST(HuffmanV8, EqualCountsLeaveTheHeapInItsOwnOrder) {
  EXPECT_THAT(decodeAll({1, 1, 1, 1}, "11 10 01 00"), ElementsAre(0, 1, 3, 2));
}

// Counts 3 1 2 2: heap 1(B) 3(A) 2(C), then D: below A, less than it: B D C A.
//   pop B: A (3) would go down: children D 2, C 2: not greater, so left; A is not less than D: D A C.
//   pop D: last C: children A (3): C is less: C A.   E = (B D), count 3, at the end: C A E.
//   pop C: last E: child A: 3 is not less than 3, so A rises: A E.  pop A.  F = (C A), count 5.
//   E F: pop E, pop F: root = (E F).   B 11, D 10, C 01, A 00.
TEST(HuffmanV8, UnequalCountsBySmallestFirst) {
  EXPECT_THAT(decodeAll({3, 1, 2, 2}, "00 11 01 10 00"), ElementsAre(0, 1, 2, 3, 0));
}

// Two symbols: the lesser one is taken out first and goes left, that is 1.
TEST(HuffmanV8, LesserOfTwoIsOne) {
  EXPECT_THAT(decodeAll({5, 2}, "0 1 1 0"), ElementsAre(0, 1, 1, 0));
  EXPECT_THAT(decodeAll({2, 5}, "1 0 0 1"), ElementsAre(0, 1, 1, 0));
}

// Counts 1, 2, 4 … 2^15 make a chain: the sum of all lesser ones is the lesser child everywhere. So entry 15
// is 0, entry 14 is 10, … entry 1 is 14 ones and a 0, entry 0 is 15 ones: longer than the look-up table.
TEST(HuffmanV8, LongCodesAreWalked) {
  std::vector<std::uint32_t> counts;
  for (unsigned i = 0; i < 16; ++i) counts.push_back(1U << i);
  std::string text;
  std::vector<std::uint32_t> expected;
  for (const std::uint32_t entry : {0U, 15U, 1U, 2U, 5U, 4U, 14U, 6U, 0U, 3U}) {
    text += std::string(15 - entry, '1') + (entry == 0 ? "" : "0");
    expected.push_back(entry);
  }
  EXPECT_EQ(decodeAll(counts, text), expected);
}

TEST(HuffmanV8, OneSymbolTakesNoBits) {
  const HuffmanDecoder decoder(tableOf({7}));
  BitReader none({}, ByteOrder::Little, 0);
  EXPECT_EQ(decoder.decode(none), 0U);
  EXPECT_EQ(decoder.decode(none), 0U);
  EXPECT_EQ(none.consumed(), 0U);
}

TEST(HuffmanV8, NoSymbolsIsEmpty) {
  EXPECT_TRUE(HuffmanDecoder().empty());
  EXPECT_TRUE(HuffmanDecoder(tableOf({})).empty());
  EXPECT_FALSE(HuffmanDecoder(tableOf({1})).empty());
}

// Counts of 0 and of 2^32 - 1 are legal claims; the sum of many does not wrap around.
TEST(HuffmanV8, ExtremeCounts) {
  EXPECT_THAT(decodeAll({0xffffffffU, 0xffffffffU, 0xffffffffU, 0}, "01 11 00 10"), ElementsAre(1, 3, 2, 0));
}

}  // namespace
}  // namespace jttk
