// The bit reader against one that takes bit after bit, also where the data end in the middle of a word.
#include "jttk/codec/bits/bit_reader.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

using jttk::BitReader;
using jttk::ByteOrder;

// Bit `index` of words in that order; past the end zero.
std::uint32_t bitAt(const std::vector<std::byte>& bytes, ByteOrder order, std::uint64_t index) {
  const std::uint64_t in_word = index / 8 % 4;
  const std::uint64_t byte = index / 32 * 4 + (order == ByteOrder::Big ? in_word : 3 - in_word);
  if (byte >= bytes.size()) return 0;
  return (std::to_integer<std::uint32_t>(bytes[static_cast<std::size_t>(byte)]) >> (7 - index % 8)) & 1U;
}

std::uint32_t bitsAt(const std::vector<std::byte>& bytes, ByteOrder order, std::uint64_t first,
                     std::uint32_t width) {
  std::uint32_t value = 0;
  for (std::uint32_t i = 0; i < width; ++i) value = value << 1 | bitAt(bytes, order, first + i);
  return value;
}

std::int32_t extended(std::uint32_t value, std::uint32_t width) {
  if (width == 0) return 0;
  return static_cast<std::int32_t>(value << (32 - width)) >> (32 - width);
}

// Reads until well behind the end in random widths and ways.
void expectSameBits(const std::vector<std::byte>& bytes, ByteOrder order, std::uint64_t length,
                    std::mt19937& random) {
  BitReader reader(bytes, order, length);
  std::uint64_t position = 0;
  while (position < length + 100) {
    const auto width = static_cast<std::uint32_t>(random() % 33);
    const std::uint32_t expected = bitsAt(bytes, order, position, width);
    switch (random() % 3) {
      case 0:
        ASSERT_EQ(reader.bits(width), expected) << position << " + " << width;
        break;
      case 1:
        ASSERT_EQ(reader.signedBits(width), extended(expected, width)) << position << " + " << width;
        break;
      default:
        ASSERT_EQ(reader.peek(width), expected) << position << " + " << width;
        reader.skip(width);
    }
    position += width;
    ASSERT_EQ(reader.consumed(), position);
    ASSERT_EQ(reader.overread(), position > length);
  }
}

TEST(BitReader, AgreesWithOneThatTakesBitAfterBit) {
  std::mt19937 random(1);
  for (int round = 0; round < 400; ++round) {
    std::vector<std::byte> bytes(random() % 24);
    for (std::byte& byte : bytes) byte = static_cast<std::byte>(random() % 256);
    // A byte stream is words in big-endian order, and ends where it ends.
    expectSameBits(bytes, ByteOrder::Big, bytes.size() * 8, random);
    bytes.resize(bytes.size() / 4 * 4);
    const std::uint64_t length = bytes.size() * 8 - (bytes.empty() ? 0 : random() % 32);
    expectSameBits(bytes, random() % 2 == 0 ? ByteOrder::Little : ByteOrder::Big, length, random);
  }
}

TEST(BitReader, GivesTheWidestFieldsAtEveryPlaceOfAWord) {
  std::mt19937 random(2);
  std::vector<std::byte> bytes(16);
  for (std::byte& byte : bytes) byte = static_cast<std::byte>(random() % 256);
  for (std::uint32_t first = 0; first < 32; ++first) {
    BitReader reader(bytes, ByteOrder::Little, 128);
    reader.bits(first);
    EXPECT_EQ(reader.bits(32), bitsAt(bytes, ByteOrder::Little, first, 32));
    EXPECT_EQ(reader.signedBits(32), extended(bitsAt(bytes, ByteOrder::Little, first + 32, 32), 32));
  }
}

}  // namespace
