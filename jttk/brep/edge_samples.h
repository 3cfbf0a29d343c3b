// The points along an edge: made once, used by the faces on both sides.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "jttk/brep/geometry.h"
#include "jttk/brep/tolerances.h"

namespace jttk::brep {

// Points of an edge from its start to its end, both included; the ends are the vertices' own points (a ring
// repeats its first point). They are not usable when there is no usable curve.
struct EdgeSamples {
  std::vector<Vec3> points;
  Result<void> usable;
};

double distanceToChord(const Vec3& p, const Vec3& a, const Vec3& b);

EdgeSamples sampleEdge(Geometry& geometry, const Edge& edge, const Tolerances& tolerances);

}  // namespace jttk::brep
