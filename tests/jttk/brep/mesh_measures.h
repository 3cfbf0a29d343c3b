// What tests ask of a triangle mesh: is it closed, how large is it, how far from where it should be.
//
// These look at every triangle, often at many points of it: they are compiled optimised, the tests are not.
#pragma once

#include <cstddef>
#include <functional>

#include "jttk/brep/tessellate.h"

namespace jttk::brep {

struct MeshMeasures {
  std::size_t triangles = 0;   // with three different positions
  std::size_t degenerate = 0;  // others
  std::size_t open_edges = 0;  // directed edges, by position, without exactly one opposite
  double area = 0;
  double volume = 0;                // signed
  std::size_t against_normals = 0;  // corners whose normal is on the back of the triangle
  std::size_t bad_normals = 0;      // not of unit length
};

// A corner of `shape` by its number in corner_positions.
inline Vec3 cornerOf(const ShapeGeometry& shape, std::size_t number) {
  const float* const p = &shape.positions[3 * std::size_t{shape.corner_positions[number]}];
  return {double{p[0]}, double{p[1]}, double{p[2]}};
}

// Positions are compared by value: -0 is 0.
MeshMeasures measure(const ShapeGeometry& shape);

// The greatest value of `distance` at points all over the triangles, whose sides are cut into `steps`.
double farthest(const ShapeGeometry& shape, const std::function<double(const Vec3&)>& distance,
                int steps = 6);

}  // namespace jttk::brep
