// Intersection curves: their coarse chart is refined on the two surfaces until a cubic between neighbouring
// points follows the curve, which is found by moving points onto both surfaces.
#include <algorithm>

#include "host/portable_math.h"
#include "jttk/brep/geometry.h"
#include "jttk/brep/precision.h"

namespace jttk::brep {
namespace {

// Of a chart that is made finer. Bounds memory and work where the surfaces do not let it fit.
constexpr std::size_t kMaximumFinePoints = 8192;
// How often all pieces of a chart may be halved, and steps of moving one point onto both surfaces.
constexpr int kMaximumHalvings = 12;
constexpr int kMaximumMoves = 12;
// A derivative keeps to the known tangent where their cosine is above this; else the chart makes a corner
// there.
constexpr double kAlongTangent = 0.9;
// Distance, in metres, at which the last foot on a surface is a good start for the next.
constexpr double kNearFoot = 1e-3;
// First step of the secant method for surfaces that touch, in shares of its reach; and the change of the tilt
// of the normals (a sine) over the reach below which both surfaces practically coincide.
constexpr double kFirstTouchStep = 0.02;
constexpr double kNoTilt = 1e-6;

}  // namespace

CurvePoint hermite(const CurvePoint& from, const CurvePoint& to, double s, double width) {
  const double s2 = s * s;
  const double s3 = s2 * s;
  CurvePoint at;
  at.p = from.p * (2 * s3 - 3 * s2 + 1) + from.d * ((s3 - 2 * s2 + s) * width) + to.p * (3 * s2 - 2 * s3) +
         to.d * ((s3 - s2) * width);
  at.d = (from.p * (6 * s2 - 6 * s) + to.p * (6 * s - 6 * s2)) * (1 / width) + from.d * (3 * s2 - 4 * s + 1) +
         to.d * (3 * s2 - 2 * s);
  return at;
}

const FineCurve& Geometry::fine(const Curve& curve) {
  const auto known = fine_.find(&curve);
  if (known != fine_.end()) return known->second;
  FineCurve made = makeFine(curve);
  return fine_.emplace(&curve, std::move(made)).first->second;
}

// Derivatives by the parameter from a parabola through three neighbours (Bessel's: C. de Boor, A Practical
// Guide to Splines, 1978, chapter 4); where the tangent is known, along it.
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
    if (std::abs(along) > kAlongTangent * length(made.d[i])) made.d[i] = tangents[i] * along;
  }
}

void Geometry::Refining::add(double t, const Vec3& p, const Vec3& tangent, bool is_done) {
  curve.t.push_back(t);
  curve.p.push_back(p);
  tangents.push_back(tangent);
  done.push_back(is_done);
}

Vec3 Geometry::tangentAt(Crossing& crossing, const Vec3& x) {
  Vec3 foot;
  Vec3 normal[2];
  for (int side = 0; side < 2; ++side) {
    if (!footOn(crossing, side, x, foot, normal[side])) return Vec3{};
  }
  const Vec3 along = cross(normal[0], normal[1]);
  return length(along) > kCrossingSine ? normalized(along) : Vec3{};
}

std::optional<Vec3> Geometry::missedMiddle(Crossing& crossing, const Refining& made, std::size_t i,
                                           bool always) {
  const FineCurve& c = made.curve;
  const Vec3 chord = c.p[i + 1] - c.p[i];
  const double size = length(chord);
  if (!(size > kSamePoint)) return std::nullopt;
  Vec3 middle = (c.p[i] + c.p[i + 1]) * 0.5;
  const bool touching = made.tangents[i] == Vec3{} && made.tangents[i + 1] == Vec3{};
  if (!relax(crossing, middle, chord * (1 / size), 0.5 * size, touching)) return std::nullopt;
  const double width = c.t[i + 1] - c.t[i];
  const Vec3 off = hermite({c.p[i], c.d[i]}, {c.p[i + 1], c.d[i + 1]}, 0.5, width).p - middle;
  if (length(off - chord * (dot(off, chord) / (size * size))) <= precision_ && !always) return std::nullopt;
  return middle;
}

// Halves the pieces of the chart until the cubic through two points meets the curve's own middle.
void Geometry::refine(const Curve& curve, FineCurve& made) {
  Crossing crossing;
  for (int side = 0; side < 2; ++side) {
    if (curve.surfaces[side] == kNoIndex) return;  // the chart is all there is
    crossing.surfaces[side] = &surface(curve.surfaces[side]);
    if (crossing.surfaces[side]->kind == SurfaceKind::Unknown) return;
  }
  Refining now;
  now.curve = std::move(made);
  for (const Vec3& p : now.curve.p) now.tangents.push_back(tangentAt(crossing, p));
  now.done.resize(now.curve.p.size(), false);
  for (int round = 0; round < kMaximumHalvings; ++round) {
    findSlopes(now.curve, now.tangents, curve.closed);
    const std::size_t count = now.curve.p.size();
    Refining next;
    bool changed = false;
    for (std::size_t i = 0; i < count; ++i) {
      next.add(now.curve.t[i], now.curve.p[i], now.tangents[i], true);
      if (i + 1 == count || now.done[i]) continue;
      if (count + next.curve.p.size() > kMaximumFinePoints || !mayWork()) continue;
      const std::optional<Vec3> middle = missedMiddle(crossing, now, i, round == 0);
      if (!middle) continue;
      next.done.back() = false;
      next.add((now.curve.t[i] + now.curve.t[i + 1]) / 2, *middle, tangentAt(crossing, *middle), false);
      changed = true;
    }
    now = std::move(next);
    if (!changed) break;
  }
  findSlopes(now.curve, now.tangents, curve.closed);
  made = std::move(now.curve);
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
    made.across[i] = length(side) > kNoAcross ? normalized(side) : anyAcross(along);
  }
  if (curve.closed && n > 2) {
    // After one lap the vectors are rotated against the first ones; the angle is distributed along the curve.
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
  (void)invert(on, x, crossing.has_guess[side] ? &guess : nullptr, kNearFoot, uv);
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
  return length(cross(normal[0], normal[1])) < kTangentSine;
}

// For tangent surfaces: moves along the first surface, normal to `direction`, until neither normal is tilted
// about `direction` against the other.
bool Geometry::relaxTouching(Crossing& crossing, Vec3& x, const Vec3& direction, double reach) {
  Vec3 start;
  Vec3 normal[2];
  Vec3 foot;
  if (!footOn(crossing, 0, x, start, normal[0])) return false;
  const Vec3 aside = normalized(cross(direction, normal[0]));
  const auto tilt = [&](double s, Vec3& point, double& value) {
    if (!footOn(crossing, 0, start + aside * s, point, normal[0])) return false;
    if (!footOn(crossing, 1, point, foot, normal[1])) return false;
    if (dot(normal[0], normal[1]) < 0) normal[1] = -normal[1];
    value = dot(cross(normal[0], normal[1]), direction);
    return true;
  };
  double s0 = 0;
  double s1 = kFirstTouchStep * reach;
  double g0 = 0;
  double g1 = 0;
  Vec3 point;
  if (!tilt(s0, point, g0) || !tilt(s1, point, g1)) return false;
  for (int step = 0; step < kMaximumMoves && mayWork(); ++step) {
    const double slope = (g1 - g0) / (s1 - s0);
    // The surfaces practically coincide: stop here.
    if (!std::isfinite(slope) || std::abs(slope) * reach < kNoTilt) break;
    const double next = std::clamp(s1 - g1 / slope, -reach, reach);
    s0 = s1;
    g0 = g1;
    s1 = next;
    if (!tilt(s1, point, g1)) return false;
    if (std::abs(s1 - s0) < kNoLength + kPointSettledShare * reach) break;
  }
  x = point;
  return std::abs(s1) < reach;
}

bool Geometry::relax(Crossing& crossing, Vec3& x, const Vec3& direction, double reach, bool touching) {
  if (touching) return relaxTouching(crossing, x, direction, reach);
  const Vec3 start = x;
  for (int step = 0; step < kMaximumMoves && mayWork(); ++step) {
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
    if (std::abs(volume) < kFlatVolume) {
      // Nearly tangent: move to the first surface only.
      x += normal[0] * off[0];
      return isFinite(x) && distance(x, start) < reach;
    }
    const Vec3 move =
        (cross(normal[1], direction) * off[0] + cross(direction, normal[0]) * off[1] + n01 * ahead) *
        (1 / volume);
    x += move;
    if (!isFinite(x) || distance(x, start) > 2 * reach) return false;
    if (length(move) < kNoLength + kPointSettledShare * distance(x, start)) break;
  }
  return distance(x, start) < reach;
}

}  // namespace jttk::brep
