// Decodes the shape of a node, with what the scene graph says about it.
#pragma once

#include "jttk/file/memory_budget.h"
#include "jttk/mesh/shape_geometry.h"
#include "jttk/model/document.h"

namespace jttk {

// The late loaded entry with a shape's geometry (an index of SceneGraph::late_loaded): the one with the usual
// key, else one whose segment is of such a type. kNone when there is none.
[[nodiscard]] std::uint32_t geometryEntry(const Document& document, const Node& node);

// Reads and decodes the shape's segment; errors name it. A null shape, and one that states that it has
// nothing, come out empty. `memory` gives what decoding takes and what using the shape will take for a while.
Result<ShapeGeometry> decodeShape(const Document& document, const Node& node, MemoryBudget& memory);

}  // namespace jttk
