// Orientation and circle tests where plain floating-point arithmetic gives wrong signs.
#include "jttk/brep/predicates.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace jttk::brep {
namespace {

int signOf(double x) { return x > 0 ? 1 : x < 0 ? -1 : 0; }

TEST(Predicates, OrientationOfPlainCases) {
  EXPECT_GT(orient2d({0, 0}, {1, 0}, {0, 1}), 0);
  EXPECT_LT(orient2d({0, 0}, {0, 1}, {1, 0}), 0);
  EXPECT_EQ(orient2d({0, 0}, {1, 1}, {2, 2}), 0);
  EXPECT_EQ(orient2d({0.1, 0.1}, {0.1, 0.1}, {0.7, 0.3}), 0);
}

// The grid of doubles next to (0.5, 0.5) against the line through (12, 12) and (24, 24): the sign is that of
// y - x, exactly, which the rounded determinant gets wrong for many of them.
TEST(Predicates, OrientationNextToALineIsExact) {
  const double step = std::ldexp(1.0, -53);
  int wrong_when_rounded = 0;
  for (int i = 0; i < 64; ++i) {
    for (int k = 0; k < 64; ++k) {
      const Vec2 p{0.5 + i * step, 0.5 + k * step};
      const int expected = p.v > p.u ? 1 : p.v < p.u ? -1 : 0;
      ASSERT_EQ(signOf(orient2d({12, 12}, {24, 24}, p)), expected) << i << " " << k;
      const double rounded = (12 - p.u) * (24 - p.v) - (12 - p.v) * (24 - p.u);
      if (signOf(rounded) != expected) ++wrong_when_rounded;
    }
  }
  EXPECT_GT(wrong_when_rounded, 0) << "the case is not hard";
}

// All 53 bits of the coordinates are used, so that every product needs its second half, exactly.
TEST(Predicates, OrientationOfCoordinatesOfFullWidthIsExact) {
  std::mt19937_64 engine{7};
  const double step = std::ldexp(1.0, -52);
  const auto number = [&] { return static_cast<double>(engine() >> 13) * step; };  // below 1/2
  for (int i = 0; i < 2000; ++i) {
    const Vec2 from{number(), number()};
    const Vec2 by{number() + step, number()};
    const Vec2 middle{from.u + by.u, from.v + by.v};
    const Vec2 end{from.u + 2 * by.u, from.v + 2 * by.v};
    ASSERT_EQ(orient2d(from, middle, end), 0) << i;
    ASSERT_GT(orient2d(from, middle, {end.u, end.v + step}), 0) << i;
    ASSERT_LT(orient2d(from, middle, {end.u, end.v - step}), 0) << i;
  }
}

TEST(Predicates, OrientationKeepsItsSignUnderRotationOfTheArguments) {
  const Vec2 a{0.1, 0.2};
  const Vec2 b{0.3, 0.6000000000000001};
  const Vec2 c{0.2, 0.4};
  const int sign = signOf(orient2d(a, b, c));
  EXPECT_EQ(signOf(orient2d(b, c, a)), sign);
  EXPECT_EQ(signOf(orient2d(c, a, b)), sign);
  EXPECT_EQ(signOf(orient2d(b, a, c)), -sign);
}

TEST(Predicates, CircleOfPlainCases) {
  EXPECT_GT(inCircle({1, 0}, {0, 1}, {-1, 0}, {0, 0}), 0);
  EXPECT_LT(inCircle({1, 0}, {0, 1}, {-1, 0}, {2, 0}), 0);
  EXPECT_EQ(inCircle({1, 0}, {0, 1}, {-1, 0}, {0, -1}), 0);
}

// Integer points on one circle, moved far away from the origin, and single steps of a double off it.
TEST(Predicates, CircleNextToItsBorderIsExact) {
  const double far = 1048576;
  const Vec2 a{far + 5, far};
  const Vec2 b{far + 3, far + 4};
  const Vec2 c{far - 4, far + 3};
  EXPECT_EQ(inCircle(a, b, c, {far, far - 5}), 0);
  EXPECT_GT(inCircle(a, b, c, {far, std::nextafter(far - 5, far)}), 0);
  EXPECT_LT(inCircle(a, b, c, {far, std::nextafter(far - 5, 0.0)}), 0);
}

// The grid of doubles next to a point of that circle. In steps of the grid, the square of the distance from
// the centre differs from that of the radius by i^2 + k^2 - 10 k / step: the sign of k decides, and on the
// tangent itself all but the point are outside.
TEST(Predicates, CircleNextToItsBorderIsExactWhereRoundingIsNot) {
  const double far = 1048576;
  const double step = std::nextafter(far, 2 * far) - far;
  const Vec2 a{far + 5, far};
  const Vec2 b{far + 3, far + 4};
  const Vec2 c{far - 4, far + 3};
  int wrong_when_rounded = 0;
  for (int i = -8; i <= 8; ++i) {
    for (int k = -8; k <= 8; ++k) {
      const Vec2 p{far + i * step, far - 5 + k * step};
      const int expected = k != 0 ? k : i != 0 ? -1 : 0;
      ASSERT_EQ(signOf(inCircle(a, b, c, p)), signOf(expected)) << i << " " << k;
      const auto lift = [&](const Vec2& q) { return (q.u - p.u) * (q.u - p.u) + (q.v - p.v) * (q.v - p.v); };
      const auto across = [&](const Vec2& q, const Vec2& r) {
        return (q.u - p.u) * (r.v - p.v) - (q.v - p.v) * (r.u - p.u);
      };
      const double rounded = lift(a) * across(b, c) + lift(b) * across(c, a) + lift(c) * across(a, b);
      if (signOf(rounded) != signOf(expected)) ++wrong_when_rounded;
    }
  }
  EXPECT_GT(wrong_when_rounded, 0) << "the case is not hard";
}

TEST(Predicates, CircleKeepsItsSignUnderRotationOfTheArguments) {
  const Vec2 a{0.1, 0.1};
  const Vec2 b{0.9, 0.1};
  const Vec2 c{0.9, 0.9};
  const Vec2 d{0.1, 0.9};
  const int sign = signOf(inCircle(a, b, c, d));
  EXPECT_EQ(signOf(inCircle(b, c, a, d)), sign);
  EXPECT_EQ(signOf(inCircle(c, a, b, d)), sign);
  EXPECT_EQ(signOf(inCircle(b, a, c, d)), -sign);
}

}  // namespace
}  // namespace jttk::brep
