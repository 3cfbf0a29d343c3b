// Points are inverted one by one; each is shifted by whole periods to be near its predecessor. A pole on a
// loop becomes two points, whose free coordinates are those of the predecessor and of the successor.
#include "jttk/brep/unwrap.h"

#include <algorithm>
#include <cmath>

#include "jttk/brep/precision.h"

namespace jttk::brep {
namespace {

// A boundary point further from the surface than this many chord tolerances is damage.
constexpr double kMaximumGap = 20;
constexpr std::size_t kMaximumPoleCopies = 256;
// Points beside a pole that are compared with it, in shares of the parameter's range.
constexpr double kPoleShares[] = {-0.15, -0.05, 0.05, 0.15};
// Which of both directions a step has gone is open if it is longer than this share of the period. Half a
// period would be the limit on a circle; surfaces turn unevenly.
constexpr double kSureStep = 0.3;
// Other axes of a sphere must keep loops from the pole by this much more, in the cosine.
constexpr double kBetterReach = 1e-9;

}  // namespace

int LoopUnwrapper::singularIn(Vec2 uv) {
  const Surface& s = surface_;
  if (s.kind == SurfaceKind::Plane || s.kind == SurfaceKind::Cylinder || s.kind == SurfaceKind::Swept ||
      s.kind == SurfaceKind::Blend) {
    return 0;
  }
  const SurfacePoint here = geometry_.at(s, uv);
  const auto stays = [&](bool in_u) {
    const Range& range = in_u ? box_.u : box_.v;
    if (!range.bounded() || length(in_u ? here.du : here.dv) * range.size() > kPoleReach) return false;
    const bool wraps = (in_u ? box_.period_u : box_.period_v) > 0;
    for (const double share : kPoleShares) {
      Vec2 other = uv;
      double& x = in_u ? other.u : other.v;
      x += share * range.size();
      if (!wraps) x = std::clamp(x, range.low, range.high);
      if (distance(geometry_.at(s, other).p, here.p) > kPoleSize) return false;
    }
    return true;
  };
  return stays(true) ? 1 : stays(false) ? 2 : 0;
}

// The edge's stated tolerance, or that of its vertices if larger.
double LoopUnwrapper::toleranceOf(std::uint32_t number) const {
  if (number == kNoEdge) return 0;
  const Bodies& bodies = geometry_.bodies();
  const Edge& edge = bodies.edges[number];
  double allowed = edge.tolerance;
  for (const std::int32_t v : {edge.start, edge.end}) {
    if (v != kNoIndex) allowed = std::max(allowed, bodies.vertices[static_cast<std::size_t>(v)].tolerance);
  }
  return allowed;
}

Result<std::vector<LoopUnwrapper::Entry>> LoopUnwrapper::invertAll(const std::vector<LoopPoint>& loop) {
  std::vector<Entry> entries;
  const double accept = std::max(kSamePoint, tolerances_.chord * kPrecisionShare);
  const Vec2* guess = nullptr;
  Vec2 last;
  for (const LoopPoint& p : loop) {
    Entry entry;
    entry.at = p;
    if (const auto known = known_.find(p.id); known != known_.end()) {
      entry.uv = known->second;
    } else {
      // Within the stated tolerance the first result is good enough.
      const double tolerance = toleranceOf(p.edge);
      const double limit = kMaximumGap * tolerances_.chord + 2 * tolerance;
      const double enough = std::max(accept, std::min(2 * tolerance, tolerances_.chord));
      double gap = geometry_.invert(surface_, points_[p.id], guess, enough, entry.uv);
      if (!(gap <= limit)) gap = geometry_.invertThoroughly(surface_, points_[p.id], entry.uv);
      if (!(gap <= limit)) return fail("an edge that does not lie on its surface");
      known_.emplace(p.id, entry.uv);
    }
    entry.singular = singularIn(entry.uv);
    if (entry.singular == 0) {
      last = entry.uv;
      guess = &last;
    }
    entries.push_back(entry);
  }
  return entries;
}

double LoopUnwrapper::stepTo(bool in_u, const DomainPoint& from, const DomainPoint& to) {
  const double period = in_u ? box_.period_u : box_.period_v;
  const double start = in_u ? from.uv.u : from.uv.v;
  const double end = in_u ? to.uv.u : to.uv.v;
  if (!(period > 0)) return end;
  double next = wrapNear(end, start, period);
  if (std::abs(next - start) > kSureStep * period) {
    // Invert the chord's midpoint to decide the direction.
    Vec2 middle;
    (void)geometry_.invert(surface_, (points_[from.id] + points_[to.id]) * 0.5, nullptr, 0, middle);
    next = wrapNear(end, wrapNear(in_u ? middle.u : middle.v, start, period), period);
  }
  return next;
}

DomainPoint LoopUnwrapper::follow(const std::vector<Entry>& entries, const Entry& regular,
                                  DomainLoop& points) {
  DomainPoint last{regular.uv, regular.at.id, kNoEdge};
  bool after_pole = true;
  std::vector<std::size_t> open;  // copies of poles that wait for the coordinate of the next point
  for (const Entry& entry : entries) {
    if (entry.singular != 0) {
      // One copy for the piece that leads to the pole, one for the piece that leads away.
      Vec2 uv = entry.uv;
      (entry.singular == 1 ? uv.u : uv.v) = entry.singular == 1 ? last.uv.u : last.uv.v;
      points.push_back({uv, entry.at.id, kNoEdge});
      open.push_back(points.size());
      points.push_back({uv, entry.at.id, entry.at.edge});
      after_pole = true;
      continue;
    }
    DomainPoint here{entry.uv, entry.at.id, entry.at.edge};
    if (after_pole) {
      here.uv = {wrapNear(entry.uv.u, last.uv.u, box_.period_u),
                 wrapNear(entry.uv.v, last.uv.v, box_.period_v)};
    } else {
      const double u = stepTo(true, last, here);
      here.uv = {u, stepTo(false, last, here)};
    }
    for (const std::size_t i : open) {
      // Sets the free coordinate of the pole's second copy; singularIn tells which one that is.
      DomainPoint& p = points[i];
      if (singularIn(p.uv) == 1) {
        p.uv.u = here.uv.u;
      } else {
        p.uv.v = here.uv.v;
      }
    }
    open.clear();
    points.push_back(here);
    last = here;
    after_pole = false;
  }
  return last;
}

Result<Unwrapped> LoopUnwrapper::unwrap(const std::vector<LoopPoint>& loop) {
  Unwrapped made;
  Result<std::vector<Entry>> inverted = invertAll(loop);
  if (!inverted) return passOn(inverted);
  std::vector<Entry>& entries = *inverted;
  const auto pole =
      std::find_if(entries.begin(), entries.end(), [](const Entry& e) { return e.singular != 0; });
  const bool has_pole = pole != entries.end();
  if (has_pole) std::rotate(entries.begin(), pole, entries.end());
  const auto regular =
      std::find_if(entries.begin(), entries.end(), [](const Entry& e) { return e.singular == 0; });
  if (regular == entries.end()) return fail("a loop of poles only");
  const DomainPoint last = follow(entries, *regular, made.points);
  if (has_pole) {
    // The first copy belongs to the last piece of the loop.
    DomainPoint& first = made.points.front();
    (entries.front().singular == 1 ? first.uv.u : first.uv.v) =
        entries.front().singular == 1 ? last.uv.u : last.uv.v;
    return made;
  }
  const DomainPoint start = made.points.front();
  const double end_u = stepTo(true, last, start);
  const double end_v = stepTo(false, last, start);
  if (box_.period_u > 0) made.turns_u = static_cast<int>(std::lround((end_u - start.uv.u) / box_.period_u));
  if (box_.period_v > 0) made.turns_v = static_cast<int>(std::lround((end_v - start.uv.v) / box_.period_v));
  return made;
}

void fillPoles(Unwrapped& loop, WorkCounter& work) {
  const std::size_t pieces = std::min(loop.points.size(), kMaximumPoleCopies);
  DomainLoop filled;
  for (std::size_t i = 0; i < loop.points.size(); ++i) {
    const DomainPoint& from = loop.points[i];
    filled.push_back(from);
    if (i + 1 == loop.points.size() || loop.points[i + 1].id != from.id || from.edge != kNoEdge) continue;
    const Vec2 step = loop.points[i + 1].uv - from.uv;
    if (step == Vec2{}) continue;
    work.spendEvaluations(pieces);
    if (!work.mayWork()) return;
    for (std::size_t k = 1; k < pieces; ++k) {
      const double share = static_cast<double>(k) / static_cast<double>(pieces);
      filled.push_back({from.uv + step * share, from.id, kNoEdge});
    }
  }
  loop.points = std::move(filled);
}

void chooseSphereAxes(Surface& sphere, const std::vector<std::vector<LoopPoint>>& loops,
                      const std::vector<Vec3>& points) {
  const Frame& f = sphere.frame;
  std::vector<Vec3> directions;
  Vec3 mean;
  for (const auto& loop : loops) {
    Vec3 of_loop;
    for (const LoopPoint& p : loop) {
      directions.push_back(normalized(points[p.id] - f.origin));
      of_loop += directions.back();
    }
    mean += of_loop;
  }
  std::vector<Vec3> axes{f.z, f.x, f.y, normalized(mean), anyAcross(mean)};
  axes.push_back(normalized(cross(mean, axes.back())));
  for (const double a : {1.0, -1.0}) {
    for (const double b : {1.0, -1.0}) axes.push_back(normalized(f.x + f.y * a + f.z * b));
    axes.push_back(normalized(f.x + f.y * a));
    axes.push_back(normalized(f.y + f.z * a));
    axes.push_back(normalized(f.z + f.x * a));
  }
  constexpr double kNoReach = 2;  // above any cosine: no axis, or none yet
  double best_reach = kNoReach;
  Vec3 best = f.z;
  for (const Vec3& axis : axes) {
    double reach = length(axis) > 0.5 ? 0 : kNoReach;  // axes are unit vectors or zero
    for (const Vec3& d : directions) reach = std::max(reach, std::abs(dot(axis, d)));
    if (reach < best_reach - kBetterReach) {
      best_reach = reach;
      best = axis;
    }
  }
  if (best == f.z) return;
  Frame made;
  made.origin = f.origin;
  made.z = best;
  made.x = anyAcross(best);
  made.y = cross(made.z, made.x);
  sphere.frame = made;
}

}  // namespace jttk::brep
