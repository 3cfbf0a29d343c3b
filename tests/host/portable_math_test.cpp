#include "host/portable_math.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>
#include <random>

namespace loftbay::portable {
namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kUlpOfOne = 0x1p-52;

// -1 .. 1, the same numbers on every host: the standard fixes the engine, not the distributions.
class Numbers {
 public:
  double next() { return static_cast<double>(static_cast<std::int64_t>(engine_())) * 0x1p-63; }

 private:
  std::mt19937_64 engine_{20};
};

TEST(PortableMath, AgreesWithTheLibraryOfTheHost) {
  Numbers numbers;
  for (int i = 0; i < 20'000; ++i) {
    const double x = numbers.next();
    const double y = numbers.next();
    for (const double scale : {1e-9, 1.0, 10.0, 1e5}) {
      EXPECT_NEAR(sin(scale * x), std::sin(scale * x), kUlpOfOne) << scale * x;
      EXPECT_NEAR(cos(scale * x), std::cos(scale * x), kUlpOfOne) << scale * x;
      const double angle = std::atan2(y, scale * x);
      EXPECT_NEAR(atan2(y, scale * x), angle, 2 * kUlpOfOne * std::abs(angle)) << y << " over " << scale * x;
    }
    EXPECT_NEAR(tan(x), std::tan(x), 4 * kUlpOfOne * std::abs(x)) << x;
    EXPECT_NEAR(asin(x), std::asin(x), 4 * kUlpOfOne * std::abs(x)) << x;
    EXPECT_NEAR(acos(x), std::acos(x), 2 * kUlpOfOne * std::acos(x)) << x;
    EXPECT_NEAR(hypot(x, y), std::hypot(x, y), 2 * kUlpOfOne) << x << ' ' << y;
    EXPECT_NEAR(hypot(x, y, 0.5), std::hypot(x, y, 0.5), 2 * kUlpOfOne) << x << ' ' << y;
  }
}

TEST(PortableMath, GivesTheSameBitsOnEveryHost) {
  Numbers numbers;
  std::uint64_t fold = 0;
  const auto add = [&fold](double value) {
    fold = fold * 0x100000001b3U + std::bit_cast<std::uint64_t>(value);
  };
  for (int i = 0; i < 20'000; ++i) {
    const double x = numbers.next();
    const double y = numbers.next();
    for (const double scale : {1e-9, 1.0, 10.0, 1e5, 1e12}) {
      for (const double value : {sin(scale * x), cos(scale * x), tan(scale * x), atan2(y, scale * x)})
        add(value);
    }
    for (const double value : {asin(x), acos(x), hypot(x, y), hypot(x, y, 0.5)}) add(value);
  }
  EXPECT_EQ(fold, 3248258049987915035U);
}

// Where an angle is close to the double next to a multiple of pi, its sine is what that double lacks.
TEST(PortableMath, KeepsItsPlacesNearMultiplesOfPi) {
  EXPECT_EQ(sin(kPi), 0x1.1a62633145c07p-53);
  EXPECT_EQ(sin(2 * kPi), -0x1.1a62633145c07p-52);
  EXPECT_EQ(cos(kPi / 2), 0x1.1a62633145c07p-54);
  EXPECT_EQ(cos(kPi), -1);
  EXPECT_EQ(sin(kPi / 2), 1);
  EXPECT_EQ(sin(-kPi / 2), -1);
  EXPECT_EQ(sin(1e-300), 1e-300);
}

TEST(PortableMath, ArcTangentsOfTheAxesAndDiagonals) {
  EXPECT_EQ(atan2(0.0, 1.0), 0.0);
  EXPECT_TRUE(std::signbit(atan2(-0.0, 1.0)));
  EXPECT_EQ(atan2(0.0, -1.0), kPi);
  EXPECT_EQ(atan2(-0.0, -1.0), -kPi);
  EXPECT_EQ(atan2(0.0, 0.0), 0.0);
  EXPECT_EQ(atan2(0.0, -0.0), kPi);
  EXPECT_EQ(atan2(2.0, 0.0), kPi / 2);
  EXPECT_EQ(atan2(-2.0, -0.0), -kPi / 2);
  EXPECT_EQ(atan2(3.0, 3.0), kPi / 4);
  EXPECT_EQ(atan2(3.0, -3.0), 3 * kPi / 4);
  EXPECT_EQ(atan2(kInfinity, kInfinity), kPi / 4);
  EXPECT_EQ(atan2(1.0, kInfinity), 0.0);
  EXPECT_EQ(atan2(-kInfinity, 1.0), -kPi / 2);
}

TEST(PortableMath, EndsOfTheArcSine) {
  EXPECT_EQ(asin(1), kPi / 2);
  EXPECT_EQ(asin(-1), -kPi / 2);
  EXPECT_EQ(acos(1), 0);
  EXPECT_EQ(acos(-1), kPi);
  EXPECT_EQ(acos(0), kPi / 2);
}

TEST(PortableMath, WhatHasNoValueIsNotANumber) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const double value :
       {sin(kInfinity), cos(-kInfinity), tan(nan), atan2(nan, 1), atan2(1, nan), asin(1.5), acos(-1.5)}) {
    EXPECT_TRUE(std::isnan(value));
  }
}

}  // namespace
}  // namespace loftbay::portable
