// The box that the scene graph states for a shape, as a second check of the shape's coordinates.
//
// The box is in the shape's own coordinates and contains them, give or take half a quantiser step: writers
// compute it before they quantise.
#pragma once

#include <array>
#include <span>

#include "jttk/codec/shape_context.h"
#include "jttk/mesh/shape_geometry.h"

namespace jttk {

// Null when nothing is stated, or numbers that are no box. Writers that do not know it leave zeros.
const std::array<float, 6>* statedBox(std::span<const StatedExtent> stated);

// Whether the points reach each side of the box and none goes beyond, each within a step. `positions`: x, y,
// z per point.
bool fillsBox(std::span<const float> positions, const std::array<float, 3>& steps,
              const std::array<float, 6>& box);

// Whether all points that corners of the shape use lie in the box, within a step. Those that are no finite
// numbers are skipped.
bool liesInBox(const ShapeGeometry& shape, const std::array<float, 6>& box);

}  // namespace jttk
