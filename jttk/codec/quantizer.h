// Quantised numbers: an unsigned code of `bits` bits is a point between `minimum` and `maximum`.
//
// Readers must agree to the last bit: the value is computed in double in exactly this order and rounded to
// float once. There is no half step, so code 0 is the minimum and the largest code the maximum.
#pragma once

#include <cstdint>

namespace jttk {

struct UniformQuantizer {
  float minimum = 0;
  float maximum = 0;
  std::uint8_t bits = 0;  // 0 .. 32; with 0 bits every code means the minimum

  [[nodiscard]] double largestCode() const noexcept {
    return bits >= 32 ? 4294967295.0 : static_cast<double>((std::uint64_t{1} << bits) - 1);
  }
};

// A quantiser made ready for many codes.
class Dequantizer {
 public:
  explicit Dequantizer(const UniformQuantizer& quantizer) noexcept
      : minimum_(quantizer.minimum),
        range_(quantizer.bits == 0
                   ? 0.0
                   : static_cast<double>(quantizer.maximum) - static_cast<double>(quantizer.minimum)),
        largest_code_(quantizer.bits == 0 ? 1.0 : quantizer.largestCode()) {}

  [[nodiscard]] float operator()(std::uint32_t code) const noexcept {
    return static_cast<float>(static_cast<double>(code) * range_ / largest_code_ + minimum_);
  }

 private:
  double minimum_;
  double range_;
  double largest_code_;
};

}  // namespace jttk
