// Exact sums: an expansion is a list of doubles of rising significance, whose sum is the value and of which
// no two overlap. Sum and product of two doubles are two doubles exactly; everything follows from that. The
// method and the error bounds of the quick answers are from J. Shewchuk, Adaptive Precision Floating-Point
// Arithmetic and Fast Robust Geometric Predicates, 1997; of its four stages there are the first and the last.
#include "jttk/brep/predicates.h"

#include <array>
#include <cmath>
#include <cstddef>

namespace jttk::brep {
namespace {

constexpr double kEpsilon = 0x1p-53;  // half a unit in the last place of 1: the largest error of one rounding
// Error bounds of the quick answers, in shares of the sum of their products' magnitudes (in the paper: A
// stage of ORIENT2D and of INCIRCLE).
constexpr double kOrientBound = (3 + 16 * kEpsilon) * kEpsilon;
constexpr double kCircleBound = (10 + 96 * kEpsilon) * kEpsilon;
constexpr double kSplitter = 0x1p27 + 1;  // splits 53 bits into 26 and 26, the sign being one more

struct Pair {
  double high;
  double low;
};

Pair sum(double a, double b) {
  const double high = a + b;
  const double b_part = high - a;
  return {high, (a - (high - b_part)) + (b - b_part)};
}

// Half of a double's bits, and the rest: the product of two halves is exact.
Pair split(double a) {
  const double shifted = a * kSplitter;
  const double high = shifted - (shifted - a);
  return {high, a - high};
}

// Without std::fma: not every C library's rounds once.
Pair product(double a, double b) {
  const double high = a * b;
  const Pair x = split(a);
  const Pair y = split(b);
  return {high, x.low * y.low - (((high - x.high * y.high) - x.low * y.high) - x.high * y.low)};
}

// From the least to the most significant part; at most `Size` parts. Zeros are dropped.
template <std::size_t Size>
struct Expansion {
  std::array<double, Size> part;
  std::size_t count = 0;

  void append(double value) {
    if (value != 0) part[count++] = value;
  }
  [[nodiscard]] double sign() const { return count == 0 ? 0 : part[count - 1]; }
};

Expansion<2> exactProduct(double a, double b) {
  const Pair p = product(a, b);
  Expansion<2> e;
  e.append(p.low);
  e.append(p.high);
  return e;
}

template <std::size_t Size>
Expansion<Size + 1> grown(const Expansion<Size>& e, double b) {
  Expansion<Size + 1> result;
  double carry = b;
  for (std::size_t i = 0; i < e.count; ++i) {
    const Pair p = sum(carry, e.part[i]);
    carry = p.high;
    result.append(p.low);
  }
  result.append(carry);
  return result;
}

template <std::size_t A, std::size_t B>
Expansion<A + B> operator+(const Expansion<A>& a, const Expansion<B>& b) {
  Expansion<A + B> result;
  for (std::size_t i = 0; i < a.count; ++i) result.part[i] = a.part[i];
  result.count = a.count;
  for (std::size_t k = 0; k < b.count; ++k) {
    double carry = b.part[k];
    std::size_t kept = 0;
    for (std::size_t i = 0; i < result.count; ++i) {
      const Pair p = sum(carry, result.part[i]);
      carry = p.high;
      if (p.low != 0) result.part[kept++] = p.low;
    }
    if (carry != 0) result.part[kept++] = carry;
    result.count = kept;
  }
  return result;
}

template <std::size_t A>
Expansion<A> operator-(Expansion<A> a) {
  for (std::size_t i = 0; i < a.count; ++i) a.part[i] = -a.part[i];
  return a;
}

template <std::size_t A>
Expansion<2 * A> scaled(const Expansion<A>& a, double b) {
  Expansion<2 * A> result;
  for (std::size_t i = 0; i < a.count; ++i) {
    const Pair p = product(a.part[i], b);
    for (const double value : {p.low, p.high}) {
      double carry = value;
      std::size_t kept = 0;
      for (std::size_t k = 0; k < result.count; ++k) {
        const Pair s = sum(carry, result.part[k]);
        carry = s.high;
        if (s.low != 0) result.part[kept++] = s.low;
      }
      if (carry != 0) result.part[kept++] = carry;
      result.count = kept;
    }
  }
  return result;
}

template <std::size_t A, std::size_t B>
Expansion<2 * A * B> operator*(const Expansion<A>& a, const Expansion<B>& b) {
  Expansion<2 * A * B> result;
  for (std::size_t k = 0; k < b.count; ++k) {
    const Expansion<2 * A> row = scaled(a, b.part[k]);
    for (std::size_t r = 0; r < row.count; ++r) {
      double carry = row.part[r];
      std::size_t kept = 0;
      for (std::size_t i = 0; i < result.count; ++i) {
        const Pair s = sum(carry, result.part[i]);
        carry = s.high;
        if (s.low != 0) result.part[kept++] = s.low;
      }
      if (carry != 0) result.part[kept++] = carry;
      result.count = kept;
    }
  }
  return result;
}

// a x b of the two position vectors.
Expansion<4> minor(const Vec2& a, const Vec2& b) { return exactProduct(a.u, b.v) + -exactProduct(b.u, a.v); }

double orient2dExact(const Vec2& a, const Vec2& b, const Vec2& c) {
  return (minor(a, b) + minor(b, c) + minor(c, a)).sign();
}

double inCircleExact(const Vec2& a, const Vec2& b, const Vec2& c, const Vec2& d) {
  const auto lift = [](const Vec2& p) { return exactProduct(p.u, p.u) + exactProduct(p.v, p.v); };
  const auto ab = minor(a, b);
  const auto bc = minor(b, c);
  const auto cd = minor(c, d);
  const auto da = minor(d, a);
  const auto ac = minor(a, c);
  const auto bd = minor(b, d);
  // Expansion of the 4 x 4 determinant of (x, y, x^2 + y^2, 1) along the third column.
  const auto bcd = bc + cd + -bd;
  const auto acd = ac + cd + da;
  const auto abd = ab + bd + da;
  const auto abc = ab + bc + -ac;
  const auto first = bcd * lift(a) + -(acd * lift(b));
  const auto second = abd * lift(c) + -(abc * lift(d));
  return (first + second).sign();
}

}  // namespace

double orient2d(const Vec2& a, const Vec2& b, const Vec2& c) {
  const double left = (a.u - c.u) * (b.v - c.v);
  const double right = (a.v - c.v) * (b.u - c.u);
  const double value = left - right;
  const double bound = kOrientBound * (std::abs(left) + std::abs(right));
  if (value > bound || -value > bound) return value;
  return orient2dExact(a, b, c);
}

CircleAnswer askCircle(const Vec2& a, const Vec2& b, const Vec2& c, const Vec2& d) {
  const double au = a.u - d.u;
  const double av = a.v - d.v;
  const double bu = b.u - d.u;
  const double bv = b.v - d.v;
  const double cu = c.u - d.u;
  const double cv = c.v - d.v;
  const double a_lift = au * au + av * av;
  const double b_lift = bu * bu + bv * bv;
  const double c_lift = cu * cu + cv * cv;
  const double value =
      a_lift * (bu * cv - bv * cu) + b_lift * (cu * av - cv * au) + c_lift * (au * bv - av * bu);
  const double size = a_lift * (std::abs(bu * cv) + std::abs(bv * cu)) +
                      b_lift * (std::abs(cu * av) + std::abs(cv * au)) +
                      c_lift * (std::abs(au * bv) + std::abs(av * bu));
  const double bound = kCircleBound * size;
  if (value > bound || -value > bound) return {value, false};
  return {inCircleExact(a, b, c, d), true};
}

double inCircle(const Vec2& a, const Vec2& b, const Vec2& c, const Vec2& d) {
  return askCircle(a, b, c, d).side;
}

}  // namespace jttk::brep
