// Solids of revolution with a pocket drilled into their side from -x, where the angle of their surface wraps
// round: the hole lies across that line, or across a seam edge that other systems put there. In metres.
#pragma once

#include "tests/jttk/brep/models.h"

namespace jttk::brep::models {

enum class Round : std::uint8_t { Cylinder, Cone, Sphere, Torus };

struct Drilled {
  XtModel model;
  double volume = 0;  // mm^3
};

// About 20 mm large. `hole_radius` 0: no pocket. With seam edges, the surface's face has one loop that passes
// every seam twice.
Drilled drilled(Round kind, double hole_radius, bool seam_edges);

// A cylinder with `rows` rows of `per_row` pockets, every row turned a little against the one below, so that
// no straight line up its side misses them all.
Drilled perforatedCylinder(double radius, double height, double hole_radius, int rows, int per_row);

}  // namespace jttk::brep::models
