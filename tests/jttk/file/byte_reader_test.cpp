#include "jttk/file/byte_reader.h"

#include <gtest/gtest.h>

#include "samples/maker/pieces/bytes.h"

namespace {

using jttk::ByteOrder;
using jttk::ByteReader;
using loftbay::maker::pieces::ByteBuilder;
using loftbay::maker::pieces::Bytes;

TEST(ByteReader, ReadsNumbersInEitherByteOrder) {
  const Bytes bytes = ByteBuilder().u8(0x01).u8(0x02).u8(0x03).u8(0x04).result();
  EXPECT_EQ(ByteReader(bytes, ByteOrder::Little).u32("n"), 0x04030201U);
  EXPECT_EQ(ByteReader(bytes, ByteOrder::Big).u32("n"), 0x01020304U);
  EXPECT_EQ(ByteReader(bytes, ByteOrder::Big).u16("n"), 0x0102U);
}

TEST(ByteReader, AGuidFollowsTheByteOrderInItsFirstThreeGroups) {
  Bytes bytes;
  for (int i = 0; i < 16; ++i) bytes.push_back(static_cast<std::byte>(i));
  EXPECT_EQ(ByteReader(bytes, ByteOrder::Little).guid("id").text(), "03020100-0504-0706-0809-0a0b0c0d0e0f");
  EXPECT_EQ(ByteReader(bytes, ByteOrder::Big).guid("id").text(), "00010203-0405-0607-0809-0a0b0c0d0e0f");
}

TEST(ByteReader, AReadPastTheEndGivesZerosAndKeepsTheFirstFailure) {
  const Bytes bytes = ByteBuilder().u16(7).u8(1).result();
  ByteReader reader(bytes, ByteOrder::Little, 100);
  EXPECT_EQ(reader.u16("first"), 7);
  EXPECT_EQ(reader.u32("second"), 0U);
  EXPECT_EQ(reader.u8("third"), 0U);
  ASSERT_FALSE(reader.ok());
  EXPECT_EQ(reader.error().text(), "second ends too early (at byte 102)");
}

TEST(ByteReader, CountsAreCheckedAgainstTheBytesLeft) {
  const Bytes fits = ByteBuilder().u32(2).u64(0).result();
  EXPECT_EQ(ByteReader(fits).count("items", 4), 2U);
  ByteReader too_many(fits);
  EXPECT_EQ(too_many.count("items", 5), 0U);
  EXPECT_EQ(too_many.error().text(), "items has a count larger than the bytes left (at byte 0)");
  const Bytes minus = ByteBuilder().i32(-1).u64(0).result();
  ByteReader negative(minus);
  EXPECT_EQ(negative.count("items", 0), 0U);
  EXPECT_EQ(negative.error().text(), "items has a negative count (at byte 0)");
}

TEST(ByteReader, TextsAreUtf16WithTrailingNulsRemoved) {
  // A, e acute, euro, G clef (two units), NUL.
  const Bytes bytes =
      ByteBuilder().u32(6).u16(0x41).u16(0xe9).u16(0x20ac).u16(0xd834).u16(0xdd1e).u16(0).result();
  EXPECT_EQ(ByteReader(bytes).mbString("name"), "A\xc3\xa9\xe2\x82\xac\xf0\x9d\x84\x9e");
}

TEST(ByteReader, AnUnpairedSurrogateBecomesTheReplacementCharacter) {
  const Bytes bytes = ByteBuilder().u32(4).u16(0xd834).u16(0x41).u16(0xdd1e).u16(0xd834).result();
  EXPECT_EQ(ByteReader(bytes).mbString("name"),
            "\xef\xbf\xbd"
            "A\xef\xbf\xbd\xef\xbf\xbd");
}

TEST(ByteReader, ASubReaderCountsOffsetsFromTheSameStart) {
  const Bytes bytes = ByteBuilder().u32(0).u32(5).result();
  ByteReader reader(bytes, ByteOrder::Little, 10);
  reader.skip(4, "front");
  ByteReader inner = reader.sub(2, "inner");
  EXPECT_EQ(inner.offset(), 14U);
  EXPECT_EQ(inner.remaining(), 2U);
  EXPECT_EQ(reader.offset(), 16U);
}

}  // namespace
