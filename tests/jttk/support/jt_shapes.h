// Small shapes in the layouts of JT 9 and 10, and containers round them, for tests and fuzzing seeds.
#pragma once

#include <string_view>
#include <vector>

#include "jttk/codec/v9/topology.h"
#include "jttk/file/byte_reader.h"
#include "tests/jttk/support/jt_bytes.h"

namespace jttk::testing {

inline constexpr Guid kSegmentId{0x01020304, 0x0506, 0x0708, {9, 10, 11, 12, 13, 14, 15, 16}};
inline constexpr Guid kTriStripSetId{
    0x10dd10ab, 0x2ac8, 0x11d1, {0x9b, 0x6b, 0x00, 0x80, 0xc7, 0xbb, 0x59, 0x97}};
inline constexpr Guid kPolygonSetId{
    0x10dd109f, 0x2ac8, 0x11d1, {0x9b, 0x6b, 0x00, 0x80, 0xc7, 0xbb, 0x59, 0x97}};
inline constexpr Guid kPolylineSetId{
    0x10dd10a1, 0x2ac8, 0x11d1, {0x9b, 0x6b, 0x00, 0x80, 0xc7, 0xbb, 0x59, 0x97}};
inline constexpr Guid kPointSetId{
    0x98134716, 0x0011, 0x0818, {0x19, 0x98, 0x08, 0x00, 0x09, 0x83, 0x5d, 0x5a}};

// Four triangles round four vertices of degree 3. Each vertex's mask is `mask`.
TopologySymbols tetrahedronSymbols(std::int32_t mask);
// Six quadrangles round eight vertices of degree 3.
TopologySymbols cubeSymbols(std::int32_t mask);
// One triangle; a cover is its back.
TopologySymbols triangleSymbols();
// One polygon of `corners` corners (6 or more); a cover is its back.
TopologySymbols polygonSymbols(std::uint32_t corners);
// Two triangles that touch in one vertex; a cover of six corners goes round both, and its second visit to the
// vertex is a split.
TopologySymbols bowTieSymbols();

// The arrays as stored, hash included.
Bytes topologyBytes(const TopologySymbols& symbols, PacketForm form);

struct ShapeOptions {
  PacketForm form = PacketForm::V9;
  bool quantized = false;
  std::uint64_t bindings = 0x0a;  // coordinates and normals
  // 2: without z; 4: with a fourth of 1.
  std::uint32_t coordinate_components = 3;
  // Colours as hue, saturation and value: green, one value for all records.
  bool hsv = false;
};

// A representation: the symbols, then coordinates (vertex i at (i, 2i, 3i + 0.5)) and what the bindings ask
// for: normals along +z, colours, texture coordinates of every channel, flags, and bytes without meaning
// where auxiliary fields are.
Bytes topologicalRepData(const TopologySymbols& symbols, std::uint32_t vertices, std::uint32_t records,
                         const ShapeOptions& options);
// Two lines over four records, the first of which share a coordinate; colours.
Bytes polylineRepData(PacketForm form);

// A shape element as a shape segment holds it.
Bytes shapeElement(const Guid& kind, PacketForm form, const Bytes& rep_data);

struct ContainerSegment {
  Guid id;
  std::uint32_t type = 7;
  Bytes data;  // after the segment's header
};
// `version`: "9.5". Offsets are 64-bit from 10 on.
Bytes container(std::string_view version, const std::vector<ContainerSegment>& segments);

}  // namespace jttk::testing
