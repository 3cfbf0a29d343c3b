// Transforms as matrices: a point p is placed at rotation * (scale * p) + translation, and a child's
// placement acts before its parent's. Double precision, and the same bits on every host.
#pragma once

#include <array>

#include "zix/bounds.h"
#include "zix/format.h"

namespace Orb::Zix {

// The upper three rows of a 4x4 matrix that acts on column vectors, row by row.
struct Matrix {
  std::array<double, 12> m = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};

  [[nodiscard]] std::array<double, 3> apply(double x, double y, double z) const {
    return {m[0] * x + m[1] * y + m[2] * z + m[3], m[4] * x + m[5] * y + m[6] * z + m[7],
            m[8] * x + m[9] * y + m[10] * z + m[11]};
  }
  // Determinant of the linear part.
  [[nodiscard]] double determinant() const {
    return m[0] * (m[5] * m[10] - m[6] * m[9]) - m[1] * (m[4] * m[10] - m[6] * m[8]) +
           m[2] * (m[4] * m[9] - m[5] * m[8]);
  }
  // True when the matrix turns right-handed into left-handed.
  [[nodiscard]] bool mirrors() const { return determinant() < 0; }
};

// outer * inner: what `inner` places is then placed by `outer`.
Matrix multiply(const Matrix& outer, const Matrix& inner);

// The rotation axis is brought to length 1 first; an axis of length 0 turns nothing.
Matrix placementMatrix(const format::TransformRecord& transform);

// The box of the eight corners of `local`, placed; corners that are not finite are left out.
void addPlacedBox(BoxD& world, const BoxF& local, const Matrix& matrix);

}  // namespace Orb::Zix
