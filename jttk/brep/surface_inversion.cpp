// The inversion of points on surfaces: closed forms where there are any, the surface's curve where it is made
// of one, else Gauss-Newton, damped where a step does not help (D. Marquardt, An Algorithm for Least-Squares
// Estimation of Nonlinear Parameters, 1963), from the best of a few start points that follow the knots.
#include <algorithm>
#include <numeric>

#include "host/portable_math.h"
#include "jttk/brep/geometry.h"
#include "jttk/brep/precision.h"
#include "jttk/brep/vec.h"

namespace jttk::brep {
namespace {

// Of a surface's grid, whose nearest points are where searches start. Bounds its memory for splines of any
// size.
constexpr std::size_t kMaximumGridPoints = 40000;
constexpr std::size_t kMaximumGridLines = 200;  // of either parameter
constexpr int kGridSteps = 24;                  // of surfaces without knots, in u and in v
// Grid lines of a spline: about so many in all, at least so many between two knots; one where it is straight.
constexpr int kSplineGridLines = 12;
constexpr int kLeastGridLinesOfSpan = 2;
// Looking at so many grid points costs as much as an evaluation.
constexpr std::size_t kGridPointsPerEvaluation = 16;
// Where a descent ends that does not converge.
constexpr int kMaximumDescentSteps = 40;
// Starts of a search: so many of the nearest grid points, and where none of them leads near enough, so many.
constexpr int kFewStarts = 3;
constexpr std::size_t kManyStarts = 24;
// Below this share of its terms the determinant of the normal equations is rounding.
constexpr double kSingularDeterminant = 1e-14;
// Damping: the first and least there is, how much it changes by, and where the search gives up.
constexpr double kLeastDamping = 1e-3;
constexpr double kDampingStep = 10;
constexpr double kMostDamping = 1e4;
// A descent ends at steps below this length in metres, and this share of the distance that is left.
constexpr double kDescentEnd = 1e-15;
constexpr double kDescentEndShare = 1e-10;

double angleOf(const Frame& f, const Vec3& to) { return portable::atan2(dot(to, f.y), dot(to, f.x)); }

std::vector<double> gridParameters(const std::vector<double>& knots, int degree, int point_count) {
  std::vector<double> distinct(knots.begin() + degree, knots.begin() + point_count + 1);
  distinct.erase(std::unique(distinct.begin(), distinct.end()), distinct.end());
  const auto spans = static_cast<int>(distinct.size()) - 1;
  const int per_span =
      degree == 1 ? 1 : std::max(kLeastGridLinesOfSpan, (kSplineGridLines + spans - 1) / spans);
  std::vector<double> parameters;
  for (int i = 0; i < spans; ++i) {
    const double low = distinct[static_cast<std::size_t>(i)];
    const double high = distinct[static_cast<std::size_t>(i) + 1];
    for (int k = 0; k < per_span; ++k) parameters.push_back(low + (high - low) * k / per_span);
  }
  parameters.push_back(distinct.back());
  return parameters;
}

std::vector<double> evenParameters(const Range& range, int steps) {
  std::vector<double> parameters;
  for (int i = 0; i <= steps; ++i) parameters.push_back(range.low + range.size() * i / steps);
  return parameters;
}

void thin(std::vector<double>& parameters, std::size_t limit) {
  if (parameters.size() <= limit) return;
  std::vector<double> kept;
  for (std::size_t i = 0; i < limit; ++i)
    kept.push_back(parameters[i * (parameters.size() - 1) / (limit - 1)]);
  parameters.swap(kept);
}

}  // namespace

const Geometry::Grid& Geometry::grid(const Surface& surface) {
  const std::pair key{surface.kind == SurfaceKind::BSpline ? surface.spline : kNoIndex,
                      surface.kind == SurfaceKind::BSpline ? kNoIndex : surface.base};
  const auto known = grids_.find(key);
  if (known != grids_.end()) return known->second;
  std::vector<double> us;
  std::vector<double> vs;
  if (surface.kind == SurfaceKind::BSpline) {
    const SurfaceSpline& s = spline(surface);
    us = gridParameters(s.knots_u, s.degree_u, s.n_u);
    vs = gridParameters(s.knots_v, s.degree_v, s.n_v);
  } else {
    const SurfaceDomain box = domain(surface);
    if (box.u.bounded()) us = evenParameters(box.u, kGridSteps);
    if (box.v.bounded()) vs = evenParameters(box.v, kGridSteps);
  }
  thin(us, std::max<std::size_t>(
               kMaximumGridLines,
               kMaximumGridPoints / std::max<std::size_t>(1, std::min(vs.size(), kMaximumGridLines))));
  thin(vs, std::max<std::size_t>(2, kMaximumGridPoints / std::max<std::size_t>(1, us.size())));
  Grid made;
  // A pole once: all its copies among the nearest grid points would leave no start with the right direction.
  std::vector<Vec3> row(vs.size());
  for (std::size_t i = 0; i < us.size(); ++i) {
    for (std::size_t k = 0; k < vs.size(); ++k) {
      const Vec3 p = at(surface, {us[i], vs[k]}).p;
      const bool again =
          (i > 0 && distance(p, row[k]) < kSamePoint) || (k > 0 && distance(p, row[k - 1]) < kSamePoint);
      row[k] = p;
      if (again) continue;
      made.uv.push_back({us[i], vs[k]});
      made.p.push_back(p);
    }
  }
  return grids_.emplace(key, std::move(made)).first->second;
}

double Geometry::descend(const Surface& surface, const SurfaceDomain& box, const Vec3& p, Vec2& uv) {
  const auto held = [](double value, const Range& r, double period) {
    return period > 0 ? value : std::clamp(value, r.low, r.high);
  };
  Vec2 x{held(uv.u, box.u, box.period_u), held(uv.v, box.v, box.period_v)};
  SurfacePoint here = at(surface, x);
  double size = distance(p, here.p);
  double damping = 0;
  for (int step = 0; step < kMaximumDescentSteps && mayWork(); ++step) {
    const Vec3 rest = p - here.p;
    const double a = dot(here.du, here.du) * (1 + damping);
    const double c = dot(here.dv, here.dv) * (1 + damping);
    const double m = dot(here.du, here.dv);
    const double gu = dot(here.du, rest);
    const double gv = dot(here.dv, rest);
    const double alone_u = a > 0 ? gu / a : 0;
    const double alone_v = c > 0 ? gv / c : 0;
    const double det = a * c - m * m;
    const bool solvable = det > kSingularDeterminant * a * c;
    double du = solvable ? (gu * c - gv * m) / det : alone_u;
    double dv = solvable ? (gv * a - gu * m) / det : alone_v;
    // At a border that the step would cross, only the other parameter moves.
    if (du != 0 && held(x.u + du, box.u, box.period_u) == x.u) {
      du = 0;
      dv = alone_v;
    } else if (dv != 0 && held(x.v + dv, box.v, box.period_v) == x.v) {
      dv = 0;
      du = alone_u;
    }
    const Vec2 next{held(x.u + du, box.u, box.period_u), held(x.v + dv, box.v, box.period_v)};
    if (!std::isfinite(next.u) || !std::isfinite(next.v) || next == x) break;
    const SurfacePoint there = at(surface, next);
    const double next_size = distance(p, there.p);
    const double moved = std::abs(next.u - x.u) * length(here.du) + std::abs(next.v - x.v) * length(here.dv);
    if (next_size < size) {
      x = next;
      here = there;
      size = next_size;
      damping = damping > kLeastDamping ? damping / kDampingStep : 0;
    } else {
      if (damping > kMostDamping) break;
      damping = damping == 0 ? kLeastDamping : damping * kDampingStep;
    }
    if (moved < kDescentEnd + kDescentEndShare * size) break;
  }
  uv = x;
  return size;
}

std::vector<Vec2> Geometry::startsFor(const Surface& surface, const Vec3& p) {
  if (surface.kind == SurfaceKind::Offset) {
    // The foot point on the base surface is only the start value.
    Vec2 foot{};
    (void)invert(this->surface(surface.base), p, nullptr, 0, foot);
    return {foot};
  }
  const Grid& known = grid(surface);
  work(known.p.size() / kGridPointsPerEvaluation + 1);
  std::size_t nearest[kFewStarts] = {0, 0, 0};
  double sizes[kFewStarts];
  std::fill(sizes, sizes + kFewStarts, std::numeric_limits<double>::infinity());
  for (std::size_t i = 0; i < known.p.size(); ++i) {
    const Vec3 to = known.p[i] - p;
    const double size = dot(to, to);
    for (int k = 0; k < kFewStarts; ++k) {
      if (size >= sizes[k]) continue;
      for (int j = kFewStarts - 1; j > k; --j) {
        sizes[j] = sizes[j - 1];
        nearest[j] = nearest[j - 1];
      }
      sizes[k] = size;
      nearest[k] = i;
      break;
    }
  }
  std::vector<Vec2> starts;
  for (int k = 0; k < kFewStarts; ++k) {
    if (std::isfinite(sizes[k])) starts.push_back(known.uv[nearest[k]]);
  }
  return starts;
}

double Geometry::invertBySearch(const Surface& surface, const Vec3& p, const Vec2* guess, double accept,
                                Vec2& uv) {
  const SurfaceDomain box = domain(surface);
  Vec2 best = guess ? *guess : Vec2{};
  double best_size = std::numeric_limits<double>::infinity();
  if (guess) {
    best_size = descend(surface, box, p, best);
    if (best_size <= accept) {
      uv = best;
      return best_size;
    }
  }
  for (Vec2 start : startsFor(surface, p)) {
    const double size = descend(surface, box, p, start);
    if (size < best_size) {
      best_size = size;
      best = start;
    }
    if (best_size <= accept * kGoodEnoughShare) break;
  }
  uv = best;
  return best_size;
}

double Geometry::invertThoroughly(const Surface& surface, const Vec3& p, Vec2& uv) {
  if (surface.kind != SurfaceKind::BSpline && surface.kind != SurfaceKind::Offset) {
    return invert(surface, p, nullptr, 0, uv);
  }
  const SurfaceDomain box = domain(surface);
  const Grid& known = grid(surface);
  work(known.p.size() / kGridPointsPerEvaluation + 1);
  std::vector<std::size_t> order(known.p.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  const auto tried = static_cast<std::ptrdiff_t>(std::min<std::size_t>(order.size(), kManyStarts));
  std::partial_sort(order.begin(), order.begin() + tried, order.end(), [&](std::size_t a, std::size_t b) {
    return distance(known.p[a], p) < distance(known.p[b], p);
  });
  double best_size = std::numeric_limits<double>::infinity();
  for (std::ptrdiff_t i = 0; i < tried && mayWork(); ++i) {
    Vec2 found = known.uv[order[static_cast<std::size_t>(i)]];
    const double size = descend(surface, box, p, found);
    if (size >= best_size) continue;
    best_size = size;
    uv = found;
  }
  return best_size;
}

double Geometry::invertSwept(const Surface& surface, const Vec3& p, const Vec2* guess, double accept,
                             Vec2& uv) {
  const Vec3 along = normalized(surface.sweep);
  const double u = minimize(curve(surface.curve), guess ? guess->u : std::nan(""), accept, [&](double t) {
    CurvePoint r = at(curve(surface.curve), t);
    r.p = r.p - p;
    r.p = r.p - along * dot(r.p, along);
    r.d = r.d - along * dot(r.d, along);
    return r;
  });
  const Vec3 to = p - at(curve(surface.curve), u).p;
  uv = {u, dot(to, surface.sweep) / dot(surface.sweep, surface.sweep)};
  return distance(p, at(surface, uv).p);
}

double Geometry::invertSpun(const Surface& surface, const Vec3& p, const Vec2* guess, double accept,
                            Vec2& uv) {
  const Frame& f = surface.frame;
  // In the half plane of distance from the axis and height.
  const auto flat = [&](const Vec3& q, const Vec3& d) {
    const Vec3 arm = q - f.origin;
    const Vec3 out = arm - f.z * dot(arm, f.z);
    const double rho = length(out);
    CurvePoint r;
    r.p = {rho, dot(arm, f.z), 0};
    r.d = {rho > 0 ? dot(out, d) / rho : length(d - f.z * dot(d, f.z)), dot(d, f.z), 0};
    return r;
  };
  const Vec3 goal = flat(p, {}).p;
  const double u = minimize(curve(surface.curve), guess ? guess->u : std::nan(""), accept, [&](double t) {
    const CurvePoint c = at(curve(surface.curve), t);
    CurvePoint r = flat(c.p, c.d);
    r.p = r.p - goal;
    return r;
  });
  const Vec3 profile = at(curve(surface.curve), u).p;
  double v = angleOf(f, p - f.origin) - angleOf(f, profile - f.origin);
  if (goal.x < kNoLength && guess) v = guess->v;
  uv = {u, wrapNear(v, guess ? guess->v : kTurn / 2, kTurn)};
  return distance(p, at(surface, uv).p);
}

double Geometry::invertBlend(const Surface& surface, const Vec3& p, const Vec2* guess, double accept,
                             Vec2& uv) {
  const Curve& spine = curve(surface.curve);
  // The spine is about one radius away from points of the tube, so `accept` is enlarged by the radius.
  const double u = nearest(spine, p, guess ? guess->u : std::nan(""), surface.radius + accept);
  const SurfacePoint zero = at(surface, {u, 0});
  const SurfacePoint quarter = at(surface, {u, kTurn / 4});
  const Vec3 centre = zero.p + quarter.dv;  // which is -x * radius
  const Vec3 to = p - centre;
  uv = {u, portable::atan2(dot(to, zero.dv), -dot(to, quarter.dv))};
  return distance(p, at(surface, uv).p);
}

double Geometry::invert(const Surface& surface, const Vec3& p, const Vec2* guess, double accept, Vec2& uv) {
  work();
  const Frame& f = surface.frame;
  const Vec3 to = p - f.origin;
  const double h = dot(to, f.z);
  switch (surface.kind) {
    case SurfaceKind::Plane:
      uv = {dot(to, f.x), dot(to, f.y)};
      return std::abs(h);
    case SurfaceKind::Cylinder:
      uv = {angleOf(f, to), h};
      return std::abs(portable::hypot(dot(to, f.x), dot(to, f.y)) - surface.radius);
    case SurfaceKind::Cone: {
      const double rho = portable::hypot(dot(to, f.x), dot(to, f.y));
      const double c = std::abs(surface.cos_half_angle);
      const double s = surface.cos_half_angle > 0 ? surface.sin_half_angle : -surface.sin_half_angle;
      uv = {angleOf(f, to), ((rho - surface.radius) * s + h * c) * c};
      return std::abs((rho - surface.radius) * c - h * s);
    }
    case SurfaceKind::Sphere: {
      const double rho = portable::hypot(dot(to, f.x), dot(to, f.y));
      uv = {angleOf(f, to), portable::atan2(h, rho)};
      return std::abs(portable::hypot(rho, h) - surface.radius);
    }
    case SurfaceKind::Torus: {
      const double rho = portable::hypot(dot(to, f.x), dot(to, f.y));
      uv = {angleOf(f, to), portable::atan2(h, rho - surface.radius)};
      return std::abs(portable::hypot(rho - surface.radius, h) - surface.radius_2);
    }
    case SurfaceKind::BSpline:
    case SurfaceKind::Offset:
      return invertBySearch(surface, p, guess, accept, uv);
    case SurfaceKind::Swept:
      return invertSwept(surface, p, guess, accept, uv);
    case SurfaceKind::Spun:
      return invertSpun(surface, p, guess, accept, uv);
    case SurfaceKind::Blend:
      return invertBlend(surface, p, guess, accept, uv);
    case SurfaceKind::Unknown:
      break;
  }
  uv = {};
  return std::numeric_limits<double>::infinity();
}

}  // namespace jttk::brep
