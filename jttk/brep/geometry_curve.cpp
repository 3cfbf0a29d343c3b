// Curves: closed forms, splines, and intersection curves, whose coarse chart is refined on the two surfaces
// and then interpolated.
#include <algorithm>
#include <numbers>

#include "host/portable_math.h"
#include "jttk/brep/geometry.h"

namespace jttk::brep {
namespace {

constexpr double kTurn = 2 * std::numbers::pi;
constexpr std::size_t kMaximumFinePoints = 8192;
constexpr int kMaximumSteps = 30;

bool isClosedSpline(const CurveSpline& spline) {
  const double low = spline.knots[static_cast<std::size_t>(spline.degree)];
  const double high = spline.knots[static_cast<std::size_t>(spline.point_count)];
  const Vec3 a = evaluateSpline(spline, low).p;
  const Vec3 b = evaluateSpline(spline, high).p;
  const Vec3 middle = evaluateSpline(spline, (low + high) / 2).p;
  return distance(a, b) <= 1e-9 + 1e-9 * distance(a, middle) && distance(a, middle) > 1e-9;
}

std::vector<double> distinctKnots(const std::vector<double>& knots, int degree, int point_count) {
  std::vector<double> distinct(knots.begin() + degree, knots.begin() + point_count + 1);
  distinct.erase(std::unique(distinct.begin(), distinct.end()), distinct.end());
  return distinct;
}

// Between two points with derivatives, s from 0 to 1 over `width` of the parameter.
CurvePoint hermite(const Vec3& p0, const Vec3& d0, const Vec3& p1, const Vec3& d1, double s, double width) {
  const double s2 = s * s;
  const double s3 = s2 * s;
  CurvePoint at;
  at.p = p0 * (2 * s3 - 3 * s2 + 1) + d0 * ((s3 - 2 * s2 + s) * width) + p1 * (3 * s2 - 2 * s3) +
         d1 * ((s3 - s2) * width);
  at.d = (p0 * (6 * s2 - 6 * s) + p1 * (6 * s - 6 * s2)) * (1 / width) + d0 * (3 * s2 - 4 * s + 1) +
         d1 * (3 * s2 - 2 * s);
  return at;
}

}  // namespace

double wrapNear(double value, double near, double period) {
  return period > 0 ? value - period * std::round((value - near) / period) : value;
}

CurvePoint Geometry::at(const Curve& curve, double t) {
  work();
  const Frame& f = curve.frame;
  switch (curve.kind) {
    case CurveKind::Line:
      return {f.origin + f.z * t, f.z};
    case CurveKind::Circle:
    case CurveKind::Ellipse: {
      const double c = portable::cos(t);
      const double s = portable::sin(t);
      return {f.origin + f.x * (curve.radius * c) + f.y * (curve.radius_2 * s),
              f.x * (-curve.radius * s) + f.y * (curve.radius_2 * c)};
    }
    case CurveKind::BSpline: {
      const double span = period(curve);
      if (span > 0) {
        const double low = range(curve).low;
        t -= span * std::floor((t - low) / span);
      }
      return evaluateSpline(spline(curve), t);
    }
    case CurveKind::OnSurface: {
      const CurvePoint uv = evaluateSpline(spline(curve), t);
      const SurfacePoint on = at(surface(curve.surfaces[0]), {uv.p.x, uv.p.y});
      return {on.p, on.du * uv.d.x + on.dv * uv.d.y};
    }
    case CurveKind::Trimmed:
      return at(this->curve(curve.basis), t);
    case CurveKind::Intersection: {
      const FineCurve& points = fine(curve);
      if (curve.closed) t = t - points.t.back() * std::floor(t / points.t.back());
      // Straight on beyond the ends.
      if (t <= points.t.front()) return {points.p.front() + points.d.front() * t, points.d.front()};
      if (t >= points.t.back()) {
        return {points.p.back() + points.d.back() * (t - points.t.back()), points.d.back()};
      }
      const auto above = std::upper_bound(points.t.begin(), points.t.end(), t);
      const auto i = static_cast<std::size_t>(above - points.t.begin()) - 1;
      const double width = points.t[i + 1] - points.t[i];
      return hermite(points.p[i], points.d[i], points.p[i + 1], points.d[i + 1], (t - points.t[i]) / width,
                     width);
    }
    case CurveKind::Unknown:
      break;
  }
  return {};
}

Range Geometry::range(const Curve& curve) {
  switch (curve.kind) {
    case CurveKind::Circle:
    case CurveKind::Ellipse:
      return {0, kTurn};
    case CurveKind::BSpline:
    case CurveKind::OnSurface: {
      const CurveSpline& s = spline(curve);
      return {s.knots[static_cast<std::size_t>(s.degree)], s.knots[static_cast<std::size_t>(s.point_count)]};
    }
    case CurveKind::Trimmed:
      return {std::min(curve.parameters[0], curve.parameters[1]),
              std::max(curve.parameters[0], curve.parameters[1])};
    case CurveKind::Intersection:
      return {0, static_cast<double>(curve.chart.size() - 1)};
    default:
      return {};
  }
}

double Geometry::period(const Curve& curve) {
  switch (curve.kind) {
    case CurveKind::Circle:
    case CurveKind::Ellipse:
      return kTurn;
    case CurveKind::BSpline: {
      closed_splines_.resize(bodies_.curve_splines.size(), kNone);
      std::int32_t& closed = closed_splines_[static_cast<std::size_t>(curve.spline)];
      if (closed == kNone) closed = isClosedSpline(spline(curve)) ? 1 : 0;
      return closed == 1 ? range(curve).size() : 0;
    }
    case CurveKind::Intersection:
      return curve.closed ? range(curve).size() : 0;
    default:
      return 0;
  }
}

std::vector<double> Geometry::breaks(const Curve& curve) {
  switch (curve.kind) {
    case CurveKind::BSpline:
    case CurveKind::OnSurface: {
      const CurveSpline& s = spline(curve);
      return distinctKnots(s.knots, s.degree, s.point_count);
    }
    case CurveKind::Intersection:
      return fine(curve).t;
    case CurveKind::Trimmed: {
      const Range limits = range(curve);
      std::vector<double> inside{limits.low};
      for (const double t : breaks(this->curve(curve.basis))) {
        if (t > limits.low && t < limits.high) inside.push_back(t);
      }
      inside.push_back(limits.high);
      return inside;
    }
    default: {
      const Range limits = range(curve);
      std::vector<double> even;
      for (int i = 0; i <= 8 && limits.bounded(); ++i) even.push_back(limits.low + limits.size() * i / 8);
      return even;
    }
  }
}

double Geometry::minimize(const Curve& curve, double guess, double accept,
                          const std::function<CurvePoint(double)>& residual) {
  const Range limits = range(curve);
  const bool wraps = period(curve) > 0;
  double best = 0;
  double best_size = std::numeric_limits<double>::infinity();
  const auto held = [&](double t) {
    const bool clamps = !wraps && limits.bounded() && curve.kind != CurveKind::Intersection;
    return clamps ? std::clamp(t, limits.low, limits.high) : t;
  };
  // The residual is across the curve where its product with the derivative is 0. The slope of that product:
  // at first as if the curve were straight, then from the last two places.
  const auto descendFrom = [&](double t) {
    double last_t = t;
    double last_g = 0;
    for (int step = 0; step < kMaximumSteps && mayWork(); ++step) {
      const CurvePoint r = residual(t);
      const double size = length(r.p);
      const double straight = dot(r.d, r.d);
      const double g = dot(r.p, r.d);
      if (!(straight > 0) || !std::isfinite(g)) return;
      if (size <= best_size * (1 + 1e-14)) {
        best_size = std::min(size, best_size);
        best = t;
      }
      double slope = straight;
      if (step > 0 && t != last_t) {
        const double secant = (g - last_g) / (t - last_t);
        if (secant > 0.05 * straight && secant < 20 * straight) slope = secant;
      }
      const double next = held(t - g / slope);
      if (!std::isfinite(next)) return;
      last_t = t;
      last_g = g;
      t = next;
      if (std::abs(t - last_t) <= 1e-15 * (1 + std::abs(t))) return;
    }
  };
  if (std::isfinite(guess)) {
    descendFrom(guess);
    if (best_size <= accept) return best;
  }
  if (!limits.bounded()) {
    descendFrom(0);
    return best;
  }
  // The best starts among a few per smooth piece.
  const std::vector<double> places = breaks(curve);
  const int per_piece = curve.kind == CurveKind::Intersection ? 1 : 4;
  struct Start {
    double size;
    double t;
  };
  std::vector<Start> starts;
  for (std::size_t i = 0; i + 1 < places.size(); ++i) {
    for (int k = 0; k < per_piece; ++k) {
      const double t = places[i] + (places[i + 1] - places[i]) * k / per_piece;
      starts.push_back({length(residual(t).p), t});
    }
  }
  starts.push_back({length(residual(places.back()).p), places.back()});
  const std::size_t tried = std::min<std::size_t>(3, starts.size());
  std::partial_sort(starts.begin(), starts.begin() + static_cast<std::ptrdiff_t>(tried), starts.end(),
                    [](const Start& a, const Start& b) { return a.size < b.size; });
  for (std::size_t i = 0; i < tried; ++i) {
    descendFrom(starts[i].t);
    if (best_size <= accept * 1e-3) break;
  }
  return best;
}

double Geometry::nearest(const Curve& curve, const Vec3& p, double guess, double accept) {
  const Frame& f = curve.frame;
  if (curve.kind == CurveKind::Line) return dot(p - f.origin, f.z);
  if (curve.kind == CurveKind::Circle) return portable::atan2(dot(p - f.origin, f.y), dot(p - f.origin, f.x));
  if (curve.kind == CurveKind::Trimmed) return nearest(this->curve(curve.basis), p, guess, accept);
  return minimize(curve, guess, accept, [&](double t) {
    CurvePoint r = at(curve, t);
    r.p = r.p - p;
    return r;
  });
}

const FineCurve& Geometry::fine(const Curve& curve) {
  const auto known = fine_.find(&curve);
  if (known != fine_.end()) return known->second;
  FineCurve made = makeFine(curve);
  return fine_.emplace(&curve, std::move(made)).first->second;
}

// Derivatives by the parameter from a parabola through three neighbours; where the tangent is known, along
// it.
void Geometry::findSlopes(FineCurve& made, const std::vector<Vec3>& tangents, bool closed) {
  const std::size_t n = made.p.size();
  made.d.resize(n);
  const auto slope = [&](std::size_t a, std::size_t b) {
    return (made.p[b] - made.p[a]) * (1 / (made.t[b] - made.t[a]));
  };
  for (std::size_t i = 0; i < n; ++i) {
    if (n == 2) {
      made.d[i] = slope(0, 1);
      continue;
    }
    const std::size_t middle = std::clamp<std::size_t>(i, 1, n - 2);
    const Vec3 before = slope(middle - 1, middle);
    const Vec3 after = slope(middle, middle + 1);
    const double left = made.t[middle] - made.t[middle - 1];
    const double right = made.t[middle + 1] - made.t[middle];
    const Vec3 bend = (after - before) * (1 / (left + right));
    made.d[i] = before + bend * (left + 2 * (made.t[i] - made.t[middle]));
  }
  if (closed && n > 2) {
    const double left = made.t[n - 1] - made.t[n - 2];
    const double right = made.t[1] - made.t[0];
    const Vec3 before = slope(n - 2, n - 1);
    const Vec3 after = slope(0, 1);
    made.d[0] = made.d[n - 1] = before + (after - before) * (left / (left + right));
  }
  for (std::size_t i = 0; i < n; ++i) {
    const double along = dot(made.d[i], tangents[i]);
    if (std::abs(along) > 0.9 * length(made.d[i])) made.d[i] = tangents[i] * along;
  }
}

// Halves the pieces of the chart until the cubic through two points meets the curve's own middle.
void Geometry::refine(const Curve& curve, FineCurve& made) {
  Crossing crossing;
  for (int side = 0; side < 2; ++side) {
    if (curve.surfaces[side] == kNone) return;  // the chart is all there is
    crossing.surfaces[side] = &surface(curve.surfaces[side]);
    if (crossing.surfaces[side]->kind == SurfaceKind::Unknown) return;
  }
  const auto tangentAt = [&](const Vec3& x) {
    Vec3 foot;
    Vec3 normal[2];
    for (int side = 0; side < 2; ++side) {
      if (!footOn(crossing, side, x, foot, normal[side])) return Vec3{};
    }
    const Vec3 along = cross(normal[0], normal[1]);
    return length(along) > 0.02 ? normalized(along) : Vec3{};
  };
  std::vector<Vec3> tangents;
  for (const Vec3& p : made.p) tangents.push_back(tangentAt(p));
  std::vector<bool> done(made.p.size(), false);  // the piece behind the point
  for (int round = 0; round < 12; ++round) {
    findSlopes(made, tangents, curve.closed);
    FineCurve next;
    std::vector<Vec3> next_tangents;
    std::vector<bool> next_done;
    bool changed = false;
    for (std::size_t i = 0; i < made.p.size(); ++i) {
      next.t.push_back(made.t[i]);
      next.p.push_back(made.p[i]);
      next_tangents.push_back(tangents[i]);
      next_done.push_back(true);
      if (i + 1 == made.p.size() || done[i]) continue;
      if (made.p.size() + next.p.size() > kMaximumFinePoints || !mayWork()) continue;
      const Vec3 chord = made.p[i + 1] - made.p[i];
      const double size = length(chord);
      if (!(size > 1e-9)) continue;
      Vec3 middle = (made.p[i] + made.p[i + 1]) * 0.5;
      const bool touching = tangents[i] == Vec3{} && tangents[i + 1] == Vec3{};
      if (!relax(crossing, middle, chord * (1 / size), 0.5 * size, touching)) continue;
      const double width = made.t[i + 1] - made.t[i];
      const Vec3 off = hermite(made.p[i], made.d[i], made.p[i + 1], made.d[i + 1], 0.5, width).p - middle;
      if (length(off - chord * (dot(off, chord) / (size * size))) <= precision_ && round > 0) continue;
      next_done.back() = false;
      next.t.push_back((made.t[i] + made.t[i + 1]) / 2);
      next.p.push_back(middle);
      next_tangents.push_back(tangentAt(middle));
      next_done.push_back(false);
      changed = true;
    }
    made.t.swap(next.t);
    made.p.swap(next.p);
    tangents.swap(next_tangents);
    done.swap(next_done);
    if (!changed) break;
  }
  findSlopes(made, tangents, curve.closed);
}

FineCurve Geometry::makeFine(const Curve& curve) {
  FineCurve made;
  for (std::size_t i = 0; i < curve.chart.size(); ++i) made.t.push_back(static_cast<double>(i));
  made.p = curve.chart;
  refine(curve, made);
  const std::size_t n = made.p.size();
  if (made.d.size() != n) findSlopes(made, std::vector<Vec3>(n), curve.closed);
  made.across.resize(n);
  made.across[0] = anyAcross(made.d[0]);
  for (std::size_t i = 1; i < n; ++i) {
    const Vec3 along = normalized(made.d[i]);
    const Vec3 side = made.across[i - 1] - along * dot(made.across[i - 1], along);
    made.across[i] = length(side) > 1e-9 ? normalized(side) : anyAcross(along);
  }
  if (curve.closed && n > 2) {
    // The frame comes back turned; the turn is spread over the curve.
    const Vec3 along = normalized(made.d[0]);
    const Vec3 last = made.across[n - 1];
    const double turn = portable::atan2(dot(cross(last, made.across[0]), along), dot(last, made.across[0]));
    for (std::size_t i = 0; i < n; ++i) {
      const double a = turn * made.t[i] / made.t[n - 1];
      const Vec3 axis = normalized(made.d[i]);
      made.across[i] = made.across[i] * portable::cos(a) + cross(axis, made.across[i]) * portable::sin(a);
    }
  }
  return made;
}

bool Geometry::footOn(Crossing& crossing, int side, const Vec3& x, Vec3& foot, Vec3& normal) {
  const Surface& on = *crossing.surfaces[side];
  Vec2& guess = crossing.guesses[side];
  Vec2 uv = guess;
  (void)invert(on, x, crossing.has_guess[side] ? &guess : nullptr, 1e-3, uv);
  guess = uv;
  crossing.has_guess[side] = true;
  const SurfacePoint found = at(on, uv);
  foot = found.p;
  normal = normalized(cross(found.du, found.dv));
  return isFinite(foot) && !(normal == Vec3{});
}

bool Geometry::touches(Crossing& crossing, const Vec3& x) {
  Vec3 foot;
  Vec3 normal[2];
  for (int side = 0; side < 2; ++side) {
    if (!footOn(crossing, side, x, foot, normal[side])) return false;
  }
  return length(cross(normal[0], normal[1])) < 0.03;
}

// Along the first surface, across the direction, to where both normals agree about the direction.
bool Geometry::relaxTouching(Crossing& crossing, Vec3& x, const Vec3& direction, double reach) {
  Vec3 start;
  Vec3 normal[2];
  Vec3 foot;
  if (!footOn(crossing, 0, x, start, normal[0])) return false;
  const Vec3 aside = normalized(cross(direction, normal[0]));
  const auto tilt = [&](double s, Vec3& place, double& value) {
    if (!footOn(crossing, 0, start + aside * s, place, normal[0])) return false;
    if (!footOn(crossing, 1, place, foot, normal[1])) return false;
    if (dot(normal[0], normal[1]) < 0) normal[1] = -normal[1];
    value = dot(cross(normal[0], normal[1]), direction);
    return true;
  };
  double s0 = 0;
  double s1 = 0.02 * reach;
  double g0 = 0;
  double g1 = 0;
  Vec3 place;
  if (!tilt(s0, place, g0) || !tilt(s1, place, g1)) return false;
  for (int step = 0; step < 12 && mayWork(); ++step) {
    const double slope = (g1 - g0) / (s1 - s0);
    // Surfaces that are as good as one: stay.
    if (!std::isfinite(slope) || std::abs(slope) * reach < 1e-6) break;
    const double next = std::clamp(s1 - g1 / slope, -reach, reach);
    s0 = s1;
    g0 = g1;
    s1 = next;
    if (!tilt(s1, place, g1)) return false;
    if (std::abs(s1 - s0) < 1e-12 + 1e-9 * reach) break;
  }
  x = place;
  return std::abs(s1) < reach;
}

bool Geometry::relax(Crossing& crossing, Vec3& x, const Vec3& direction, double reach, bool touching) {
  if (touching) return relaxTouching(crossing, x, direction, reach);
  const Vec3 start = x;
  for (int step = 0; step < 12 && mayWork(); ++step) {
    Vec3 normal[2];
    double off[2];
    for (int side = 0; side < 2; ++side) {
      Vec3 foot;
      if (!footOn(crossing, side, x, foot, normal[side])) return false;
      off[side] = dot(foot - x, normal[side]);
    }
    // Three planes: both tangent planes and the one across the direction.
    const double ahead = dot(start - x, direction);
    const Vec3 n01 = cross(normal[0], normal[1]);
    const double volume = dot(n01, direction);
    if (std::abs(volume) < 1e-4) {
      // As good as tangent: go to the first and leave it at that.
      x += normal[0] * off[0];
      return isFinite(x) && distance(x, start) < reach;
    }
    const Vec3 move =
        (cross(normal[1], direction) * off[0] + cross(direction, normal[0]) * off[1] + n01 * ahead) *
        (1 / volume);
    x += move;
    if (!isFinite(x) || distance(x, start) > 2 * reach) return false;
    if (length(move) < 1e-12 + 1e-9 * distance(x, start)) break;
  }
  return distance(x, start) < reach;
}

}  // namespace jttk::brep
