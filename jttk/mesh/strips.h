// Makes triangle strips of polygons, because a surface is handed out in strips.
//
// Every polygon is fanned from its first corner; the strips hold exactly these triangles, each once, with its
// winding, and add none (no degenerate triangles). A strip runs over an edge only where position and
// attribute record of both corners are the same on both sides, so nothing has to be averaged or split.
// Polygons with fewer than three corners have no triangle.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace jttk {

// Primitives in the form of ShapeGeometry: starts (one entry more than primitives), then per corner the
// position and the record (`records` is empty when there are none).
struct Primitives {
  std::vector<std::uint32_t> starts;
  std::vector<std::uint32_t> positions;
  std::vector<std::uint32_t> records;
};

// In a strip, triangle k is corners k, k + 1, k + 2; in odd ones the first two are swapped. Linear in the
// number of corners.
Primitives stripsOfPolygons(std::span<const std::uint32_t> starts, std::span<const std::uint32_t> positions,
                            std::span<const std::uint32_t> records);

// The same strips for polygons that all are triangles, without looking for neighbours.
//
// `neighbours` has four entries per triangle (see triangle_edges.h), the last unused: the edge on the other
// side of each of its edges, kNoEdge where none fits. Where edge e has f, f has e. What is given must be what
// neighboursOfTriangles() would find.
Primitives stripsOfTriangles(std::span<const std::uint32_t> neighbours,
                             std::span<const std::uint32_t> positions,
                             std::span<const std::uint32_t> records);

}  // namespace jttk
