// The arithmetic decoder against the classic scheme as it is written in textbooks: bit after bit, with both
// ends of the interval and the code in 16-bit registers.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "jttk/codec/bits/arithmetic_coder.h"

namespace {

using jttk::ArithmeticDecoder;
using jttk::ArithmeticTable;
using jttk::BitReader;
using jttk::ByteOrder;
using Counts = std::vector<std::uint32_t>;

class TextbookDecoder {
 public:
  explicit TextbookDecoder(BitReader text) : text_(text), code_(text_.bits(16)) {}

  std::uint32_t decode(const Counts& counts, std::uint64_t total) {
    const std::uint64_t range = std::uint64_t{high_} - low_ + 1;
    const std::uint64_t position = ((std::uint64_t{code_} - low_ + 1) * total - 1) / range;
    std::uint64_t begin = 0;
    std::uint32_t entry = 0;
    while (begin + counts[entry] <= position) begin += counts[entry++];
    high_ = static_cast<std::uint32_t>(low_ + range * (begin + counts[entry]) / total - 1);
    low_ = static_cast<std::uint32_t>(low_ + range * begin / total);
    for (;;) {
      if (((low_ ^ high_) & 0x8000U) == 0) {
        // The first bit is settled.
      } else if ((low_ & 0x4000U) != 0 && (high_ & 0x4000U) == 0) {
        code_ ^= 0x4000U;
        low_ &= 0x3fffU;
        high_ |= 0x4000U;
      } else {
        return entry;
      }
      low_ = (low_ << 1) & 0xffffU;
      high_ = ((high_ << 1) & 0xffffU) | 1U;
      code_ = ((code_ << 1) & 0xffffU) | text_.bits(1);
    }
  }
  [[nodiscard]] std::uint64_t consumed() const { return text_.consumed(); }

 private:
  BitReader text_;
  std::uint32_t low_ = 0;
  std::uint32_t high_ = 0xffff;
  std::uint32_t code_;
};

// Counts of all sizes, some of them 0.
Counts randomCounts(std::mt19937& random, std::uint32_t largest_total) {
  Counts counts(1 + random() % 20);
  std::uint32_t left = largest_total - 1;
  for (std::uint32_t& count : counts) {
    count = random() % 5 == 0 ? 0 : static_cast<std::uint32_t>(random() % (1 + left / (1 + random() % 40)));
    left -= count;
  }
  counts[random() % counts.size()] += 1;
  return counts;
}

// Any bits decode to something: random text reaches every state.
TEST(ArithmeticDecoder, AgreesWithTheTextbook) {
  std::mt19937 random(1);
  for (int round = 0; round < 300; ++round) {
    const bool large = round % 3 == 0;
    const Counts counts =
        randomCounts(random, large ? 0x7fffffffU : 1U + static_cast<std::uint32_t>(random() % 0xffff));
    std::uint64_t total = 0;
    std::vector<std::uint64_t> ends;
    for (const std::uint32_t count : counts) ends.push_back(total += count);
    std::vector<std::byte> bytes(64);
    const auto kind = random() % 3;
    for (std::byte& byte : bytes)
      byte = static_cast<std::byte>(kind == 0 ? 0 : kind == 1 ? 255 : random() % 256);
    const BitReader text(bytes, ByteOrder::Little, bytes.size() * 8);
    ArithmeticDecoder decoder(text);
    TextbookDecoder textbook(text);
    const bool quick = total <= jttk::kMaximumQuickTotal;
    const ArithmeticTable table =
        quick ? ArithmeticTable(counts, total, [](std::uint32_t count) { return count; }) : ArithmeticTable();
    // Behind its end the text goes on in zeros.
    for (int i = 0; i < 1000; ++i) {
      std::uint32_t entry = 0;
      if (quick) {
        entry = decoder.decode(table);
      } else {
        const std::uint64_t position = decoder.position(total);
        while (ends[entry] <= position) ++entry;
        decoder.take(ends[entry] - counts[entry], ends[entry], total);
      }
      ASSERT_EQ(entry, textbook.decode(counts, total)) << round << ", " << i;
      ASSERT_EQ(decoder.bits().consumed(), textbook.consumed()) << round << ", " << i;
    }
  }
}

}  // namespace
