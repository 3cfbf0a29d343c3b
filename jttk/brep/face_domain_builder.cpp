// Faces are classified by how many of their unwrapped loops wind round the surface: none (flat, or a surface
// that is closed by itself), one (a cap with a pole), two (a band).
#include "jttk/brep/face_domain_builder.h"

#include <algorithm>
#include <optional>

#include "jttk/brep/domain_scale.h"
#include "jttk/brep/edge_samples.h"
#include "jttk/brep/precision.h"
#include "jttk/brep/seam.h"
#include "jttk/brep/unwrap.h"

namespace jttk::brep {
namespace {

// Copies of a pole in a row: at least half of this where a loop is opposite, twice this where there is none.
constexpr std::size_t kPoleRowPieces = 12;
constexpr std::size_t kMaximumPoleRow = 256;
// Points of a line of the parameter plane that are compared to see a pole, its first one not counted.
constexpr int kPoleProbes = 5;
// Lines that are tried as the cut of a surface that is closed both ways. They begin a small share of the
// period beside its start, where points of loops are likely.
constexpr int kTriedCuts = 64;
constexpr int kCutOffsetParts = 200;
// A hole may have been unwrapped up to so many periods from its face.
constexpr int kMaximumHoleShift = 3;
// Largest distance, in chord tolerances, between a piece of an edge and the surface point over the middle of
// its straight image in the parameter plane.
constexpr double kMaximumStray = 2;
// An edge that strays more is sampled more finely: its tolerance is aimed at this share of what would do (its
// stray falls about as its tolerance does), by a factor within these limits.
constexpr double kStrayAim = 0.7;
constexpr double kSmallestFactor = 1.0 / 1024;
constexpr double kLargestFactor = 0.25;

class Builder {
 public:
  Builder(Geometry& geometry, const Face& face, const Tolerances& tolerances, std::vector<Vec3>& points)
      : geometry_(geometry), tolerances_(tolerances), points_(points) {
    domain_.surface = geometry.surface(face.surface);
    domain_.flipped = domain_.surface.reversed != face.reversed;
  }

  FaceDomain run(const std::vector<std::vector<LoopPoint>>& loops) {
    if (domain_.surface.kind == SurfaceKind::Sphere) chooseSphereAxes(domain_.surface, loops, points_);
    box_ = geometry_.domain(domain_.surface);
    LoopUnwrapper unwrapper(geometry_, domain_.surface, box_, tolerances_, points_);
    std::vector<Unwrapped> unwrapped;
    for (const auto& loop : loops) {
      if (loop.size() < 2) continue;  // nothing to go round
      Result<Unwrapped> made = unwrapper.unwrap(loop);
      if (!made) domain_.usable = passOn(made);
      if (!geometry_.mayWork()) domain_.usable = fail(kTooMuchWork);
      if (!domain_.usable) return std::move(domain_);
      unwrapped.push_back(*std::move(made));
    }
    for (const Unwrapped& loop : unwrapped) checkStraight(loop);
    measureDomain(geometry_, box_, unwrapped, tolerances_, domain_);
    for (Unwrapped& loop : unwrapped) fillPoles(loop, geometry_.counter());
    if (domain_.flipped) {
      for (Unwrapped& loop : unwrapped) turnOver(loop);
    }
    arrange(unwrapped, !loops.empty());
    if (!geometry_.mayWork()) {
      domain_.usable = fail(kTooMuchWork);
      domain_.wishes.clear();
    }
    if (!domain_.loops.empty()) findCenter();
    return std::move(domain_);
  }

 private:
  // The first reason counts.
  void reject(const char* why, CheckPlace check = CheckPlace::current()) {
    if (domain_.usable) domain_.usable = fail(why, check);
  }

  static void turnOver(Unwrapped& loop) {
    reverseLoop(loop.points);
    loop.turns_u = -loop.turns_u;
    loop.turns_v = -loop.turns_v;
  }

  // The straight line between two points of an edge in the parameter plane, mapped to the surface, must stay
  // close to the edge.
  void checkStraight(const Unwrapped& loop) {
    if (domain_.surface.kind == SurfaceKind::Plane) return;
    for (std::size_t i = 0; i < loop.points.size(); ++i) {
      const bool last = i + 1 == loop.points.size();
      const DomainPoint& a = loop.points[i];
      const DomainPoint& b = loop.points[last ? 0 : i + 1];
      if (a.edge == kNoEdge) continue;
      const Vec2 end = b.uv + (last ? turnOf(loop) : Vec2{});
      const Vec3 middle = geometry_.at(domain_.surface, (a.uv + end) * 0.5).p;
      const double off = distanceToChord(middle, points_[a.id], points_[b.id]);
      if (!(off > kMaximumStray * tolerances_.chord)) continue;
      domain_.wishes.push_back({a.edge, std::clamp(kStrayAim * kMaximumStray * tolerances_.chord / off,
                                                   kSmallestFactor, kLargestFactor)});
    }
  }

  [[nodiscard]] double area(const DomainLoop& loop) const {
    double sum = 0;
    for (std::size_t i = 0; i < loop.size(); ++i) {
      const Vec2 a = loop[i].uv - loop[0].uv;
      const Vec2 b = loop[(i + 1) % loop.size()].uv - loop[0].uv;
      sum += a.u * b.v - a.v * b.u;
    }
    return sum * domain_.scale.u * domain_.scale.v / 2;
  }

  // If the surface, periodic along `turn`, ends in a pole to the left of that direction: the pole's other
  // coordinate.
  std::optional<double> poleLeftOf(Vec2 turn) {
    const bool in_u = turn.u != 0;
    if (in_u == (turn.v != 0)) return std::nullopt;
    const Surface& s = domain_.surface;
    const bool up = in_u ? turn.u > 0 : turn.v < 0;
    if (s.kind == SurfaceKind::Cone) {
      if (std::abs(s.sin_half_angle) < kNoSine) return std::nullopt;
      const double apex = -s.radius * s.cos_half_angle / s.sin_half_angle;
      const Vec2 first = first_point_;
      if (up != (apex > first.v)) return std::nullopt;
      return apex;
    }
    const Range& range = in_u ? box_.v : box_.u;
    if (!range.bounded() || (in_u ? box_.period_v : box_.period_u) > 0) return std::nullopt;
    const double coordinate = up ? range.high : range.low;
    const Range& along = in_u ? box_.u : box_.v;
    const Vec3 p = geometry_.at(s, in_u ? Vec2{along.low, coordinate} : Vec2{coordinate, along.low}).p;
    for (int i = 1; i < kPoleProbes; ++i) {
      const double x = along.low + along.size() * i / kPoleProbes;
      if (distance(p, geometry_.at(s, in_u ? Vec2{x, coordinate} : Vec2{coordinate, x}).p) > kPoleSize)
        return std::nullopt;
    }
    return coordinate;
  }

  // `count` copies of the pole in the parameter plane, running against `turn` from `start` + turn.
  DomainLoop poleRow(Vec2 turn, double coordinate, Vec2 start, std::size_t count) {
    const bool in_u = turn.u != 0;
    DomainLoop row;
    const auto id = static_cast<std::uint32_t>(points_.size());
    for (std::size_t i = 0; i < count; ++i) {
      Vec2 uv = start + turn * (1 - static_cast<double>(i) / static_cast<double>(count));
      (in_u ? uv.v : uv.u) = coordinate;
      row.push_back({uv, id, kNoEdge});
    }
    points_.push_back(geometry_.at(domain_.surface, row[0].uv).p);
    return row;
  }

  void joinBand(const DomainLoop& lower, const DomainLoop& upper, Vec2 turn, std::vector<DomainLoop>& holes) {
    DomainLoop polygon = seams_.joinBand(lower, upper, turn, holes);
    if (polygon.empty()) return reject("no free way for the seam");
    domain_.loops.push_back(std::move(polygon));
  }

  // A surface periodic in u and v, cut along one line of each.
  void wholeTorus(const std::vector<DomainLoop>& holes) {
    // A coordinate at which the cut crosses no hole.
    const auto freeCoordinate = [&](bool in_u) {
      const double period = in_u ? box_.period_u : box_.period_v;
      for (int i = 0; i < kTriedCuts; ++i) {
        const double coordinate = period * i / kTriedCuts + period / kCutOffsetParts;
        bool free = true;
        for (const DomainLoop& hole : holes) {
          double low = std::numeric_limits<double>::infinity();
          double high = -low;
          for (const DomainPoint& p : hole) {
            low = std::min(low, in_u ? p.uv.u : p.uv.v);
            high = std::max(high, in_u ? p.uv.u : p.uv.v);
          }
          const double first = coordinate + period * std::ceil((low - coordinate) / period);
          if (first <= high) free = false;
        }
        if (free) return std::optional<double>(coordinate);
      }
      return std::optional<double>();
    };
    const std::optional<double> u0 = freeCoordinate(true);
    const std::optional<double> v0 = freeCoordinate(false);
    if (!u0 || !v0) return reject("no free way for the seams");
    const Vec2 turn_u{box_.period_u, 0};
    const Vec2 turn_v{0, box_.period_v};
    DomainPoint corner{{*u0, *v0}, static_cast<std::uint32_t>(points_.size()), kNoEdge};
    points_.push_back(geometry_.at(domain_.surface, corner.uv).p);
    const auto shifted = [](DomainPoint p, Vec2 by) {
      p.uv = p.uv + by;
      return p;
    };
    const DomainLoop along_u = seams_.cutBetween(corner, shifted(corner, turn_u));
    const DomainLoop along_v = seams_.cutBetween(corner, shifted(corner, turn_v));
    DomainLoop polygon{corner};
    polygon.insert(polygon.end(), along_u.begin(), along_u.end());
    polygon.push_back(shifted(corner, turn_u));
    for (const DomainPoint& p : along_v) polygon.push_back(shifted(p, turn_u));
    polygon.push_back(shifted(corner, turn_u + turn_v));
    for (auto p = along_u.rbegin(); p != along_u.rend(); ++p) polygon.push_back(shifted(*p, turn_v));
    polygon.push_back(shifted(corner, turn_v));
    polygon.insert(polygon.end(), along_v.rbegin(), along_v.rend());
    domain_.loops.push_back(std::move(polygon));
  }

  // Whether a face on the surface needs no outer loop.
  [[nodiscard]] bool isClosedByItself() {
    const bool closed_u = box_.period_u > 0;
    const bool closed_v = box_.period_v > 0;
    const SurfaceKind kind = domain_.surface.kind;
    if (kind == SurfaceKind::Blend || kind == SurfaceKind::Cone || !(closed_u || closed_v)) return false;
    if (closed_u && closed_v) return true;
    const Vec2 turn = closed_u ? Vec2{box_.period_u, 0} : Vec2{0, box_.period_v};
    return poleLeftOf(turn) && poleLeftOf(turn * -1);
  }

  // The whole of a surface that is closed by itself, cut open.
  void wholeSurface(std::vector<DomainLoop>& holes) {
    if (box_.period_u > 0 && box_.period_v > 0) return wholeTorus(holes);
    const Vec2 turn = box_.period_u > 0 ? Vec2{box_.period_u, 0} : Vec2{0, box_.period_v};
    const Vec2 start{box_.u.low, box_.v.low};
    constexpr std::size_t kPieces = 2U * kPoleRowPieces;
    const DomainLoop lower = poleRow(turn * -1, *poleLeftOf(turn * -1), start + turn, kPieces);
    const DomainLoop upper = poleRow(turn, *poleLeftOf(turn), start, kPieces);
    joinBand(lower, upper, turn, holes);
  }

  void placeHoles(const std::vector<DomainLoop>& holes) {
    for (const DomainLoop& hole : holes) {
      bool placed = false;
      for (int ring = 0; ring <= kMaximumHoleShift && !placed; ++ring) {
        for (int i = -ring; i <= ring && !placed; ++i) {
          for (int k = -ring; k <= ring && !placed; ++k) {
            if (std::max(std::abs(i), std::abs(k)) != ring) continue;
            if ((i != 0 && !(box_.period_u > 0)) || (k != 0 && !(box_.period_v > 0))) continue;
            const Vec2 by{i == 0 ? 0 : i * box_.period_u, k == 0 ? 0 : k * box_.period_v};
            geometry_.counter().spendSteps(domain_.loops.front().size());
            if (!geometry_.mayWork()) return;
            // Tested with the midpoint of a piece: a corner may lie on the outer loop.
            if (!isInside(domain_.loops.front(), (hole[0].uv + hole[1].uv) * 0.5 + by)) continue;
            domain_.loops.push_back(moved(hole, by));
            placed = true;
          }
        }
      }
      if (!placed) reject("a hole outside of its face");
    }
  }

  void arrange(std::vector<Unwrapped>& loops, bool had_loops) {
    if (!domain_.usable) return;
    std::vector<DomainLoop> flat;
    std::vector<const Unwrapped*> winding;
    for (const Unwrapped& loop : loops) {
      if (loop.winds()) {
        winding.push_back(&loop);
      } else {
        flat.push_back(loop.points);
      }
    }
    if (winding.empty()) {
      arrangeFlat(flat, had_loops);
    } else if (winding.size() == 1) {
      arrangeCap(*winding[0], flat);
    } else if (winding.size() == 2) {
      arrangeBand(*winding[0], *winding[1], flat);
    } else {
      reject("more than two loops that go round the surface");
    }
  }

  void arrangeFlat(std::vector<DomainLoop>& flat, bool had_loops) {
    if (flat.empty() && had_loops && domain_.surface.kind == SurfaceKind::Plane)
      return reject("loops without edges");
    const bool may_lack_outer = isClosedByItself();
    // The outer loop is the largest one, and runs counter-clockwise; only where it may be missing, the
    // largest may be a hole.
    std::size_t outer = 0;
    const auto sizeOf = [&](std::size_t i) {
      return may_lack_outer ? area(flat[i]) : std::abs(area(flat[i]));
    };
    for (std::size_t i = 1; i < flat.size(); ++i) {
      if (sizeOf(i) > sizeOf(outer)) outer = i;
    }
    if (may_lack_outer && (flat.empty() || !(area(flat[outer]) > 0))) {
      wholeSurface(flat);
      if (domain_.usable) placeHoles(flat);
      return;
    }
    if (flat.empty()) return reject("a face without loops on a surface that is not closed");
    if (area(flat[outer]) < 0) {
      // The loop runs clockwise, so the stated orientation is wrong: flip the face.
      domain_.flipped = !domain_.flipped;
      for (DomainLoop& loop : flat) reverseLoop(loop);
    }
    domain_.loops.push_back(std::move(flat[outer]));
    flat.erase(flat.begin() + static_cast<std::ptrdiff_t>(outer));
    if (box_.period_u > 0 || box_.period_v > 0) {
      placeHoles(flat);
    } else {
      for (DomainLoop& loop : flat) domain_.loops.push_back(std::move(loop));
    }
  }

  [[nodiscard]] Vec2 turnOf(const Unwrapped& loop) const {
    return {loop.turns_u == 0 ? 0 : loop.turns_u * box_.period_u,
            loop.turns_v == 0 ? 0 : loop.turns_v * box_.period_v};
  }

  void arrangeCap(const Unwrapped& loop, std::vector<DomainLoop>& flat) {
    Unwrapped lower = loop;
    Vec2 turn = turnOf(lower);
    first_point_ = lower.points.front().uv;
    std::optional<double> pole = poleLeftOf(turn);
    if (!pole) {
      // No pole on the left: the stated orientation is wrong, so flip the face and look on the other side.
      turn = turn * -1;
      pole = poleLeftOf(turn);
      if (!pole || std::abs(loop.turns_u) + std::abs(loop.turns_v) != 1)
        return reject("a loop round a surface without a pole");
      domain_.flipped = !domain_.flipped;
      turnOver(lower);
      for (DomainLoop& hole : flat) reverseLoop(hole);
    }
    if (std::abs(lower.turns_u) + std::abs(lower.turns_v) != 1)
      return reject("a loop that goes round more than once");
    // About as many copies of the pole as loop points.
    const std::size_t count =
        std::clamp<std::size_t>(lower.points.size(), kPoleRowPieces / 2, kMaximumPoleRow);
    const DomainLoop upper = poleRow(turn, *pole, lower.points.front().uv, count);
    joinBand(lower.points, upper, turn, flat);
    if (domain_.usable) placeHoles(flat);
  }

  void arrangeBand(const Unwrapped& a, const Unwrapped& b, std::vector<DomainLoop>& flat) {
    if (a.turns_u != -b.turns_u || a.turns_v != -b.turns_v)
      return reject("two loops that go round differently");
    const Vec2 turn = turnOf(a);
    DomainLoop lower = a.points;
    DomainLoop upper = b.points;
    // Mean coordinate across the winding direction, growing to the left.
    const auto mean = [&](const DomainLoop& loop) {
      double sum = 0;
      for (const DomainPoint& p : loop) sum += turn.u * p.uv.v - turn.v * p.uv.u;
      return sum / static_cast<double>(loop.size());
    };
    const double across =
        turn.u != 0 && turn.v == 0 ? std::abs(turn.u) * box_.period_v : std::abs(turn.v) * box_.period_u;
    double gap = mean(upper) - mean(lower);
    const auto byPeriods = [&](double times) {
      return turn.v == 0 ? Vec2{0, box_.period_v * times * (turn.u > 0 ? 1 : -1)}
                         : Vec2{box_.period_u * times * (turn.v > 0 ? -1 : 1), 0};
    };
    const bool blend = domain_.surface.kind == SurfaceKind::Blend;
    if (across > 0 && blend) {
      // A blend's face is the smaller part of its tube, so the nearest copy of `upper` is used; the sign of
      // the gap tells the orientation.
      const double times = -std::round(gap / across);
      upper = moved(std::move(upper), byPeriods(times));
      gap += times * across;
    }
    if (across > 0 && !blend) {
      // Periodic across as well: move `upper` to the first copy left of `lower`.
      upper = moved(std::move(upper), byPeriods(-std::floor(gap / across)));
    } else if (gap < 0) {
      domain_.flipped = !domain_.flipped;
      reverseLoop(lower);
      reverseLoop(upper);
      for (DomainLoop& hole : flat) reverseLoop(hole);
      joinBand(lower, upper, turn * -1, flat);
      if (domain_.usable) placeHoles(flat);
      return;
    }
    joinBand(lower, upper, turn, flat);
    if (domain_.usable) placeHoles(flat);
  }

  void findCenter() {
    Vec2 sum;
    for (const DomainPoint& p : domain_.loops.front()) sum = sum + p.uv;
    domain_.center = sum * (1 / static_cast<double>(domain_.loops.front().size()));
  }

  Geometry& geometry_;
  const Tolerances& tolerances_;
  std::vector<Vec3>& points_;
  FaceDomain domain_;
  SurfaceDomain box_;
  Vec2 first_point_;
  SeamCutter seams_{geometry_, domain_, box_, tolerances_, points_};
};

}  // namespace

FaceDomain makeFaceDomain(Geometry& geometry, const Face& face,
                          const std::vector<std::vector<LoopPoint>>& loops, const Tolerances& tolerances,
                          std::vector<Vec3>& points) {
  return Builder(geometry, face, tolerances, points).run(loops);
}

}  // namespace jttk::brep
