// The topology coder of JT 9 and 10. It grows the mesh polygon by polygon around vertices that are not
// finished yet; what it stores is little more than the number of polygons round each new vertex.
//
// Words: a polygon has corners; a vertex has slots, one for each polygon round it; corners and slots are
// numbered counter-clockwise. A cover is a polygon that closes a hole and is not part of the shape. A split
// is a corner whose vertex exists already and could not be derived.
#pragma once

#include <cstdint>

#include "jttk/codec/v9/decoded_topology.h"
#include "jttk/codec/v9/topology_symbols.h"
#include "jttk/file/error.h"

namespace jttk {

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
