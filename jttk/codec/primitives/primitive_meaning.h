// What the numbers of a primitive set mean as solids.
//
// The numbers have a few possible readings: a box may have a corner or its middle at its origin, three
// numbers of a cylinder may be two radii of an ellipse and a height, or the radii of both ends and a height,
// and so on. No reading is trusted by itself. The scene graph states the box of the shape, and often its
// area: a reading counts when its solids fill that box. When several do and make different solids, the area
// decides; when it does not either, the set is refused, because a wrong solid is worse than a missing one.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "jttk/codec/primitives/primitive_set.h"
#include "jttk/codec/shape_context.h"
#include "jttk/file/error.h"
#include "jttk/mesh/shape_geometry.h"

namespace jttk {

// The set as polygons: see appendMesh. `stated`: what the scene graph says about the shape, the nearest
// first; the first one that the solids fill is used. `offset`: of the element, for messages.
Result<ShapeGeometry> meshOfPrimitives(const PrimitiveSet& set, std::span<const StatedExtent> stated,
                                       std::uint64_t offset);

}  // namespace jttk
