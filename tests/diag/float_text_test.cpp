// Floats as text: what "%.6g" gives, with fixed texts for what is no number.
#include "diag/float_text.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>

#include "diag/trace_log.h"

namespace loftbay::diag {
namespace {

float fromBits(std::uint32_t bits) { return std::bit_cast<float>(bits); }

std::string printed(float value) {
  char buffer[40];
  std::snprintf(buffer, sizeof buffer, "%.6g", static_cast<double>(value));
  return buffer;
}

TEST(FloatText, SixSignificantDigitsWithoutTrailingZeros) {
  EXPECT_EQ(text(0.02F), "0.02");
  EXPECT_EQ(text(1.0F), "1");
  EXPECT_EQ(text(3.14159274F), "3.14159");
  EXPECT_EQ(text(100000.0F), "100000");
  EXPECT_EQ(text(-12.5F), "-12.5");
}

TEST(FloatText, ExponentBelowMinusFourAndFromSixUpwards) {
  EXPECT_EQ(text(1e6F), "1e+06");
  EXPECT_EQ(text(999999.0F), "999999");
  EXPECT_EQ(text(999999.5F), "1e+06");
  EXPECT_EQ(text(1234567.0F), "1.23457e+06");
  EXPECT_EQ(text(1e-4F), "0.0001");
  EXPECT_EQ(text(1e-5F), "1e-05");
  EXPECT_EQ(text(std::numeric_limits<float>::max()), "3.40282e+38");
  EXPECT_EQ(text(-std::numeric_limits<float>::denorm_min()), "-1.4013e-45");
}

TEST(FloatText, ExactTiesGoToEven) {
  EXPECT_EQ(text(0.5F + 100000.0F), "100000");
  EXPECT_EQ(text(0.5F + 100001.0F), "100002");
  EXPECT_EQ(text(1000005.0F), "1e+06");
  EXPECT_EQ(text(1000015.0F), "1.00002e+06");
}

TEST(FloatText, ZerosKeepTheirSign) {
  EXPECT_EQ(text(0.0F), "0");
  EXPECT_EQ(text(-0.0F), "-0");
}

TEST(FloatText, WhatIsNoNumberShowsItsSignBitOnly) {
  EXPECT_EQ(text(fromBits(0x7F800000)), "inf");
  EXPECT_EQ(text(fromBits(0xFF800000)), "-inf");
  EXPECT_EQ(text(fromBits(0x7FC00000)), "nan");
  EXPECT_EQ(text(fromBits(0x7F800001)), "nan");
  EXPECT_EQ(text(fromBits(0xFFFFFFFF)), "-nan");
}

TEST(FloatText, EqualsPrintfOnRandomBitPatterns) {
  std::mt19937 random(5);
  for (int i = 0; i < 300000; ++i) {
    const float value = fromBits(static_cast<std::uint32_t>(random()));
    if (std::isnan(value)) continue;
    ASSERT_EQ(text(value), printed(value)) << std::bit_cast<std::uint32_t>(value);
  }
}

TEST(FloatText, EqualsPrintfOnOrdinarySizes) {
  std::mt19937 random(6);
  std::uniform_real_distribution<float> exponents(-7, 20);
  for (int i = 0; i < 300000; ++i) {
    const float value = std::pow(10.0F, exponents(random));
    ASSERT_EQ(text(value), printed(value)) << std::bit_cast<std::uint32_t>(value);
  }
}

TEST(FloatText, EqualsPrintfRoundPowersOfTenAndOnTies) {
  for (int exponent = -45; exponent <= 38; ++exponent) {
    float value = std::strtof(text("1e", exponent).c_str(), nullptr);
    for (int i = 0; i < 40; ++i) value = std::nextafter(value, 0.0F);
    for (int i = 0; i < 80; ++i) {
      ASSERT_EQ(text(value), printed(value));
      value = std::nextafter(value, std::numeric_limits<float>::infinity());
    }
  }
  for (std::uint32_t n = 1; n < 200000; n += 7) {
    for (const int shift : {-1, -2, -3, 1, 2, 5}) {
      const float value = std::ldexp(static_cast<float>(2 * n + 1), shift);
      ASSERT_EQ(text(value), printed(value));
    }
  }
}

TEST(LogText, JoinsTextsIntegersAndFloats) {
  EXPECT_EQ(text("a ", 7, ".", -3, " ", 0.5F, std::string(" b"), std::uint64_t{18446744073709551615U}),
            "a 7.-3 0.5 b18446744073709551615");
}

}  // namespace
}  // namespace loftbay::diag
