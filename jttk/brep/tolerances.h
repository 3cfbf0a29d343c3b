// What the user asks of the triangles. The limits of the arithmetic are in precision.h.
#pragma once

namespace jttk::brep {

// In metres and radians.
struct Tolerances {
  double chord = 1e-4;
  double angle = 0.349;
  double minimum_edge = 0;  // the angle criterion makes no pieces shorter than this
  int line_pieces = 1;      // straight edges are cut into so many
};

}  // namespace jttk::brep
