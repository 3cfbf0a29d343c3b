// Shape LOD elements of JT 8.x.
#pragma once

#include "jttk/file/byte_reader.h"
#include "jttk/file/error.h"
#include "jttk/file/memory_budget.h"
#include "jttk/mesh/shape_geometry.h"

namespace jttk {

// `element_body`: the bytes of the element after its GUID and base type byte. `kind`: that GUID. Bytes behind
// what the element holds are ignored. `memory`: where memory is taken from; null: without a limit.
Result<ShapeGeometry> decodeShapeLodV8(ByteReader element_body, const Guid& kind,
                                       MemoryBudget* memory = nullptr);

}  // namespace jttk
