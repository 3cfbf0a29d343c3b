// How edges of triangles are numbered where they are stepped along: edge i of triangle t is 4 t + i and leads
// from corner i to the next one. Four numbers for three edges, so that neither the triangle nor the next edge
// takes a division.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace jttk::triangle_edges {

inline constexpr std::uint32_t kNoEdge = 0xffffffffU;
inline constexpr std::uint32_t kPerTriangle = 4;
inline constexpr std::uint32_t kMostTriangles = kNoEdge / kPerTriangle;

constexpr std::uint32_t triangleOf(std::uint32_t edge) { return edge >> 2; }
constexpr std::uint32_t next(std::uint32_t edge) { return (edge & 2U) != 0 ? edge - 2 : edge + 1; }
constexpr std::uint32_t previous(std::uint32_t edge) { return (edge & 3U) == 0 ? edge + 2 : edge - 1; }
// The corner where the edge begins, when corners are numbered without gaps.
constexpr std::uint32_t cornerOf(std::uint32_t edge) { return edge - (edge >> 2); }

}  // namespace jttk::triangle_edges

namespace jttk {

// The edge on the other side of each edge, found by the corners' positions and records. `corners`: three per
// triangle, for kMostTriangles at most, indices into the other two arrays; `records` is empty when there are
// none. Edges are paired that run between the same vertices in opposite directions. Where more than two
// triangles meet (the surface is no manifold) the first that fit are paired and the others stay alone, as do
// edges without length.
std::vector<std::uint32_t> neighboursOfTriangles(std::span<const std::uint32_t> corners,
                                                 std::span<const std::uint32_t> positions,
                                                 std::span<const std::uint32_t> records);

}  // namespace jttk
