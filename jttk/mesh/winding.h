// The winding of triangle strips: triangle k of a strip is corners k, k + 1, k + 2; in odd ones the first two
// are swapped. So a strip with an odd number of corners turns over when it is read backwards; one with an
// even number keeps its winding.
#pragma once

#include "jttk/mesh/shape_geometry.h"

namespace jttk {

// Gives the strips of `shape` the opposite winding. Strips with an even number of corners become two.
void turnOver(ShapeGeometry& shape);

// Splits strips with an even number of corners, so that each strip turns over when it is read backwards.
void makeStripsOdd(ShapeGeometry& shape);

}  // namespace jttk
