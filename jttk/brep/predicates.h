// Exact orientation and in-circle tests: a quick floating-point answer where its error bound allows, else
// exact arithmetic on sums of doubles that do not overlap. Right for all inputs whose products neither
// overflow nor underflow (coordinates of 0 or between 1e-60 and 1e60 are fine).
#pragma once

#include "jttk/brep/vec.h"

namespace jttk::brep {

// Above 0 when a, b, c turn left (counter-clockwise), below 0 when right, 0 on a line.
double orient2d(const Vec2& a, const Vec2& b, const Vec2& c);

// Above 0 when d lies inside the circle through a, b, c, which turn left; 0 when on it.
double inCircle(const Vec2& a, const Vec2& b, const Vec2& c, const Vec2& d);

// Whether inCircle had to be exact to know: that takes a hundred times as long.
struct CircleAnswer {
  double side;  // as inCircle
  bool exact;
};
CircleAnswer askCircle(const Vec2& a, const Vec2& b, const Vec2& c, const Vec2& d);

}  // namespace jttk::brep
