// Packets whose bytes were worked out by hand.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "samples/maker/packet.h"

namespace loftbay::maker {
namespace {

using testing::ElementsAre;
using Values = std::vector<std::int32_t>;

Bytes v9(const Values& values, Codec codec, bool version10 = false, bool big_endian = false) {
  ByteWriter out(big_endian);
  writePacketV9(out, values, codec, version10);
  return out.take();
}
Bytes v8(const Values& values, Codec codec) {
  ByteWriter out(false);
  writePacketV8(out, values, codec);
  return out.take();
}

TEST(PacketBytes, AnEmptyArrayIsACountOnlyFromNineOn) {
  EXPECT_THAT(v9({}, Codec::Best), ElementsAre(0, 0, 0, 0));
}

TEST(PacketBytes, AnEmptyArrayOfEightIsABitLengthPacketOfNothing) {
  EXPECT_THAT(v8({}, Codec::Best), ElementsAre(1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0));
}

TEST(PacketBytes, NullCodec) {
  EXPECT_THAT(v9({-2}, Codec::Null), ElementsAre(1, 0, 0, 0, 0, 1, 0, 0, 0, 0xfe, 0xff, 0xff, 0xff));
  EXPECT_THAT(v8({-2}, Codec::Null), ElementsAre(0, 1, 0, 0, 0, 0xfe, 0xff, 0xff, 0xff));
}

TEST(PacketBytes, FixedWidthOfNine) {
  // 0, 3 bits for the minimum, 4 for the maximum, minimum 011, maximum 0100, width 1: 0 1
  // 0 000011 000100 011 0100 0 1 = 22 bits, 0x06234400
  EXPECT_THAT(v9({3, 4}, Codec::FixedBits), ElementsAre(2, 0, 0, 0, 1, 22, 0, 0, 0, 0x00, 0x44, 0x23, 0x06));
  EXPECT_THAT(v9({3, 4}, Codec::FixedBits, false, true),
              ElementsAre(0, 0, 0, 2, 1, 0, 0, 0, 22, 0x06, 0x23, 0x44, 0x00));
}

TEST(PacketBytes, FixedWidthOfTenHasNibbles) {
  // 0, minimum 9 = 1001 1 0000 0 (its top bit must not look like a sign), maximum 10 = 1010 1 0000 0, 0 1
  // 0 1001 1 0000 0 1010 1 0000 0 0 1 = 23 bits: 0100 1100 0001 0101 0000 001 -> 0x4c150200
  EXPECT_THAT(v9({9, 10}, Codec::FixedBits, true),
              ElementsAre(2, 0, 0, 0, 1, 23, 0, 0, 0, 0x00, 0x02, 0x15, 0x4c));
}

TEST(PacketBytes, VariableWidthOfNine) {
  // 1, mean 5 in 32 bits, 4 bits of change, 4 of run: 100 100, change 0000, run of two 0010, no value bits
  // 1 | 0000…0101 | 100 100 | 0000 | 0010 = 47 bits: 0x80000002 0xc8010000 + the last bits
  const Bytes bytes = v9({5, 5}, Codec::VariableBits);
  // 1000 0000 … 0000 0010 | 1 100 100 0000 0010 0…: second word 1100 1000 0000 0100 = 0xc804
  EXPECT_THAT(bytes, ElementsAre(2, 0, 0, 0, 1, 47, 0, 0, 0, 0x02, 0x00, 0x00, 0x80, 0x00, 0x00, 0x04, 0xc8));
}

TEST(PacketBytes, BitLengthOfEightMovesItsWidthInTwos) {
  // 0 at width 0: 0; 1 needs two bits: 1 1 0, value 01; 011001 = 0x64
  EXPECT_THAT(v8({0, 1}, Codec::VariableBits),
              ElementsAre(1, 6, 0, 0, 0, 2, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0x64));
}

TEST(PacketBytes, ArithmeticOverOneValueIsOnlyTheEndOfTheText) {
  // No shift happens: 2 closing bits (0 1) and 16 zeros; the table has one entry with no value bits.
  // entries 1 (16 bits), symbol bits 2, occurrence bits 2, value bits 0, minimum 7 (32 bits), symbol 10,
  // occurrences 11; then the empty packet of escaped values
  EXPECT_THAT(v9({7, 7, 7}, Codec::Arithmetic),
              ElementsAre(3, 0, 0, 0, 3, 18, 0, 0, 0, 0, 0, 0, 0x40,  //
                          0x00, 0x01, 0x08, 0x20, 0x00, 0x00, 0x00, 0x01, 0xec, 0, 0, 0, 0));
}

TEST(Predictors, TheFirstFourValuesStay) {
  EXPECT_THAT(residuals(Values{9, 8, 7, 6, 5, 15}, Predictor::Lag1), ElementsAre(9, 8, 7, 6, -1, 10));
  EXPECT_THAT(residuals(Values{0, 3, 6, 9, 12, 16}, Predictor::Stride1), ElementsAre(0, 3, 6, 9, 0, 1));
  // steps of two places: 3 - 1 = 2, then a step of 20 counts as 2
  EXPECT_THAT(residuals(Values{0, 1, 2, 3, 4, 23, 6, 25}, Predictor::StripIndex),
              ElementsAre(0, 1, 2, 3, 0, 18, 0, 0));
}

TEST(Predictors, DifferencesWrap) {
  constexpr std::int32_t kLowest = INT32_MIN;
  EXPECT_THAT(residuals(Values{0, 0, 0, INT32_MAX, kLowest}, Predictor::Lag1),
              ElementsAre(0, 0, 0, INT32_MAX, 1));
}

}  // namespace
}  // namespace loftbay::maker
