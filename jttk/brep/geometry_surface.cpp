// Surfaces: points and derivatives, the parameters that belong to them, and normals. Inversion of points is
// in surface_inversion.cpp.
#include <algorithm>

#include "host/portable_math.h"
#include "jttk/brep/geometry.h"
#include "jttk/brep/precision.h"
#include "jttk/brep/vec.h"

namespace jttk::brep {
namespace {

// Pieces of the border of a spline surface at whose ends both borders are compared; three points each, for u
// and for v.
constexpr int kBorderPieces = 6;
constexpr std::uint64_t kEvaluationsOfADomain = 2 * 3 * (kBorderPieces + 1);
// Step of the difference quotients of an offset surface, of the parameter's range (or in parameter units
// where it has no ends): near the cube root of the doubles' precision, where the error of a central
// difference is least.
constexpr double kDifferenceStep = 1e-5;
// The normal at a singular point: attempts, the first step towards the other point, of the way there, and how
// much each step is longer than the one before.
constexpr int kNormalAttempts = 5;
constexpr double kFirstNormalStep = 1e-6;
constexpr double kNormalStepGrowth = 30;

Vec3 around(const Frame& f, double angle) { return f.x * portable::cos(angle) + f.y * portable::sin(angle); }
Vec3 aroundTangent(const Frame& f, double angle) {
  return f.y * portable::cos(angle) - f.x * portable::sin(angle);
}

// Turned by `angle` about the frame's z through its origin.
Vec3 turned(const Frame& f, const Vec3& v, double c, double s) {
  const double x = dot(v, f.x);
  const double y = dot(v, f.y);
  return f.x * (x * c - y * s) + f.y * (x * s + y * c) + f.z * dot(v, f.z);
}

SurfacePoint coneAt(const Surface& surface, double u, double v) {
  const Frame& f = surface.frame;
  const double slope = surface.sin_half_angle / surface.cos_half_angle;
  const double r = surface.radius + v * slope;
  const Vec3 out = around(f, u);
  return {f.origin + out * r + f.z * v, aroundTangent(f, u) * r, out * slope + f.z};
}

SurfacePoint sphereAt(const Surface& surface, double u, double v) {
  const Frame& f = surface.frame;
  const double r = surface.radius;
  const Vec3 out = around(f, u);
  const double c = portable::cos(v);
  const double s = portable::sin(v);
  return {f.origin + out * (r * c) + f.z * (r * s), aroundTangent(f, u) * (r * c), (f.z * c - out * s) * r};
}

SurfacePoint torusAt(const Surface& surface, double u, double v) {
  const Frame& f = surface.frame;
  const Vec3 out = around(f, u);
  const double c = portable::cos(v);
  const double s = portable::sin(v);
  const double r = surface.radius + surface.radius_2 * c;
  return {f.origin + out * r + f.z * (surface.radius_2 * s), aroundTangent(f, u) * r,
          (f.z * c - out * s) * surface.radius_2};
}

SurfaceDomain torusDomain(const Surface& surface) {
  SurfaceDomain made;
  made.period_u = kTurn;
  made.u = {0, kTurn};
  if (surface.radius > surface.radius_2) {
    made.period_v = kTurn;
    made.v = {0, kTurn};
  } else {
    // Between the two points where it meets its axis.
    const double end = portable::acos(std::clamp(-surface.radius / surface.radius_2, -1.0, 1.0));
    made.v = {-end, end};
  }
  return made;
}

SurfaceDomain splineDomain(const SurfaceSpline& s) {
  SurfaceDomain made;
  made.u = {s.knots_u[static_cast<std::size_t>(s.degree_u)], s.knots_u[static_cast<std::size_t>(s.n_u)]};
  made.v = {s.knots_v[static_cast<std::size_t>(s.degree_v)], s.knots_v[static_cast<std::size_t>(s.n_v)]};
  // Closed when the two border lines are one, which is not a point.
  const auto closes = [&](bool in_u) {
    double gap = 0;
    double size = 0;
    for (int k = 0; k <= kBorderPieces; ++k) {
      const double u = made.u.low + made.u.size() * k / kBorderPieces;
      const double v = made.v.low + made.v.size() * k / kBorderPieces;
      const Vec3 a = in_u ? evaluateSpline(s, made.u.low, v).p : evaluateSpline(s, u, made.v.low).p;
      const Vec3 b = in_u ? evaluateSpline(s, made.u.high, v).p : evaluateSpline(s, u, made.v.high).p;
      const Vec3 m = in_u ? evaluateSpline(s, (made.u.low + made.u.high) / 2, v).p
                          : evaluateSpline(s, u, (made.v.low + made.v.high) / 2).p;
      gap = std::max(gap, distance(a, b));
      size = std::max(size, distance(a, m));
    }
    return size > kSamePoint && gap <= kModelResolution + kClosedSurfaceGap * size;
  };
  if (closes(true)) made.period_u = made.u.size();
  if (closes(false)) made.period_v = made.v.size();
  return made;
}

}  // namespace

SurfacePoint Geometry::blendAt(const Surface& surface, Vec2 uv) {
  const Curve& spine = this->curve(surface.curve);
  const CurvePoint c = at(spine, uv.u);
  const Vec3 along = normalized(c.d);
  Vec3 x = anyAcross(along);
  if (spine.kind == CurveKind::Intersection) {
    const FineCurve& points = fine(spine);
    const double t = spine.closed ? uv.u - points.t.back() * std::floor(uv.u / points.t.back()) : uv.u;
    const auto above = std::upper_bound(points.t.begin(), points.t.end(), t);
    const auto i = static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(
        above - points.t.begin(), 1, static_cast<std::ptrdiff_t>(points.t.size()) - 1));
    const double s = std::clamp((t - points.t[i - 1]) / (points.t[i] - points.t[i - 1]), 0.0, 1.0);
    const Vec3 side = points.across[i - 1] * (1 - s) + points.across[i] * s;
    const Vec3 square = side - along * dot(side, along);
    if (length(square) > kNoAcrossInterpolated) x = normalized(square);
  } else if (spine.kind == CurveKind::Circle || spine.kind == CurveKind::Ellipse) {
    x = spine.frame.z;
  }
  const Vec3 y = cross(along, x);
  const double cv = portable::cos(uv.v);
  const double sv = portable::sin(uv.v);
  SurfacePoint point;
  const Vec3 out = x * cv + y * sv;
  point.p = c.p + out * surface.radius;
  point.dv = (y * cv - x * sv) * surface.radius;
  // Along the tube: the direction is exact, the length is not. Callers use only the direction.
  point.du = c.d;
  return point;
}

SurfacePoint Geometry::offsetAt(const Surface& surface, Vec2 uv) {
  const Surface& base = this->surface(surface.base);
  const SurfaceDomain box = domain(base);
  const auto shifted = [&](Vec2 at_uv) {
    const SurfacePoint b = at(base, at_uv);
    return b.p + normalized(cross(b.du, b.dv)) * surface.offset;
  };
  const auto step = [](const Range& r) { return r.bounded() ? r.size() * kDifferenceStep : kDifferenceStep; };
  SurfacePoint point;
  point.p = shifted(uv);
  const double hu = step(box.u);
  const double hv = step(box.v);
  // One-sided at the ends of the domain.
  const auto low = [](const Range& r, double period, double x) {
    return period > 0 ? x : std::max(r.low, x);
  };
  const auto high = [](const Range& r, double period, double x) {
    return period > 0 ? x : std::min(r.high, x);
  };
  const double u0 = low(box.u, box.period_u, uv.u - hu);
  const double u1 = high(box.u, box.period_u, uv.u + hu);
  const double v0 = low(box.v, box.period_v, uv.v - hv);
  const double v1 = high(box.v, box.period_v, uv.v + hv);
  if (u1 > u0) point.du = (shifted({u1, uv.v}) - shifted({u0, uv.v})) * (1 / (u1 - u0));
  if (v1 > v0) point.dv = (shifted({uv.u, v1}) - shifted({uv.u, v0})) * (1 / (v1 - v0));
  return point;
}

SurfacePoint Geometry::at(const Surface& surface, Vec2 uv) {
  if (!mayWork()) return {};
  work();
  const Frame& f = surface.frame;
  const double u = uv.u;
  const double v = uv.v;
  switch (surface.kind) {
    case SurfaceKind::Plane:
      return {f.origin + f.x * u + f.y * v, f.x, f.y};
    case SurfaceKind::Cylinder:
      return {f.origin + around(f, u) * surface.radius + f.z * v, aroundTangent(f, u) * surface.radius, f.z};
    case SurfaceKind::Cone:
      return coneAt(surface, u, v);
    case SurfaceKind::Sphere:
      return sphereAt(surface, u, v);
    case SurfaceKind::Torus:
      return torusAt(surface, u, v);
    case SurfaceKind::BSpline: {
      const SurfaceDomain box = domain(surface);
      const auto inside = [](double x, const Range& r, double period) {
        return period > 0 && (x < r.low || x > r.high) ? x - period * std::floor((x - r.low) / period) : x;
      };
      counter_.spendSteps(stepsOf(spline(surface)));
      return evaluateSpline(spline(surface), inside(u, box.u, box.period_u), inside(v, box.v, box.period_v));
    }
    case SurfaceKind::Swept: {
      const CurvePoint c = at(curve(surface.curve), u);
      return {c.p + surface.sweep * v, c.d, surface.sweep};
    }
    case SurfaceKind::Spun: {
      const CurvePoint c = at(curve(surface.curve), u);
      const double cv = portable::cos(v);
      const double sv = portable::sin(v);
      const Vec3 arm = turned(f, c.p - f.origin, cv, sv);
      return {f.origin + arm, turned(f, c.d, cv, sv), cross(f.z, arm)};
    }
    case SurfaceKind::Offset:
      return offsetAt(surface, uv);
    case SurfaceKind::Blend:
      return blendAt(surface, uv);
    case SurfaceKind::Unknown:
      break;
  }
  return {};
}

SurfaceDomain Geometry::domain(const Surface& surface) {
  SurfaceDomain made;
  switch (surface.kind) {
    case SurfaceKind::Cylinder:
    case SurfaceKind::Cone:
      made.period_u = kTurn;
      break;
    case SurfaceKind::Sphere:
      made.period_u = kTurn;
      made.v = {-kTurn / 4, kTurn / 4};
      break;
    case SurfaceKind::Torus:
      return torusDomain(surface);
    case SurfaceKind::BSpline: {
      const auto known = spline_domains_.find(surface.spline);
      if (known != spline_domains_.end()) return known->second;
      counter_.spendEvaluations(kEvaluationsOfADomain);
      counter_.spendSteps(kEvaluationsOfADomain * stepsOf(spline(surface)));
      return spline_domains_[surface.spline] = splineDomain(spline(surface));
    }
    case SurfaceKind::Swept:
      made.u = range(curve(surface.curve));
      made.period_u = period(curve(surface.curve));
      break;
    case SurfaceKind::Spun:
      made.u = range(curve(surface.curve));
      made.period_u = period(curve(surface.curve));
      made.period_v = kTurn;
      break;
    case SurfaceKind::Offset:
      return domain(this->surface(surface.base));
    case SurfaceKind::Blend:
      made.period_u = period(curve(surface.curve));
      if (made.period_u > 0) made.u = range(curve(surface.curve));
      made.period_v = kTurn;
      break;
    default:
      break;
  }
  if (made.period_u > 0 && !made.u.bounded()) made.u = {0, made.period_u};
  if (made.period_v > 0 && !made.v.bounded()) made.v = {0, made.period_v};
  return made;
}

Vec3 normalAt(Geometry& geometry, const Surface& surface, Vec2 uv, Vec2 toward) {
  double share = 0;
  for (int i = 0; i < kNormalAttempts; ++i) {
    const SurfacePoint s = geometry.at(surface, uv + (toward - uv) * share);
    const Vec3 n = cross(s.du, s.dv);
    if (length(n) > kSingularSine * (dot(s.du, s.du) + dot(s.dv, s.dv)) * 0.5) return normalized(n);
    share = share == 0 ? kFirstNormalStep : share * kNormalStepGrowth;
  }
  return {};
}

}  // namespace jttk::brep
