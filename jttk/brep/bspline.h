// B-spline curves and surfaces at a parameter: point and first derivatives, rational or not.
#pragma once

#include "jttk/brep/bodies.h"

namespace jttk::brep {

struct CurvePoint {
  Vec3 p;
  Vec3 d;  // derivative
};

struct SurfacePoint {
  Vec3 p;
  Vec3 du;
  Vec3 dv;
};

// The parameter is clamped to the domain. Points of 2D splines have z = 0.
CurvePoint evaluateSpline(const CurveSpline& spline, double t);
SurfacePoint evaluateSpline(const SurfaceSpline& spline, double u, double v);

}  // namespace jttk::brep
