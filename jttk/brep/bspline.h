// B-spline curves and surfaces at a parameter: point and first derivatives, rational or not.
#pragma once

#include "jttk/brep/bodies.h"

namespace jttk::brep {

// Splines of a higher degree are not read: basis functions are held in arrays of this size.
inline constexpr int kMaximumDegree = 30;

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

// What an evaluation costs by its degrees (see WorkCounter), in addition to what every evaluation costs.
inline std::uint64_t stepsOf(const CurveSpline& spline) {
  const auto degree = static_cast<std::uint64_t>(spline.degree);
  return degree * degree / 4;
}
inline std::uint64_t stepsOf(const SurfaceSpline& spline) {
  const auto u = static_cast<std::uint64_t>(spline.degree_u);
  const auto v = static_cast<std::uint64_t>(spline.degree_v);
  return (u + 1) * (v + 1) / 4 + (u * u + v * v) / 8;
}

}  // namespace jttk::brep
