// Small shapes in the layouts of JT 9 and 10.
#pragma once

#include "samples/maker/pieces/packets.h"
#include "samples/maker/topology.h"

namespace loftbay::maker::pieces {

// The symbols of topologies: streams in the order in which readers use them. Hash and what the streams refer
// to are empty.
// Four triangles round four vertices of degree 3. Each vertex's mask is `mask`.
Topology tetrahedronSymbols(std::int32_t mask);
// Six quadrangles round eight vertices of degree 3.
Topology cubeSymbols(std::int32_t mask);
// One triangle; a cover is its back.
Topology triangleSymbols();
// One polygon of `corners` corners (6 or more); a cover is its back.
Topology polygonSymbols(std::uint32_t corners);
// Two triangles that touch in one vertex; a cover of six corners goes round both, and its second visit to the
// vertex is a split.
Topology bowTieSymbols();

// The streams as stored, followed by their hash. Upper masks that the form has not are left out, and those
// that are missing are empty.
Bytes topologyBytes(const Topology& symbols, PacketForm form);

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
Bytes topologicalRepData(const Topology& symbols, std::uint32_t vertices, std::uint32_t records,
                         const ShapeOptions& options);
// Two lines over four records, the first of which share a coordinate; colours.
Bytes polylineRepData(PacketForm form);

// A shape element as a shape segment holds it.
Bytes shapeElement(const GuidValue& kind, PacketForm form, const Bytes& rep_data);

}  // namespace loftbay::maker::pieces
