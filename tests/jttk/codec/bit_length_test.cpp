// Bits, and packets in the bit length codec, written out beside the values that they hold.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "jttk/codec/bits/bit_reader.h"
#include "tests/jttk/codec/packet_bytes.h"

namespace {

using namespace jttk::testing;  // NOLINT: everything here is about these packets
using ::testing::HasSubstr;

TEST(BitReader, TakesBitsFromTheTopOfWordsInFileOrder) {
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

TEST(BitReader, SignExtends) {
  const Bytes bytes = BitBuilder().bits("101 011 1").asBytes();
  jttk::BitReader bits(bytes, jttk::ByteOrder::Big, 7);
  EXPECT_EQ(bits.signedBits(3), -3);
  EXPECT_EQ(bits.signedBits(3), 3);
  EXPECT_EQ(bits.signedBits(0), 0);
  EXPECT_EQ(bits.signedBits(1), -1);
}

Bytes bitLengthPacket(std::uint32_t count, const BitBuilder& bits) {
  return ByteBuilder().u32(count).u8(1).bytes(bits.asCodeText()).result();
}

TEST(BitLength, FixedWidthInV9) {
  // Minimum -1 in 2 bits, maximum 6 in 4 bits: 7 takes 3 bits.
  const BitBuilder bits = BitBuilder().bits("0  000010 000100  11 0110  000 111 011");
  EXPECT_EQ(decodePacket(bitLengthPacket(3, bits), PacketForm::V9).value(), (Values{-1, 6, 2}));
}

TEST(BitLength, FixedWidthInV10) {
  // Minimum 9 as two nibbles (one would be -7), maximum 17: 8 takes 4 bits.
  const BitBuilder bits = BitBuilder().bits("0  1001 1 0000 0  0001 1 0001 0  0000 1000 0011");
  EXPECT_EQ(decodePacket(bitLengthPacket(3, bits), PacketForm::V10).value(), (Values{9, 17, 12}));
}

TEST(BitLength, EqualValuesTakeNoBits) {
  const BitBuilder bits = BitBuilder().bits("0  000100 000100  0101 0101");
  EXPECT_EQ(decodePacket(bitLengthPacket(4, bits), PacketForm::V9).value(), (Values{5, 5, 5, 5}));
}

TEST(BitLength, VariableWidthInV9) {
  BitBuilder bits;
  // Mean 10; steps of 3 bits, runs of 3 bits. Two values of width 0, two of width 2. Then +3 and +1, the 3
  // saying that one more step follows: one value of width 6.
  bits.bits("1").number(10, 32).bits("011 011");
  bits.bits("000 010").bits("010 010 01 11").bits("011 001 001 010100");
  EXPECT_EQ(decodePacket(bitLengthPacket(5, bits), PacketForm::V9).value(), (Values{10, 10, 11, 9, 30}));
}

TEST(BitLength, VariableWidthInV10) {
  // Mean -2 in one nibble; steps and runs of 4 bits. One value of width 3, then -1: two of width 2.
  const BitBuilder bits = BitBuilder().bits("1  1110 0  0011 0001 101  1111 0010 01 10");
  EXPECT_EQ(decodePacket(bitLengthPacket(3, bits), PacketForm::V10).value(), (Values{-5, -1, -4}));
}

TEST(BitLength, TheCodeTextMustBeUsedUpExactly) {
  const BitBuilder long_one = BitBuilder().bits("0  000010 000100  11 0110  000 111 011 0");
  EXPECT_THAT(packetError(bitLengthPacket(3, long_one), PacketForm::V9), HasSubstr("left over"));
  EXPECT_THAT(packetError(bitLengthPacket(4, long_one), PacketForm::V9), HasSubstr("too short"));
}

TEST(BitLength, ImpossibleWidthsAreErrors) {
  EXPECT_THAT(packetError(bitLengthPacket(1, BitBuilder().bits("0 111111 000001 0 0")), PacketForm::V9),
              HasSubstr("wider than 32"));
  BitBuilder negative;
  negative.bits("1").number(0, 32).bits("011 011 111 001 0");
  EXPECT_THAT(packetError(bitLengthPacket(1, negative), PacketForm::V9), HasSubstr("outside of 0 to 32"));
  BitBuilder no_step;
  no_step.bits("1").number(0, 32).bits("000 011 001");
  EXPECT_THAT(packetError(bitLengthPacket(1, no_step), PacketForm::V9), HasSubstr("no bits"));
  BitBuilder long_run;
  long_run.bits("1").number(0, 32).bits("011 011 000 111");
  EXPECT_THAT(packetError(bitLengthPacket(1, long_run), PacketForm::V9), HasSubstr("past the last value"));
}

}  // namespace
