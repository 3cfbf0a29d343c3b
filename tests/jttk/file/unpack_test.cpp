// zlib, .xz and .lzma streams: whole, cut off, damaged, too large, and with something behind them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <lzma.h>

#include "jttk/file/inflate.h"
#include "jttk/file/unxz.h"
#include "samples/maker/pieces/bytes.h"

namespace {

using jttk::inflateZlib;
using jttk::unpackLzma;
using loftbay::maker::pieces::ByteBuilder;
using loftbay::maker::pieces::Bytes;
using loftbay::maker::pieces::xzOf;
using loftbay::maker::pieces::zlibOf;
using ::testing::HasSubstr;

Bytes sampleText() {
  ByteBuilder text;
  for (std::uint32_t i = 0; i < 3000; ++i) text.u32(i * i % 977);
  return text.result();
}

Bytes bareLzmaOf(const Bytes& plain) {
  lzma_options_lzma options;
  lzma_lzma_preset(&options, 1);
  lzma_stream stream = LZMA_STREAM_INIT;
  Bytes packed(plain.size() + 1000);
  EXPECT_EQ(lzma_alone_encoder(&stream, &options), LZMA_OK);
  stream.next_in = reinterpret_cast<const std::uint8_t*>(plain.data());
  stream.avail_in = plain.size();
  stream.next_out = reinterpret_cast<std::uint8_t*>(packed.data());
  stream.avail_out = packed.size();
  EXPECT_EQ(lzma_code(&stream, LZMA_FINISH), LZMA_STREAM_END);
  packed.resize(packed.size() - stream.avail_out);
  lzma_end(&stream);
  return packed;
}

Bytes withTail(Bytes bytes) {
  bytes.resize(bytes.size() + 9, std::byte{0x5a});
  return bytes;
}

TEST(InflateZlib, BytesBehindTheStreamAreIgnored) {
  EXPECT_EQ(inflateZlib(zlibOf(sampleText()), 0).value(), sampleText());
  EXPECT_EQ(inflateZlib(withTail(zlibOf(sampleText())), 0).value(), sampleText());
}

TEST(InflateZlib, EveryTruncationIsAnError) {
  const Bytes packed = zlibOf(sampleText());
  for (std::size_t size = 0; size < packed.size(); ++size) {
    const Bytes prefix(packed.begin(), packed.begin() + static_cast<std::ptrdiff_t>(size));
    const auto result = inflateZlib(prefix, 50);
    ASSERT_FALSE(result.has_value()) << size;
    EXPECT_EQ(result.error().what, "the zlib stream ends too early");
    EXPECT_EQ(result.error().offset, 50 + size);
  }
}

TEST(InflateZlib, AChecksumThatIsCutOffCostsNothingWhereThatIsAskedFor) {
  const Bytes packed = zlibOf(sampleText());
  for (std::size_t missing = 0; missing <= 4; ++missing) {
    const Bytes prefix(packed.begin(), packed.end() - static_cast<std::ptrdiff_t>(missing));
    bool lacks_checksum = false;
    EXPECT_EQ(inflateZlib(prefix, 0, jttk::kMaximumUnpackedBytes, &lacks_checksum).value(), sampleText());
    EXPECT_EQ(lacks_checksum, missing > 0) << missing;
  }
  const Bytes data_cut(packed.begin(), packed.end() - 5);
  bool lacks_checksum = false;
  EXPECT_FALSE(inflateZlib(data_cut, 0, jttk::kMaximumUnpackedBytes, &lacks_checksum).has_value());
  Bytes wrong(packed.begin(), packed.end() - 2);
  wrong.back() ^= std::byte{1};
  EXPECT_THAT(inflateZlib(wrong, 0, jttk::kMaximumUnpackedBytes, &lacks_checksum).error().what,
              HasSubstr("incorrect data check"));
}

TEST(InflateZlib, DamageIsAnError) {
  Bytes packed = zlibOf(sampleText());
  packed[0] = std::byte{0x12};
  EXPECT_THAT(inflateZlib(packed, 0).error().what, HasSubstr("does not inflate"));
}

TEST(InflateZlib, TheLimitIsExact) {
  const Bytes plain = sampleText();
  EXPECT_TRUE(inflateZlib(zlibOf(plain), 0, plain.size()).has_value());
  const auto over = inflateZlib(zlibOf(plain), 0, plain.size() - 1);
  ASSERT_FALSE(over.has_value());
  EXPECT_THAT(over.error().what, HasSubstr("unpacks to more than"));
}

TEST(UnpackLzma, BothContainersAreRead) {
  EXPECT_EQ(unpackLzma(xzOf(sampleText()), 0).value(), sampleText());
  EXPECT_EQ(unpackLzma(withTail(xzOf(sampleText())), 0).value(), sampleText());
  EXPECT_EQ(unpackLzma(bareLzmaOf(sampleText()), 0).value(), sampleText());
  EXPECT_EQ(unpackLzma(withTail(bareLzmaOf(sampleText())), 0).value(), sampleText());
}

TEST(UnpackLzma, EveryTruncationIsAnError) {
  const Bytes packed = xzOf(sampleText());
  for (std::size_t size = 0; size < packed.size(); ++size) {
    const Bytes prefix(packed.begin(), packed.begin() + static_cast<std::ptrdiff_t>(size));
    ASSERT_FALSE(unpackLzma(prefix, 0).has_value()) << size;
  }
}

// Behind the data: padding (up to 3 bytes), checksum (8), index (8 or 12), footer (12).
TEST(UnpackLzma, WhatFollowsTheDataOfAnXzStreamMayBeCutOffWhereThatIsAskedFor) {
  const Bytes packed = xzOf(sampleText());
  for (std::size_t missing = 0; missing <= 28; ++missing) {
    const Bytes prefix(packed.begin(), packed.end() - static_cast<std::ptrdiff_t>(missing));
    bool lacks_checksum = false;
    const auto result = unpackLzma(prefix, 0, jttk::kMaximumUnpackedBytes, &lacks_checksum);
    ASSERT_TRUE(result.has_value()) << missing;
    EXPECT_EQ(*result, sampleText());
    EXPECT_EQ(lacks_checksum, missing > 0) << missing;
  }
  for (std::size_t size = 0; size + 40 < packed.size(); ++size) {
    const Bytes prefix(packed.begin(), packed.begin() + static_cast<std::ptrdiff_t>(size));
    bool lacks_checksum = false;
    ASSERT_FALSE(unpackLzma(prefix, 0, jttk::kMaximumUnpackedBytes, &lacks_checksum).has_value()) << size;
  }
}

TEST(UnpackLzma, TheEndMarkOfABareStreamThatStatesItsSizeMayBeCutOff) {
  Bytes packed = bareLzmaOf(sampleText());
  bool lacks_checksum = false;
  Bytes cut(packed.begin(), packed.end() - 1);
  EXPECT_FALSE(unpackLzma(cut, 0, jttk::kMaximumUnpackedBytes, &lacks_checksum).has_value());
  for (std::size_t i = 0; i < 8; ++i) cut[5 + i] = static_cast<std::byte>(sampleText().size() >> (8 * i));
  EXPECT_EQ(unpackLzma(cut, 0, jttk::kMaximumUnpackedBytes, &lacks_checksum).value(), sampleText());
  EXPECT_TRUE(lacks_checksum);
}

TEST(UnpackLzma, TheLimitIsExact) {
  const Bytes plain = sampleText();
  EXPECT_TRUE(unpackLzma(xzOf(plain), 0, plain.size()).has_value());
  EXPECT_THAT(unpackLzma(xzOf(plain), 0, plain.size() - 1).error().what, HasSubstr("unpacks to more than"));
}

}  // namespace
