// Decodes shape LOD elements: the geometry of one shape at one level of detail.
#pragma once

#include "jttk/codec/shape_context.h"
#include "jttk/file/error.h"
#include "jttk/file/jt_file.h"
#include "jttk/mesh/shape_geometry.h"

namespace jttk {

// Decodes the one shape LOD element of a shape segment (types 6 to 16). Running out of memory fails the whole
// shape; it is never treated as an unreadable attribute or a wrong hash.
Result<ShapeGeometry> decodeShapeLod(const Segment& segment, Version version, ByteOrder order,
                                     const ShapeContext& context = {});

}  // namespace jttk
