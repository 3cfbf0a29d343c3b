// Writes one shape LOD element: the geometry of one shape at one level of detail.
#pragma once

#include "samples/maker/byte_writer.h"
#include "samples/maker/format.h"
#include "samples/maker/product.h"

namespace loftbay::maker {

// The vertex bindings of 9.0 and later: 2 coordinates, 8 normals, 0x20 colours with four components, 0x40
// vertex flags, 0x200 texture coordinates with two components in channel 0.
std::uint64_t bindings(const Shape& shape);

// A whole segment's data: the element, the end mark and what the version puts behind it. `object_id` and the
// two after it are the element's and its vertex records' (9.0 and later).
Bytes shapeSegment(const Shape& shape, const Options& options, std::int32_t object_id);

// Counts of a shape as it is stored, which its node states.
struct ShapeFigures {
  std::uint32_t vertices = 0;
  std::uint32_t polygons = 0;
};

// The rep data of 8.x, after the element's header and versions.
void writeRepData8(ByteWriter& out, const Shape& shape, const Options& options);

}  // namespace loftbay::maker
