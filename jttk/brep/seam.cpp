// A cut is the shortest straight segment in the parameter plane that crosses no loop. Where there is none,
// the nearest hole is joined to the lower loop first.
#include "jttk/brep/seam.h"

#include <algorithm>
#include <limits>

namespace jttk::brep {
namespace {

// Limits of the search: points of a loop that are tried, cuts tested against all loops (first, and after a
// hole became part of the seam), cuts kept per hole.
constexpr std::size_t kTriedPoints = 200;
constexpr std::size_t kSeamTests = 400;
constexpr std::size_t kSeamTestsAgain = 40;
constexpr std::size_t kWaysPerHole = 6;

double square(double x) { return x * x; }

bool segmentsMeet(Vec2 a, Vec2 b, Vec2 c, Vec2 d) {
  const auto turn = [](Vec2 p, Vec2 q, Vec2 r) {
    return (q.u - p.u) * (r.v - p.v) - (q.v - p.v) * (r.u - p.u);
  };
  const double t1 = turn(a, b, c);
  const double t2 = turn(a, b, d);
  const double t3 = turn(c, d, a);
  const double t4 = turn(c, d, b);
  return ((t1 >= 0) != (t2 > 0)) && ((t3 >= 0) != (t4 > 0));
}

}  // namespace

DomainLoop moved(DomainLoop loop, Vec2 by) {
  for (DomainPoint& p : loop) p.uv = p.uv + by;
  return loop;
}

DomainLoop SeamCutter::cutBetween(const DomainPoint& a, const DomainPoint& b) {
  // A cut that comes back to its start must not collapse to a point.
  int pieces = points_[a.id] == geometry_.at(surface_, b.uv).p || a.id == b.id ? 4 : 1;
  for (; pieces < 256; pieces *= 2) {
    bool fine = true;
    const double step = 1.0 / pieces;
    for (int i = 0; i < pieces && fine; ++i) {
      const auto p = [&](double t) { return geometry_.at(surface_, a.uv + (b.uv - a.uv) * t); };
      const SurfacePoint p0 = p(i * step);
      const SurfacePoint p1 = p((i + 1) * step);
      const SurfacePoint middle = p((i + 0.5) * step);
      const Vec3 way = normalized(p1.p - p0.p);
      const Vec3 off = middle.p - p0.p;
      fine = length(off - way * dot(off, way)) <= tolerances_.chord &&
             (angleBetween(cross(p0.du, p0.dv), cross(middle.du, middle.dv)) <= tolerances_.angle ||
              length(cross(p0.du, p0.dv)) < 1e-12 || distance(p0.p, p1.p) <= 2 * tolerances_.minimum_edge);
    }
    if (fine) break;
  }
  DomainLoop cut;
  for (int i = 1; i < pieces; ++i) {
    const Vec2 uv = a.uv + (b.uv - a.uv) * (static_cast<double>(i) / pieces);
    cut.push_back({uv, static_cast<std::uint32_t>(points_.size()), kNoEdge});
    points_.push_back(geometry_.at(surface_, uv).p);
  }
  return cut;
}

bool SeamCutter::crossesLoop(Vec2 a, Vec2 b, const DomainLoop& loop, Vec2 by, bool open_end,
                             Vec2 turn) const {
  geometry_.counter().spendSteps(loop.size());
  for (std::size_t i = 0; i < loop.size(); ++i) {
    const bool last = i + 1 == loop.size();
    const Vec2 c = loop[i].uv + by;
    const Vec2 d = loop[last ? 0 : i + 1].uv + (last && open_end ? turn : Vec2{}) + by;
    if (c == a || c == b || d == a || d == b) continue;
    if (segmentsMeet(a, b, c, d)) return true;
  }
  return false;
}

// Straight cuts from points of `lower` to points of another loop, the shortest first.
std::vector<SeamCutter::Way> SeamCutter::waysBetween(const DomainLoop& lower, const DomainLoop& other,
                                                     Vec2 turn, std::size_t kept) const {
  const double turn_size = turn.u * turn.u + turn.v * turn.v;
  std::vector<Way> ways;
  const std::size_t step_a = std::max<std::size_t>(1, lower.size() / kTriedPoints);
  const std::size_t step_b = std::max<std::size_t>(1, other.size() / kTriedPoints);
  geometry_.counter().spendSteps((lower.size() / step_a + 1) * (other.size() / step_b + 1));
  if (!geometry_.mayWork()) return ways;
  for (std::size_t i = 0; i < lower.size(); i += step_a) {
    for (std::size_t k = 0; k < other.size(); k += step_b) {
      const Vec2 way = other[k].uv - lower[i].uv;
      const double shift = -std::round((way.u * turn.u + way.v * turn.v) / turn_size);
      const Vec2 d = way + turn * shift;
      ways.push_back({square(d.u * scale_.u) + square(d.v * scale_.v), i, k, shift});
    }
  }
  kept = std::min(kept, ways.size());
  std::partial_sort(ways.begin(), ways.begin() + static_cast<std::ptrdiff_t>(kept), ways.end(),
                    [](const Way& x, const Way& y) { return x.size < y.size; });
  ways.resize(kept);
  return ways;
}

// Whether a-b meets no loop of the band, wherever these were unwrapped.
bool SeamCutter::isFree(Vec2 a, Vec2 b, const DomainLoop& lower, const DomainLoop& upper, Vec2 turn,
                        double shift, const std::vector<DomainLoop>& holes) const {
  for (int k = -2; k <= 2; ++k) {
    if (!geometry_.mayWork()) return false;
    const Vec2 by = turn * k;
    if (crossesLoop(a, b, lower, by, true, turn) ||
        crossesLoop(a, b, upper, turn * shift + by, true, turn * -1)) {
      return false;
    }
    for (const DomainLoop& hole : holes) {
      for (int m = -2; m <= 2; ++m) {
        const Vec2 aside = turn.u != 0 ? Vec2{0, box_.period_v * m} : Vec2{box_.period_u * m, 0};
        if (m != 0 && aside == Vec2{}) continue;
        if (crossesLoop(a, b, hole, by + aside, false, turn)) return false;
      }
    }
  }
  return true;
}

DomainLoop SeamCutter::joinBand(DomainLoop lower, const DomainLoop& upper, Vec2 turn,
                                std::vector<DomainLoop>& holes) {
  std::size_t tests = kSeamTests;
  for (;;) {
    for (const Way& way : waysBetween(lower, upper, turn, tests)) {
      const Vec2 a = lower[way.a].uv;
      const Vec2 b = upper[way.b].uv + turn * way.shift;
      if (!isFree(a, b, lower, upper, turn, way.shift, holes)) continue;
      return joinAt(lower, way.a, upper, way.b, turn, way.shift);
    }
    if (!takeHole(lower, upper, turn, holes)) break;
    tests = kSeamTestsAgain;
  }
  return {};
}

// Merges the hole nearest to `lower` into it, along a double edge.
bool SeamCutter::takeHole(DomainLoop& lower, const DomainLoop& upper, Vec2 turn,
                          std::vector<DomainLoop>& holes) {
  if ((turn.u != 0 ? box_.period_v : box_.period_u) > 0) return false;
  struct Reach {
    Way way;
    std::size_t hole;
  };
  std::vector<Reach> reaches;
  for (std::size_t h = 0; h < holes.size(); ++h) {
    for (const Way& way : waysBetween(lower, holes[h], turn, kWaysPerHole)) reaches.push_back({way, h});
  }
  std::sort(reaches.begin(), reaches.end(),
            [](const Reach& a, const Reach& b) { return a.way.size < b.way.size; });
  if (reaches.size() > kSeamTests) reaches.resize(kSeamTests);
  for (const Reach& reach : reaches) {
    const Way& way = reach.way;
    geometry_.counter().spendSteps(lower.size());
    if (!geometry_.mayWork()) return false;
    const DomainLoop hole = moved(holes[reach.hole], turn * way.shift);
    if (!isFree(lower[way.a].uv, hole[way.b].uv, lower, upper, turn, 0, holes)) continue;
    DomainLoop joined(lower.begin(), lower.begin() + static_cast<std::ptrdiff_t>(way.a) + 1);
    joined.back().edge = kNoEdge;
    const DomainLoop cut = cutBetween(lower[way.a], hole[way.b]);
    joined.insert(joined.end(), cut.begin(), cut.end());
    for (std::size_t i = 0; i < hole.size(); ++i) joined.push_back(hole[(way.b + i) % hole.size()]);
    joined.push_back(hole[way.b]);
    joined.back().edge = kNoEdge;
    joined.insert(joined.end(), cut.rbegin(), cut.rend());
    joined.insert(joined.end(), lower.begin() + static_cast<std::ptrdiff_t>(way.a), lower.end());
    lower = std::move(joined);
    holes.erase(holes.begin() + static_cast<std::ptrdiff_t>(reach.hole));
    return true;
  }
  return false;
}

DomainLoop SeamCutter::joinAt(const DomainLoop& lower, std::size_t a, const DomainLoop& upper, std::size_t b,
                              Vec2 turn, double shift) {
  DomainLoop polygon;
  for (std::size_t i = 0; i < lower.size(); ++i) {
    const std::size_t k = (a + i) % lower.size();
    DomainPoint p = lower[k];
    if (a + i >= lower.size()) p.uv = p.uv + turn;
    polygon.push_back(p);
  }
  DomainPoint foot = lower[a];
  foot.uv = foot.uv + turn;
  foot.edge = kNoEdge;
  polygon.push_back(foot);
  DomainPoint head = upper[b];
  head.uv = head.uv + turn * shift;
  const DomainLoop cut = cutBetween(lower[a], head);
  for (DomainPoint p : cut) {
    p.uv = p.uv + turn;
    polygon.push_back(p);
  }
  for (std::size_t i = 0; i < upper.size(); ++i) {
    const std::size_t k = (b + i) % upper.size();
    DomainPoint p = upper[k];
    p.uv = p.uv + turn * (shift + 1);
    if (b + i >= upper.size()) p.uv = p.uv - turn;
    polygon.push_back(p);
  }
  head.edge = kNoEdge;
  polygon.push_back(head);
  polygon.insert(polygon.end(), cut.rbegin(), cut.rend());
  return polygon;
}

}  // namespace jttk::brep
