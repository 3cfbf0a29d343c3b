// Codecs whose data are packets themselves: chopper and move to front.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/jttk/codec/packet_bytes.h"

namespace {

using namespace jttk::testing;  // NOLINT: everything here is about these packets
using ::testing::HasSubstr;

TEST(Chopper, JoinsUpperAndLowerBitsAboveABias) {
  // 3 of 8 bits are cut off: the lower 5 are in the second packet.
  EXPECT_EQ(decodePacket(chopperPacket(2, 3, -100, 8, {7, 1}, {31, 2}), PacketForm::V9).value(),
            (Values{255 - 100, 34 - 100}));
}

TEST(Chopper, WithoutBitsHoldsOnePacket) {
  const Bytes bytes = ByteBuilder().u32(2).u8(4).u8(0).bytes(packetOf({3, 4}, PacketForm::V9)).result();
  EXPECT_EQ(decodePacket(bytes, PacketForm::V9).value(), (Values{3, 4}));
}

TEST(Chopper, RefusesWrongLengthsAndWidths) {
  EXPECT_THAT(packetError(chopperPacket(2, 3, 0, 8, {7}, {31, 2}), PacketForm::V9),
              HasSubstr("1 values instead of 2"));
  EXPECT_THAT(packetError(chopperPacket(2, 9, 0, 8, {7, 7}, {1, 2}), PacketForm::V9),
              HasSubstr("cuts 9 of 8"));
  EXPECT_THAT(packetError(chopperPacket(2, 9, 0, 33, {7, 7}, {1, 2}), PacketForm::V9),
              HasSubstr("cuts 9 of 33"));
}

Bytes recentPacket(const Values& fresh, const Values& offsets) {
  return ByteBuilder()
      .u32(static_cast<std::uint32_t>(offsets.size()))
      .u8(5)
      .bytes(packetOf(fresh, PacketForm::V10))
      .bytes(packetOf(offsets, PacketForm::V10))
      .result();
}

TEST(MoveToFront, EveryUseMakesAValueTheLatest) {
  // 4, 9; then index 1 is 4, now the latest; index 1 is 9; index 0 is 9 again; 6 is new; index 2 is 4.
  EXPECT_EQ(decodePacket(recentPacket({4, 9, 6}, {-1, -1, 1, 1, 0, -1, 2}), PacketForm::V10).value(),
            (Values{4, 9, 4, 9, 9, 6, 4}));
}

TEST(MoveToFront, RemembersSixteenValues) {
  Values fresh;
  for (std::int32_t i = 0; i < 17; ++i) fresh.push_back(100 + i);
  Values offsets(17, -1);
  offsets.push_back(15);
  EXPECT_EQ(decodePacket(recentPacket(fresh, offsets), PacketForm::V10).value().back(), 101);
  offsets.back() = 16;
  EXPECT_THAT(packetError(recentPacket(fresh, offsets), PacketForm::V10), HasSubstr("place 16 of 16"));
}

TEST(MoveToFront, RefusesUnknownPlacesAndWrongNumbersOfNewValues) {
  EXPECT_THAT(packetError(recentPacket({4}, {0, -1}), PacketForm::V10), HasSubstr("place 0 of 0"));
  EXPECT_THAT(packetError(recentPacket({4}, {-2}), PacketForm::V10), HasSubstr("place -2"));
  EXPECT_THAT(packetError(recentPacket({4}, {-1, -1}), PacketForm::V10), HasSubstr("too few new values"));
  EXPECT_THAT(packetError(recentPacket({4, 5}, {-1, 0}), PacketForm::V10), HasSubstr("left over"));
}

}  // namespace
