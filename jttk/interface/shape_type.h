// The type that the interface answers for a shape.
#pragma once

#include "jttk/graph/scene_graph.h"
#include "jttk/interface/jttk.h"
#include "jttk/mesh/shape_geometry.h"

namespace jttk {

// `node` is the kind of the shape's node; where the decoded geometry is of another kind, that decides.
[[nodiscard]] JtkEntity::TypeID shapeType(const ShapeGeometry& geometry, NodeKind node);

}  // namespace jttk
