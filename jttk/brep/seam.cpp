// A cut is the shortest straight segment in the parameter plane that crosses no loop. Where there is none,
// the nearest hole is joined to the lower loop first.
#include "jttk/brep/seam.h"

#include <algorithm>
#include <limits>

#include "jttk/brep/precision.h"

namespace jttk::brep {
namespace {

// Limits of the search: points of a loop that are tried, cuts tested against all loops (first, and after a
// hole became part of the seam), cuts kept per hole.
constexpr std::size_t kTriedPoints = 200;
constexpr std::size_t kSeamTests = 400;
constexpr std::size_t kSeamTestsAgain = 40;
constexpr std::size_t kCutsPerHole = 6;

// Pieces of a cut: at least so many where it comes back to its start, and at most.
constexpr int kRingPiecesOfCut = 4;
constexpr int kMaximumCutPieces = 256;
// Loops of a band may have been unwrapped up to so many periods from each other, in both directions.
constexpr int kMaximumLoopShift = 2;

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

DomainLoop SeamCutter::cutBetween(const DomainPoint& a, const DomainPoint& b) {
  // A cut that comes back to its start must not collapse to a point.
  int pieces = points_[a.id] == geometry_.at(surface_, b.uv).p || a.id == b.id ? kRingPiecesOfCut : 1;
  for (; pieces < kMaximumCutPieces; pieces *= 2) {
    bool fine = true;
    const double step = 1.0 / pieces;
    for (int i = 0; i < pieces && fine; ++i) {
      const auto p = [&](double t) { return geometry_.at(surface_, a.uv + (b.uv - a.uv) * t); };
      const SurfacePoint p0 = p(i * step);
      const SurfacePoint p1 = p((i + 1) * step);
      const SurfacePoint middle = p((i + 0.5) * step);
      const Vec3 along = normalized(p1.p - p0.p);
      const Vec3 off = middle.p - p0.p;
      fine =
          length(off - along * dot(off, along)) <= tolerances_.chord &&
          (angleBetween(cross(p0.du, p0.dv), cross(middle.du, middle.dv)) <= tolerances_.angle ||
           length(cross(p0.du, p0.dv)) < kNoLength || distance(p0.p, p1.p) <= 2 * tolerances_.minimum_edge);
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

bool SeamCutter::crossesLoop(Vec2 a, Vec2 b, const DomainLoop& loop, Vec2 by, Vec2 closing) const {
  geometry_.counter().spendSteps(loop.size());
  for (std::size_t i = 0; i < loop.size(); ++i) {
    const bool last = i + 1 == loop.size();
    const Vec2 c = loop[i].uv + by;
    const Vec2 d = loop[last ? 0 : i + 1].uv + (last ? closing : Vec2{}) + by;
    if (c == a || c == b || d == a || d == b) continue;
    if (segmentsMeet(a, b, c, d)) return true;
  }
  return false;
}

std::vector<SeamCutter::Cut> SeamCutter::cutsBetween(const DomainLoop& lower, const DomainLoop& other,
                                                     Vec2 turn, std::size_t kept) const {
  const double turn_size = turn.u * turn.u + turn.v * turn.v;
  std::vector<Cut> cuts;
  const std::size_t step_a = std::max<std::size_t>(1, lower.size() / kTriedPoints);
  const std::size_t step_b = std::max<std::size_t>(1, other.size() / kTriedPoints);
  geometry_.counter().spendSteps((lower.size() / step_a + 1) * (other.size() / step_b + 1));
  if (!geometry_.mayWork()) return cuts;
  for (std::size_t i = 0; i < lower.size(); i += step_a) {
    for (std::size_t k = 0; k < other.size(); k += step_b) {
      const Vec2 straight = other[k].uv - lower[i].uv;
      const double shift = -std::round((straight.u * turn.u + straight.v * turn.v) / turn_size);
      const Vec2 d = straight + turn * shift;
      cuts.push_back({square(d.u * scale_.u) + square(d.v * scale_.v), i, k, shift});
    }
  }
  kept = std::min(kept, cuts.size());
  std::partial_sort(cuts.begin(), cuts.begin() + static_cast<std::ptrdiff_t>(kept), cuts.end(),
                    [](const Cut& x, const Cut& y) { return x.size < y.size; });
  cuts.resize(kept);
  return cuts;
}

bool SeamCutter::isFree(Vec2 a, Vec2 b, double shift, const Band& band) const {
  const Vec2 turn = band.turn;
  for (int k = -kMaximumLoopShift; k <= kMaximumLoopShift; ++k) {
    if (!geometry_.mayWork()) return false;
    const Vec2 by = turn * k;
    if (crossesLoop(a, b, band.lower, by, turn) ||
        crossesLoop(a, b, band.upper, turn * shift + by, turn * -1)) {
      return false;
    }
    for (const DomainLoop& hole : band.holes) {
      for (int m = -kMaximumLoopShift; m <= kMaximumLoopShift; ++m) {
        const Vec2 aside = turn.u != 0 ? Vec2{0, box_.period_v * m} : Vec2{box_.period_u * m, 0};
        if (m != 0 && aside == Vec2{}) continue;
        if (crossesLoop(a, b, hole, by + aside, {})) return false;
      }
    }
  }
  return true;
}

DomainLoop SeamCutter::joinBand(DomainLoop lower, const DomainLoop& upper, Vec2 turn,
                                std::vector<DomainLoop>& holes) {
  Band band{std::move(lower), upper, turn, holes};
  std::size_t tests = kSeamTests;
  for (;;) {
    for (const Cut& cut : cutsBetween(band.lower, upper, turn, tests)) {
      const Vec2 a = band.lower[cut.a].uv;
      const Vec2 b = upper[cut.b].uv + turn * cut.shift;
      if (isFree(a, b, cut.shift, band)) return joinAt(band, cut);
    }
    if (!takeHole(band)) break;
    tests = kSeamTestsAgain;
  }
  return {};
}

bool SeamCutter::takeHole(Band& band) {
  const Vec2 turn = band.turn;
  if ((turn.u != 0 ? box_.period_v : box_.period_u) > 0) return false;
  struct Reach {
    Cut cut;
    std::size_t hole;
  };
  std::vector<Reach> reaches;
  for (std::size_t h = 0; h < band.holes.size(); ++h) {
    for (const Cut& cut : cutsBetween(band.lower, band.holes[h], turn, kCutsPerHole)) {
      reaches.push_back({cut, h});
    }
  }
  std::sort(reaches.begin(), reaches.end(),
            [](const Reach& a, const Reach& b) { return a.cut.size < b.cut.size; });
  if (reaches.size() > kSeamTests) reaches.resize(kSeamTests);
  for (const Reach& reach : reaches) {
    const Cut& cut = reach.cut;
    geometry_.counter().spendSteps(band.lower.size());
    if (!geometry_.mayWork()) return false;
    const DomainLoop hole = moved(band.holes[reach.hole], turn * cut.shift);
    if (!isFree(band.lower[cut.a].uv, hole[cut.b].uv, 0, band)) continue;
    mergeHole(band.lower, hole, cut);
    band.holes.erase(band.holes.begin() + static_cast<std::ptrdiff_t>(reach.hole));
    return true;
  }
  return false;
}

// Along a double edge: to the hole, round it, and back.
void SeamCutter::mergeHole(DomainLoop& lower, const DomainLoop& hole, const Cut& cut) {
  const auto start = lower.begin() + static_cast<std::ptrdiff_t>(cut.a);
  DomainLoop joined(lower.begin(), start + 1);
  joined.back().edge = kNoEdge;
  const DomainLoop between = cutBetween(lower[cut.a], hole[cut.b]);
  joined.insert(joined.end(), between.begin(), between.end());
  for (std::size_t i = 0; i < hole.size(); ++i) joined.push_back(hole[(cut.b + i) % hole.size()]);
  joined.push_back(hole[cut.b]);
  joined.back().edge = kNoEdge;
  joined.insert(joined.end(), between.rbegin(), between.rend());
  joined.insert(joined.end(), start, lower.end());
  lower = std::move(joined);
}

DomainLoop SeamCutter::joinAt(const Band& band, const Cut& cut) {
  const DomainLoop& lower = band.lower;
  const DomainLoop& upper = band.upper;
  const Vec2 turn = band.turn;
  DomainLoop polygon;
  for (std::size_t i = 0; i < lower.size(); ++i) {
    const std::size_t k = (cut.a + i) % lower.size();
    DomainPoint p = lower[k];
    if (cut.a + i >= lower.size()) p.uv = p.uv + turn;
    polygon.push_back(p);
  }
  DomainPoint foot = lower[cut.a];
  foot.uv = foot.uv + turn;
  foot.edge = kNoEdge;
  polygon.push_back(foot);
  DomainPoint head = upper[cut.b];
  head.uv = head.uv + turn * cut.shift;
  const DomainLoop between = cutBetween(lower[cut.a], head);
  for (DomainPoint p : between) {
    p.uv = p.uv + turn;
    polygon.push_back(p);
  }
  for (std::size_t i = 0; i < upper.size(); ++i) {
    const std::size_t k = (cut.b + i) % upper.size();
    DomainPoint p = upper[k];
    p.uv = p.uv + turn * (cut.shift + 1);
    if (cut.b + i >= upper.size()) p.uv = p.uv - turn;
    polygon.push_back(p);
  }
  head.edge = kNoEdge;
  polygon.push_back(head);
  polygon.insert(polygon.end(), between.rbegin(), between.rend());
  return polygon;
}

}  // namespace jttk::brep
