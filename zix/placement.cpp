#include "zix/placement.h"

#include <cmath>

namespace Orb::Zix {

SineCosine sineCosine(double angle_rad) {
  if (!std::isfinite(angle_rad)) return {std::nan(""), std::nan("")};
  // Far out, only the host-independence of the result matters; fmod is exact.
  if (std::abs(angle_rad) > 1e5) angle_rad = std::fmod(angle_rad, 6.28318530717958647693);
  // angle = turns * pi/2 + rest with |rest| <= pi/4. pi/2 in three parts of 33 bits, so that the first
  // products are exact for every angle of a sensible size.
  constexpr double kPart1 = 1.57079632673412561417e+00;
  constexpr double kPart2 = 6.07710050630396597660e-11;
  constexpr double kPart3 = 2.02226624879595063154e-21;
  constexpr double kTwoOverPi = 6.36619772367581382433e-01;
  const double turns = std::floor(angle_rad * kTwoOverPi + 0.5);
  const double rest = ((angle_rad - turns * kPart1) - turns * kPart2) - turns * kPart3;
  const double square = rest * rest;
  // Taylor series from the small end; the terms after rest^19 are below the last bit.
  double sine = 0;
  double cosine = 0;
  for (int n = 18; n >= 2; n -= 2) {
    cosine = (1 + cosine) * -square / (n * (n - 1));
    sine = (1 + sine) * -square / (n * (n + 1));
  }
  sine = rest + rest * sine;
  cosine = 1 + cosine;
  switch (static_cast<int>(std::fmod(turns, 4.0))) {
    case 1:
    case -3:
      return {cosine, -sine};
    case 2:
    case -2:
      return {-sine, -cosine};
    case 3:
    case -1:
      return {-cosine, sine};
    default:
      return {sine, cosine};
  }
}

Matrix multiply(const Matrix& outer, const Matrix& inner) {
  Matrix result;
  for (std::size_t row = 0; row < 12; row += 4) {
    for (std::size_t column = 0; column < 4; ++column) {
      double sum = outer.m[row] * inner.m[column] + outer.m[row + 1] * inner.m[4 + column] +
                   outer.m[row + 2] * inner.m[8 + column];
      if (column == 3) sum += outer.m[row + 3];
      result.m[row + column] = sum;
    }
  }
  return result;
}

Matrix placementMatrix(const format::TransformRecord& transform) {
  double x = static_cast<double>(transform.rotation_axis[0]);
  double y = static_cast<double>(transform.rotation_axis[1]);
  double z = static_cast<double>(transform.rotation_axis[2]);
  const double length = std::sqrt(x * x + y * y + z * z);
  SineCosine turn{0, 1};
  if (length != 0) {
    x /= length;
    y /= length;
    z /= length;
    turn = sineCosine(static_cast<double>(transform.rotation_angle_rad));
  }
  const double c = turn.cosine;
  const double s = turn.sine;
  const double d = 1 - c;
  const double sx = static_cast<double>(transform.scale[0]);
  const double sy = static_cast<double>(transform.scale[1]);
  const double sz = static_cast<double>(transform.scale[2]);
  Matrix result;
  result.m = {(c + d * x * x) * sx,     (d * x * y - s * z) * sy,
              (d * x * z + s * y) * sz, static_cast<double>(transform.translation[0]),
              (d * x * y + s * z) * sx, (c + d * y * y) * sy,
              (d * y * z - s * x) * sz, static_cast<double>(transform.translation[1]),
              (d * x * z - s * y) * sx, (d * y * z + s * x) * sy,
              (c + d * z * z) * sz,     static_cast<double>(transform.translation[2])};
  return result;
}

void addPlacedBox(BoxD& world, const BoxF& local, const Matrix& matrix) {
  if (local.empty()) return;
  for (unsigned corner = 0; corner < 8; ++corner) {
    const auto pick = [&](unsigned axis) {
      return static_cast<double>((corner >> axis & 1U) != 0 ? local.high[axis] : local.low[axis]);
    };
    const auto point = matrix.apply(pick(0), pick(1), pick(2));
    if (std::isfinite(point[0]) && std::isfinite(point[1]) && std::isfinite(point[2])) {
      world.add(point[0], point[1], point[2]);
    }
  }
}

}  // namespace Orb::Zix
