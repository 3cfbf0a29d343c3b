#include "zix/placement.h"

#include <cmath>

#include "host/portable_math.h"

namespace Orb::Zix {

namespace portable = loftbay::portable;

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
  double c = 1;
  double s = 0;
  if (length != 0) {
    x /= length;
    y /= length;
    z /= length;
    c = portable::cos(static_cast<double>(transform.rotation_angle_rad));
    s = portable::sin(static_cast<double>(transform.rotation_angle_rad));
  }
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
