// Joins shapes.
#pragma once

#include "jttk/mesh/shape_geometry.h"

namespace jttk {

// Adds positions, normals and primitives of `from` behind those of `to`. Both have normals as their only
// attributes; the kind of `to` stays.
void append(ShapeGeometry& to, const ShapeGeometry& from);

}  // namespace jttk
