// The topology coder of JT 9 and 10. It grows the mesh polygon by polygon around vertices that are not
// finished yet; what it stores is little more than the number of polygons round each new vertex.
//
// Words: a polygon has corners; a vertex has slots, one for each polygon round it; corners and slots are
// numbered counter-clockwise. A cover is a polygon that closes a hole and is not part of the shape. A split
// is a corner whose vertex exists already and could not be derived.
#pragma once

#include <cstdint>
#include <vector>

#include "jttk/codec/v9/topology_symbols.h"
#include "jttk/file/error.h"

namespace jttk {

// The decoded mesh; covers are left out.
struct Topology {
  std::vector<std::uint32_t> polygon_starts;   // one entry more than polygons; empty when there are none
  std::vector<std::uint32_t> corner_vertices;  // per corner
  std::vector<std::uint32_t> corner_records;   // per corner; kNoTopologyRecord where the vertex has none
  // Where all polygons are triangles: what neighboursOfTriangles() would find. Empty where they are not, or
  // where the mesh is such that looking at its vertices only could give something else.
  std::vector<std::uint32_t> neighbours;
  std::uint32_t vertices = 0;
  std::uint32_t records = 0;  // attribute records of all vertices
  bool records_fit = true;  // every vertex had its mask, and no mask was left over; else records mean nothing
  std::uint32_t components = 0;
  std::uint32_t covers = 0;
};

// `offset`: where the arrays came from, for messages. All symbols must be used up, all slots be filled. One
// large valence makes as many corners, so the mesh is not bounded by the arrays' length but by the limits.
// The memory of the result stays taken.
struct TopologyLimits {
  std::uint64_t maximum_corners = kFreeShapeCorners;  // kMaximumShapeCorners at most
  MemoryBudget* memory = nullptr;                     // null: without a limit
};
Result<Topology> decodeTopology(const TopologySymbols& symbols, PacketForm form, std::uint64_t offset,
                                const TopologyLimits& limits = {});

}  // namespace jttk
