// Which floats print alike at six significant digits, told without printing them, where the digits alone
// decide.
//
// Plain floats are those whose text has a point, all six significant digits and no exponent, such as
// "12.3456" and "-0.00123456": between 0.0001 and 100000, and the sixth digit is not 0 (a last 0 is not
// printed). If all three coordinates of a position are plain, no other three numbers have its joined text:
// - The text has three points and no "e", so each of the three numbers has one point and no exponent.
// - A number that begins where a plain one begins cannot be longer: it would have a seventh digit.
// - If it is shorter, the next one begins with what it leaves, at least one digit, and goes on with the next
//   plain number's integer part. Two digits before the point do not begin with 0, so all digits of this
//   number are significant, and six of them end before that plain number does. So the one behind it begins
//   too early as well, and the last one does not reach the end.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace loftbay::geometry {

namespace printed_digits {

// A float is m * 2^(E - 150) with m below 2^24 and the exponent field E.
inline constexpr std::uint32_t kHiddenBit = 1U << 23;
inline constexpr int kFirstDecimal = -4;
inline constexpr int kLastDecimal = 4;

// How the floats between two neighbouring powers of ten and of two become six digits: m * factor, shifted
// right and rounded. Factor 0: they are not plain, and the digits come out as 0.
struct Scale {
  std::uint64_t factor = 0;
  std::uint32_t shift = 1;
  std::uint32_t mark = 0;  // of the decimal exponent, above the digits
};

struct Scales {
  // Two for each exponent field: for m below and from the power of ten that lies between them.
  std::array<Scale, 512> scales{};
  std::array<std::uint32_t, 256> power_of_ten{};
};

constexpr Scales makeScales() {
  Scales result;
  for (std::uint32_t field = 113; field <= 143; ++field) {  // 2^-14 .. 2^17
    const std::uint32_t shift = 150 - field;
    // The smallest m whose float is not below 10^decimal, rounded up.
    const auto least = [shift](int decimal) {
      std::uint64_t power = 1;
      for (int i = 0; i < (decimal < 0 ? -decimal : decimal); ++i) power *= 10;
      const std::uint64_t one = std::uint64_t{1} << shift;
      return decimal < 0 ? (one + power - 1) / power : power << shift;
    };
    std::uint32_t& between = result.power_of_ten[field];
    between = 2 * kHiddenBit;
    for (int decimal = kFirstDecimal; decimal <= kLastDecimal + 1; ++decimal) {
      const std::uint64_t m = least(decimal);
      if (m >= kHiddenBit && m < 2 * kHiddenBit) between = static_cast<std::uint32_t>(m);
    }
    for (std::uint32_t side = 0; side < 2; ++side) {
      const std::uint64_t m = side == 0 ? kHiddenBit : between;
      for (int decimal = kFirstDecimal; decimal <= kLastDecimal; ++decimal) {
        if (m < least(decimal) || m >= least(decimal + 1)) continue;
        std::uint64_t factor = 1;
        for (int i = 0; i < 5 - decimal; ++i) factor *= 10;
        const auto mark = static_cast<std::uint32_t>(decimal - kFirstDecimal) << 20;
        result.scales[2 * std::size_t{field} + side] = {factor, shift, mark};
      }
    }
  }
  return result;
}

inline constexpr Scales kScales = makeScales();

}  // namespace printed_digits

// The text of a plain float in one number: sign, decimal exponent and digits. 0 for a float that is not
// plain.
inline std::uint32_t plainDigits(float value) {
  using namespace printed_digits;
  const auto bits = std::bit_cast<std::uint32_t>(value);
  const std::uint32_t field = (bits >> 23) & 0xFFU;
  const std::uint32_t m = (bits & (kHiddenBit - 1)) | kHiddenBit;
  const Scale& scale = kScales.scales[2 * field + (m >= kScales.power_of_ten[field] ? 1U : 0U)];
  const std::uint64_t scaled = m * scale.factor;
  // Ties go to the even neighbour.
  const std::uint64_t below_half = (std::uint64_t{1} << (scale.shift - 1)) - 1;
  const auto digits =
      static_cast<std::uint32_t>((scaled + below_half + ((scaled >> scale.shift) & 1U)) >> scale.shift);
  // Also 1000000, which is rounded up from the power of ten below.
  return digits % 10 == 0 ? 0 : (bits & 0x80000000U) | scale.mark | digits;
}

}  // namespace loftbay::geometry
