// Where the smooth pieces of a curve end, by what is known of its kind; they are halved afterwards where that
// is not enough.
#pragma once

#include <cstddef>
#include <vector>

#include "jttk/brep/geometry.h"
#include "jttk/brep/tolerances.h"

namespace jttk::brep {

// An edge has no more.
inline constexpr std::size_t kMaximumEdgePoints = 16384;

// The part of a curve that an edge runs along: `to` may be less than `from`.
struct CurvePart {
  double from;
  double to;
  bool closed;  // it ends where it begins
};

// The parameters at which pieces end, from `from` to `to`, both included: at breaks of a spline, evenly along
// a circle so that the tolerances are kept, evenly along a line. A closed part has several pieces in any
// case.
std::vector<double> curvePieces(Geometry& geometry, const Curve& curve, const CurvePart& part,
                                const Tolerances& tolerances);

}  // namespace jttk::brep
