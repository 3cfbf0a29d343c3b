// What a shape writer reads out of a toolkit shape: the vertices of all primitive sets in one list, and of
// the other arrays only what the scene or a log line needs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "geometry/duplicate_vertices.h"
#include "jttk/interface/jttk.h"

namespace loftbay::geometry {

constexpr std::uint32_t kTriangleCorners = 3;

struct ShapeArrays {
  std::vector<std::int32_t> set_lengths;  // vertex counts of the sets that are not empty, in set order
  RawVector<Point> coordinates;
  std::size_t color_count = 0;
  std::size_t normal_count = 0;
};

struct ReadOptions {
  bool count_normals = false;
};

// Reads all sets, asking the shape for its set count again after each. Every array that the toolkit hands
// out is released here, whether it is used or not.
ShapeArrays readShape(JtkShape& shape, const ReadOptions& options);

}  // namespace loftbay::geometry
