// What all packets have in common: counts, limits, nesting, damage.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "tests/jttk/codec/packet_bytes.h"

namespace {

using namespace jttk::testing;  // NOLINT: everything here is about these packets
using jttk::ByteReader;
using jttk::Predictor;
using ::testing::HasSubstr;

TEST(PacketV9, AnEmptyPacketIsItsCountAlone) {
  EXPECT_EQ(decodePacket(ByteBuilder().u32(0).result(), PacketForm::V9).value(), Values{});
}

TEST(PacketV9, PlainValuesStateTheirSizeInWordsBytesOrBits) {
  for (const std::uint32_t size : {2U, 8U, 64U}) {
    const Bytes bytes = ByteBuilder().u32(2).u8(0).u32(size).i32(-5).i32(70000).result();
    EXPECT_EQ(decodePacket(bytes, PacketForm::V9).value(), (Values{-5, 70000}));
  }
  EXPECT_THAT(packetError(ByteBuilder().u32(2).u8(0).u32(3).i32(0).i32(0).result(), PacketForm::V9),
              HasSubstr("states a size of 3"));
}

TEST(PacketV9, ACountAboveTheMaximumIsRefusedBeforeAnythingIsAllocated) {
  const Bytes lying = ByteBuilder().u32(0x7fffffff).u8(1).u32(0).result();
  EXPECT_EQ(packetError(lying, PacketForm::V9, 3),
            "values: 2147483647 values in a packet that may hold 3 at most (at byte 0)");
  EXPECT_THAT(packetError(ByteBuilder().i32(-1).result(), PacketForm::V9), HasSubstr("negative count"));
}

TEST(PacketV9, ThePacketsOfOneReaderShareABudget) {
  const Bytes bytes = ByteBuilder()
                          .bytes(packetOf({1, 2, 3}, PacketForm::V9))
                          .bytes(packetOf({1, 2}, PacketForm::V9))
                          .result();
  ByteReader reader(bytes);
  jttk::PacketReader packets(formOf(PacketForm::V9), 4);
  Values values;
  EXPECT_TRUE(packets.read(reader, "first", Predictor::Null, kPlenty, values).has_value());
  const auto second = packets.read(reader, "second", Predictor::Null, kPlenty, values);
  ASSERT_FALSE(second.has_value());
  EXPECT_THAT(second.error().what, HasSubstr("too many values"));
}

TEST(PacketV9, NestingHasALimit) {
  ByteBuilder deep;
  for (int i = 0; i < 100; ++i) deep.u32(1).u8(4).u8(0);
  EXPECT_THAT(packetError(deep.bytes(packetOf({3}, PacketForm::V9)).result(), PacketForm::V9),
              HasSubstr("too deeply"));
}

TEST(PacketV9, UnknownCodecsAreRefused) {
  EXPECT_THAT(packetError(ByteBuilder().u32(1).u8(2).u32(0).result(), PacketForm::V9),
              HasSubstr("codec 2 is not known"));
}

TEST(PacketV9, EveryTruncationIsAnError) {
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
      jttk::PacketReader packets(formOf(PacketForm::V9));
      Values values;
      EXPECT_FALSE(packets.read(reader, "values", Predictor::Null, kPlenty, values).has_value()) << size;
    }
  }
}

// Two million equal values in no bits take what the budget has, or nothing.
TEST(PacketV9, MemoryIsTakenFromTheBudget) {
  const Bytes bytes = ByteBuilder().u32(1U << 21U).u8(1).u32(13).u32(0).result();
  for (const bool enough : {true, false}) {
    jttk::MemoryBudget memory((std::uint64_t{4} << 21U) - (enough ? 0 : 1));
    jttk::ByteReader reader(bytes);
    jttk::PacketReader packets(formOf(PacketForm::V9), std::uint64_t{1} << 27U, &memory);
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
