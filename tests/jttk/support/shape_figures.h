// Numbers of a decoded shape that can be compared with those of another reader of the format: counts, box,
// sums and order-independent checksums of its triangles.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "jttk/codec/shape_lod.h"

namespace jttk::testing {

struct Vector {
  double x = 0, y = 0, z = 0;
};

struct ShapeFigures {
  std::size_t triangles =
      0;  // strips: degenerate links included; polygons are fanned from their first corner
  std::size_t triangles_nd = 0;  // without those that have two corners at one position
  std::size_t max_polygon = 0;   // most corners of a primitive
  std::size_t line_segments = 0;
  std::size_t points = 0;
  std::uint64_t checksum = 0;  // sum of hashes over the triangles' positions
  std::uint64_t checksum_nd = 0;
  std::array<double, 6> box{};  // of the positions used
  double area = 0;
  double volume6 = 0;  // sum of a . (b x c)
  double volume6_magnitude = 0;
  Vector moment;  // sum of area times centroid
  Vector moment_magnitude;
  Vector normal_sum;  // of the corners' normals, scaled to length 1
  std::size_t normals_agree = 0;
  std::size_t normals_against = 0;
};

ShapeFigures figuresOf(const ShapeGeometry& shape);
const char* kindName(PrimitiveKind kind);
// 16 hex digits.
std::string hex(std::uint64_t value);

}  // namespace jttk::testing
