// The two representations of a shape in JT 9 and 10: topologically compressed (tri-strip and polygon sets)
// and as lists of indices (polyline and point sets).
#pragma once

#include "jttk/codec/shape_context.h"
#include "jttk/codec/v9/packet.h"
#include "jttk/file/byte_reader.h"
#include "jttk/file/error.h"
#include "jttk/mesh/shape_geometry.h"

namespace jttk {

// `reader` is at the representation; what follows it is left unread.
Result<ShapeGeometry> decodeTopologicalRepData(ByteReader& reader, PacketForm form,
                                               const ShapeContext& context = {});
// `kind`: Polylines or Points.
Result<ShapeGeometry> decodeIndexedRepData(ByteReader& reader, PacketForm form, PrimitiveKind kind,
                                           const ShapeContext& context = {});

}  // namespace jttk
