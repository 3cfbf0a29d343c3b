// What the topology coder of JT 9 and 10 gives; topology.h has its words.
#pragma once

#include <cstdint>
#include <vector>

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

}  // namespace jttk
