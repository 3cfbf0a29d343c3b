// The classic arithmetic encoder with 16-bit registers, bit by bit, for tests.
#pragma once

#include <cstdint>

#include "tests/jttk/codec/v8/packet_writer.h"

namespace jttk::test {

class ArithmeticEncoder {
 public:
  // The symbol that owns begin .. end - 1 of 0 .. total - 1.
  void encode(std::uint32_t begin, std::uint32_t end, std::uint32_t total) {
    const std::uint64_t range = std::uint64_t{high_} - low_ + 1;
    high_ = static_cast<std::uint32_t>(low_ + range * end / total - 1);
    low_ = static_cast<std::uint32_t>(low_ + range * begin / total);
    for (;;) {
      if ((high_ & 0x8000U) == (low_ & 0x8000U)) {
        settle((high_ & 0x8000U) != 0);
      } else if ((low_ & 0x4000U) != 0 && (high_ & 0x4000U) == 0) {
        ++pending_;
        ++straddles_;
        low_ &= 0x3fffU;
        high_ |= 0x4000U;
      } else {
        return;
      }
      low_ = low_ << 1 & 0xffffU;
      high_ = (high_ << 1 & 0xffffU) | 1U;
    }
  }

  // The code text: two bits that lie within the last interval for any bits behind them.
  Bits finish() {
    ++pending_;
    settle((low_ & 0x4000U) != 0);
    return text_;
  }

  // How often the interval lay around the middle.
  [[nodiscard]] int straddles() const { return straddles_; }

 private:
  void settle(bool one) {
    text_.add(one ? 1 : 0, 1);
    for (; pending_ > 0; --pending_) text_.add(one ? 0 : 1, 1);
  }

  std::uint32_t low_ = 0;
  std::uint32_t high_ = 0xffff;
  int pending_ = 0;
  int straddles_ = 0;
  Bits text_;
};

}  // namespace jttk::test
