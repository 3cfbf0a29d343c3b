// Merges vertices whose positions print alike at six significant digits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "geometry/raw_vector.h"

namespace loftbay::geometry {

struct Point {
  float x, y, z;
};
static_assert(sizeof(Point) == 3 * sizeof(float));

// The points as one row of floats, three per point; null when there are none.
inline const float* floatsOf(std::span<const Point> points) {
  return points.empty() ? nullptr : &points.data()->x;
}

struct MergedVertices {
  RawVector<Point> unique;             // the positions that are kept, in the order of their first occurrence
  RawVector<std::uint32_t> vertex_of;  // for each position: which of them it became
  bool has_rounded = false;            // a position became one whose bits are others
};

// Vertices are equal if their texts of x, y and z (float_text.h), joined without a separator, are equal: 0
// and -0 stay apart, while (1, 23, 4) and (12, 3, 4) are one vertex. Scenes are compared by that result; keep
// it.
MergedVertices mergeVertices(std::span<const Point> points);

// The same for a list of indices, and with a value that travels with each vertex.
//   points         the positions
//   unique         empty; receives the positions that are kept, in the order of their first occurrence
//   indices        rewritten to `unique`; an index that has no point stays as it is
//   companion      one more value per vertex, or none at all
//   unique_companion  empty; receives the companions of the kept vertices
void removeDuplicateVertices(const std::vector<Point>& points, std::vector<Point>& unique,
                             std::span<std::uint32_t> indices, const std::vector<Point>& companion,
                             std::vector<Point>& unique_companion);

// How many triangles, of three indices each, have three corners whose bits differ. Those with an index that
// has no point do not count.
std::size_t trianglesOfThreePoints(std::span<const Point> points, std::span<const std::uint32_t> indices);

}  // namespace loftbay::geometry
