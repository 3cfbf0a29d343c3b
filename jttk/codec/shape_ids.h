// Object type ids of the elements of shape LOD segments; all versions have the same.
#pragma once

#include <cstdint>

#include "jttk/file/byte_reader.h"

namespace jttk {

constexpr Guid vertexShapeId(std::uint32_t first) {
  return {first, 0x2ac8, 0x11d1, {0x9b, 0x6b, 0x00, 0x80, 0xc7, 0xbb, 0x59, 0x97}};
}
constexpr Guid primitiveSetId(std::uint32_t first) {
  return {first, 0x1ad9, 0x11d3, {0x9d, 0xaf, 0x00, 0xa0, 0xc9, 0xc7, 0xdd, 0xc2}};
}
constexpr Guid kTriStripSet = vertexShapeId(0x10dd10ab);
constexpr Guid kPolylineSet = vertexShapeId(0x10dd10a1);
constexpr Guid kPolygonSet = vertexShapeId(0x10dd109f);
constexpr Guid kPointSet{0x98134716, 0x0011, 0x0818, {0x19, 0x98, 0x08, 0x00, 0x09, 0x83, 0x5d, 0x5a}};
constexpr Guid kNullShape{0x3e637aed, 0x2a89, 0x41f8, {0xa9, 0xfd, 0x55, 0x37, 0x37, 0x03, 0x96, 0x82}};
constexpr Guid kPrimitiveSet = primitiveSetId(0xe40373c2);
// The id of the node in the scene graph: some writers give it to the shape LOD element too.
constexpr Guid kPrimitiveSetNode = primitiveSetId(0xe40373c1);

}  // namespace jttk
