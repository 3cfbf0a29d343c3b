// Shape LOD elements of JT 8.x.
#pragma once

#include "jttk/codec/shape_context.h"
#include "jttk/file/byte_reader.h"
#include "jttk/file/error.h"
#include "jttk/mesh/shape_geometry.h"

namespace jttk {

// `element_body`: the bytes of the element after its GUID and base type byte. `kind`: that GUID. Bytes behind
// what the element holds are ignored. What the scene graph states is not used.
Result<ShapeGeometry> decodeShapeLodV8(ByteReader element_body, const Guid& kind,
                                       const ShapeContext& context = {});

}  // namespace jttk
