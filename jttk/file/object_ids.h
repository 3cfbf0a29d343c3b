// Object type ids of the elements that are read or known. All versions of the format have the same.
#pragma once

#include <cstdint>

#include "jttk/file/byte_reader.h"

namespace jttk::object_id {

// Ids of the same time differ in their first field only.
constexpr Guid classic(std::uint32_t first) {
  return {first, 0x2ac8, 0x11d1, {0x9b, 0x6b, 0x00, 0x80, 0xc7, 0xbb, 0x59, 0x97}};
}
constexpr Guid product(std::uint32_t first) {
  return {first, 0x38fb, 0x11d1, {0xa5, 0x06, 0x00, 0x60, 0x97, 0xbd, 0xc6, 0xe1}};
}
constexpr Guid primitive(std::uint32_t first) {
  return {first, 0x1ad9, 0x11d3, {0x9d, 0xaf, 0x00, 0xa0, 0xc9, 0xc7, 0xdd, 0xc2}};
}
constexpr Guid point(std::uint16_t second) {
  return {0x98134716, second, 0x0818, {0x19, 0x98, 0x08, 0x00, 0x09, 0x83, 0x5d, 0x5a}};
}

// Nodes of the scene graph.
constexpr Guid kBaseNode = classic(0x10dd1035);
constexpr Guid kPartitionNode = classic(0x10dd103e);
constexpr Guid kGroupNode = classic(0x10dd101b);
constexpr Guid kInstanceNode = classic(0x10dd102a);
constexpr Guid kPartNode = product(0xce357244);
constexpr Guid kMetaDataNode = product(0xce357245);
constexpr Guid kLodNode = classic(0x10dd102c);
constexpr Guid kRangeLodNode = classic(0x10dd104c);
constexpr Guid kSwitchNode = classic(0x10dd10f3);
constexpr Guid kTriStripSetNode = classic(0x10dd1077);
constexpr Guid kPolylineSetNode = classic(0x10dd1046);
constexpr Guid kPolygonSetNode = classic(0x10dd1048);
constexpr Guid kPointSetNode = point(0x0010);
constexpr Guid kPrimitiveSetNode = primitive(0xe40373c1);
constexpr Guid kNullShapeNode{0xd239e7b6, 0xdd77, 0x4289, {0xa0, 0x7d, 0xb0, 0xee, 0x79, 0xf7, 0x94, 0x94}};
constexpr Guid kBaseShapeNode = classic(0x10dd1059);
constexpr Guid kVertexShapeNode = classic(0x10dd107f);
// Its wires are in a segment whose layout is not published.
constexpr Guid kWireHarnessNode{0x4cc7a521, 0x0728, 0x11d3, {0x9d, 0x8b, 0x00, 0xa0, 0xc9, 0xc7, 0xdd, 0xc2}};

// Shapes in their segments.
constexpr Guid kTriStripSet = classic(0x10dd10ab);
constexpr Guid kPolylineSet = classic(0x10dd10a1);
constexpr Guid kPolygonSet = classic(0x10dd109f);
constexpr Guid kPointSet = point(0x0011);
constexpr Guid kNullShape{0x3e637aed, 0x2a89, 0x41f8, {0xa9, 0xfd, 0x55, 0x37, 0x37, 0x03, 0x96, 0x82}};
constexpr Guid kPrimitiveSet = primitive(0xe40373c2);  // some writers give it the id of the node

// Attributes.
constexpr Guid kTransform = classic(0x10dd1083);
constexpr Guid kMaterial = classic(0x10dd1030);
constexpr Guid kInfiniteLight = classic(0x10dd1028);
constexpr Guid kPointLight = classic(0x10dd1045);
constexpr Guid kTextureImage = classic(0x10dd1073);
constexpr Guid kDrawStyle = classic(0x10dd1014);
constexpr Guid kLightSet = classic(0x10dd1096);
constexpr Guid kLineStyle = classic(0x10dd10c4);
constexpr Guid kPointStyle{0x8d57c010, 0xe5cb, 0x11d4, {0x84, 0x0e, 0x00, 0xa0, 0xd2, 0x18, 0x2f, 0x9d}};

// Property atoms.
constexpr Guid kStringAtom = classic(0x10dd106e);
constexpr Guid kIntegerAtom = classic(0x10dd102b);
constexpr Guid kFloatAtom = classic(0x10dd1019);
constexpr Guid kDateAtom = product(0xce357246);
constexpr Guid kLateLoadedAtom{0xe0b05be5, 0xfbbd, 0x11d1, {0xa3, 0xa7, 0x00, 0xaa, 0x00, 0xd1, 0x09, 0x54}};

// Properties in a meta data segment.
constexpr Guid kPropertyProxy = product(0xce357247);

// Exact geometry in its segment.
constexpr Guid kXtBrep{0x873a70e0, 0x2ac9, 0x11d1, {0x9b, 0x6b, 0x00, 0x80, 0xc7, 0xbb, 0x59, 0x97}};

// In place of an id: the mark behind the last element of a sequence.
constexpr Guid kEndOfElements{0xffffffffU, 0xffffU, 0xffffU, {255, 255, 255, 255, 255, 255, 255, 255}};

// What elements with this id are called; null when it is not known.
[[nodiscard]] const char* name(const Guid& id);

}  // namespace jttk::object_id
