// A decoded shape in the form that the interface hands out: strips, polylines or point groups, with arrays
// that can be copied set by set.
#pragma once

#include <cstddef>
#include <vector>

#include "jttk/codec/shape_lod.h"
#include "jttk/jttk.h"
#include "jttk/model/matrix.h"
#include "jttk/model/scene_graph.h"

namespace jttk {

struct ShapeArrays {
  JtkEntity::TypeID type = JtkEntity::JtkSHAPE;
  // Primitives are triangle strips of at least three corners, lines or groups of points of at least one.
  // Normals have unit length, or are zero.
  ShapeGeometry geometry;

  [[nodiscard]] std::size_t sizeBytes() const;
};

// `kind` is the kind of the shape's node; if the decoded geometry is of another kind, that decides the type.
// Polygons become strips; what a file stores as strips stays as it is.
ShapeArrays makeShapeArrays(ShapeGeometry geometry, NodeKind kind);

// The same shape seen through a transform: positions by the matrix, normals by its inverse transpose, and
// strips turned over where it mirrors.
ShapeArrays transformed(const ShapeArrays& arrays, const Matrix& matrix);

}  // namespace jttk
