// A decoded shape in the form that the interface hands out: strips, polylines or point groups, with arrays
// that can be copied set by set.
#pragma once

#include <cstddef>
#include <vector>

#include "jttk/mesh/matrix.h"
#include "jttk/mesh/shape_geometry.h"

namespace jttk {

struct ShapeArrays {
  // Primitives are triangle strips of at least three corners, lines or groups of points of at least one.
  // Normals have unit length, or are zero.
  ShapeGeometry geometry;

  [[nodiscard]] std::size_t sizeBytes() const;
};

// Polygons become strips; what a file stores as strips stays as it is.
ShapeArrays makeShapeArrays(ShapeGeometry geometry);

// The same shape seen through a transform: positions by the matrix, normals by its inverse transpose, and
// strips turned over where it mirrors.
ShapeArrays transformed(const ShapeArrays& arrays, const Matrix& matrix);

}  // namespace jttk
