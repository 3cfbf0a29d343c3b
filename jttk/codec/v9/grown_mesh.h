// The mesh while the topology decoder grows it. Every corner stores the slot that it sits in, and every slot
// its corner, so that stepping round a vertex or along a polygon never searches.
//
// If slot i of a vertex is corner j of a polygon, then slot i + 1 is the polygon across the edge to corner j
// - 1, and slot i - 1 the one across the edge to corner j + 1.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "jttk/codec/v9/topology_records.h"

namespace jttk {

// Corners: PolygonCorners or TriangleCorners. Slots are numbered vertex by vertex.
template <typename Corners>
struct GrownMesh {
  static constexpr std::uint32_t kUnknown = 0xffffffffU;

  struct Corner {
    std::uint32_t vertex;
    std::uint32_t slot;  // known vertices get their slot when the polygon is linked to them
  };
  struct Vertex {
    std::uint32_t first_slot;
    std::uint32_t end_slot;
    std::uint32_t empty_slots;

    [[nodiscard]] std::uint32_t next(std::uint32_t slot) const {
      return slot + 1 == end_slot ? first_slot : slot + 1;
    }
    [[nodiscard]] std::uint32_t previous(std::uint32_t slot) const {
      return (slot == first_slot ? end_slot : slot) - 1;
    }
  };

  GrownMesh(const std::vector<std::int32_t>& valences, std::size_t corner_count, std::size_t vertex_count)
      : numbers(valences, corner_count),
        corners(std::make_unique_for_overwrite<Corner[]>(numbers.end())),
        slots(std::make_unique_for_overwrite<std::uint32_t[]>(corner_count)) {
    vertices.reserve(vertex_count);
    records.reserve(vertex_count);
  }

  Corners numbers;
  // Written when a polygon or vertex is added; room for all is there from the start.
  std::unique_ptr<Corner[]> corners;
  std::unique_ptr<std::uint32_t[]> slots;  // the corner in each, kUnknown in empty ones
  std::vector<Vertex> vertices;            // it does not move
  std::vector<VertexRecords> records;      // per vertex
  std::uint32_t polygons = 0;
  std::uint32_t components = 0;
};

}  // namespace jttk
