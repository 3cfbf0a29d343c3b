// "%.6g" for floats. Values of ordinary size, which are nearly all, are rounded exactly in 64-bit integers:
// a float is m * 2^e with m < 2^24, so m * 10^p and m << e stay below 2^63 in the range taken here. The rest
// goes to the library's exact conversion.
#include "diag/float_text.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstdint>
#include <cstring>

namespace loftbay::diag {

namespace {

constexpr int kDigits = 6;
constexpr float kSmallestQuick = 1e-5F;  // p below stays under 12, so m * 10^p < 2^64
constexpr float kLargestQuick = 9e18F;   // m << e stays under 2^63

constexpr std::array<std::uint64_t, 19> kPowersOfTen = [] {
  std::array<std::uint64_t, 19> powers{};
  std::uint64_t power = 1;
  for (auto& entry : powers) {
    entry = power;
    power *= 10;
  }
  return powers;
}();

// The decimal exponents -6 .. 19 as doubles, for comparison with floats. No float equals a negative power of
// ten, and doubles are fine enough to separate all floats from it.
constexpr std::array<double, 26> kBounds = {1e-6, 1e-5, 1e-4, 1e-3, 1e-2, 1e-1, 1e0,  1e1,  1e2,
                                            1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                            1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19};

struct Decimal {
  std::uint64_t digits;  // six of them
  int exponent;          // of the first one
};

std::uint64_t roundedHalfToEven(std::uint64_t quotient, std::uint64_t twice_rest, std::uint64_t divisor) {
  const bool up = twice_rest > divisor || (twice_rest == divisor && (quotient & 1U) != 0);
  return quotient + (up ? 1U : 0U);
}

// `value` is finite and within the quick range.
Decimal sixDigits(float value) {
  const auto bits = std::bit_cast<std::uint32_t>(value);
  const std::uint64_t mantissa = (bits & 0x7FFFFFU) | 0x800000U;
  const int binary_exponent = static_cast<int>((bits >> 23) & 0xFFU) - 127;
  const int shift = binary_exponent - 23;

  // floor(binary_exponent * log10(2)) is the decimal exponent or one less.
  int exponent = (binary_exponent * 1233) >> 12;
  const int bound = exponent + 7;
  if (static_cast<double>(value) >= kBounds[static_cast<std::size_t>(bound)]) ++exponent;

  const int power = kDigits - 1 - exponent;
  std::uint64_t digits = 0;
  if (power >= 0) {
    const std::uint64_t scaled = mantissa * kPowersOfTen[static_cast<std::size_t>(power)];
    if (shift >= 0) {
      digits = scaled << shift;
    } else {
      const std::uint64_t divisor = std::uint64_t{1} << -shift;
      digits = roundedHalfToEven(scaled >> -shift, (scaled & (divisor - 1)) * 2, divisor);
    }
  } else {
    const std::uint64_t integer = shift >= 0 ? mantissa << shift : mantissa;
    std::uint64_t divisor = kPowersOfTen[static_cast<std::size_t>(-power)];
    if (shift < 0) divisor <<= -shift;
    digits = roundedHalfToEven(integer / divisor, (integer % divisor) * 2, divisor);
  }
  if (digits == kPowersOfTen[kDigits]) return {kPowersOfTen[kDigits - 1], exponent + 1};
  return {digits, exponent};
}

// Three digits as text, and how many of them are zeros at the end.
struct ThreeDigits {
  char text[3];
  unsigned char zeros;
};

constexpr std::array<ThreeDigits, 1000> kThreeDigits = [] {
  std::array<ThreeDigits, 1000> table{};
  for (int i = 0; i < 1000; ++i) {
    const auto digit = [](int value) { return static_cast<char>('0' + value % 10); };
    const int zeros = i == 0 ? 3 : i % 100 == 0 ? 2 : i % 10 == 0 ? 1 : 0;
    table[static_cast<std::size_t>(i)] = {{digit(i / 100), digit(i / 10), digit(i)},
                                          static_cast<unsigned char>(zeros)};
  }
  return table;
}();

// printf's choice: exponent form below -4 and from 6 upwards, no trailing zeros, no trailing point. Digits
// are copied by eight, which takes less time than copying the right number; what is too many lies behind the
// text and still within its capacity.
char* write(char* out, const Decimal& decimal) {
  const auto number = static_cast<std::uint32_t>(decimal.digits);
  const ThreeDigits& upper = kThreeDigits[number / 1000];
  const ThreeDigits& lower = kThreeDigits[number % 1000];
  const int used = lower.zeros < 3 ? kDigits - lower.zeros : 3 - upper.zeros;
  char digits[16] = {};
  std::memcpy(digits, upper.text, 3);
  std::memcpy(digits + 3, lower.text, 3);
  const auto copy = [&out, &digits](int first, int count) {
    std::memcpy(out, digits + first, 8);
    out += count;
  };

  const int exponent = decimal.exponent;
  if (exponent < -4 || exponent >= kDigits) {
    copy(0, 1);
    if (used > 1) {
      *out++ = '.';
      copy(1, used - 1);
    }
    *out++ = 'e';
    *out++ = exponent < 0 ? '-' : '+';
    const int magnitude = exponent < 0 ? -exponent : exponent;
    *out++ = static_cast<char>('0' + magnitude / 10);
    *out++ = static_cast<char>('0' + magnitude % 10);
  } else if (exponent < 0) {
    std::memcpy(out, "0.000", 5);
    out += 1 - exponent;
    copy(0, used);
  } else if (used <= exponent + 1) {
    copy(0, exponent + 1);
  } else {
    copy(0, exponent + 1);
    *out++ = '.';
    copy(exponent + 1, used - exponent - 1);
  }
  return out;
}

}  // namespace

std::size_t formatFloat(char* out, float value) noexcept {
  char* const start = out;
  auto bits = std::bit_cast<std::uint32_t>(value);
  if ((bits >> 31) != 0) *out++ = '-';
  bits &= 0x7FFFFFFFU;
  const auto magnitude = std::bit_cast<float>(bits);

  if (bits == 0) {
    *out++ = '0';
  } else if (bits >= 0x7F800000U) {
    out = std::copy_n(bits == 0x7F800000U ? "inf" : "nan", 3, out);
  } else if (magnitude >= kSmallestQuick && magnitude < kLargestQuick) {
    out = write(out, sixDigits(magnitude));
  } else {
    out = std::to_chars(out, start + kFloatTextCapacity, magnitude, std::chars_format::general, kDigits).ptr;
  }
  return static_cast<std::size_t>(out - start);
}

void appendFloat(std::string& text, float value) {
  std::array<char, kFloatTextCapacity> buffer;
  text.append(buffer.data(), formatFloat(buffer.data(), value));
}

}  // namespace loftbay::diag
