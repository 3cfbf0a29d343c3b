// Loops are inverted point by point and unwrapped along their way; how often they then miss their start by a
// period tells bands, caps and closed faces apart.
#include "jttk/brep/face_domain.h"

#include <algorithm>
#include <optional>
#include <unordered_map>

namespace jttk::brep {
namespace {

// A boundary point further from the surface than this many chord tolerances is damage.
constexpr double kMaximumGap = 20;
constexpr std::size_t kPoleRowPieces = 12;
// How far, in chord tolerances, the straight image of an edge's piece may be from the piece.
constexpr double kMaximumStray = 2;
// Measuring how a surface bends: places, the step of the extent, and the most that is made of it.
constexpr std::size_t kBendPlaces = 6;
constexpr double kBendSteps = 200;
constexpr double kMaximumStretch = 8;
// The search for a seam: points of a loop that are tried, ways that are tested against all loops, at first
// and after a hole has become part of the seam, and ways kept per hole.
constexpr std::size_t kTriedPoints = 200;
constexpr std::size_t kSeamTests = 400;
constexpr std::size_t kSeamTestsAgain = 40;
constexpr std::size_t kWaysPerHole = 6;

struct Unwrapped {
  DomainLoop points;
  int turns_u = 0;
  int turns_v = 0;
  [[nodiscard]] bool winds() const { return turns_u != 0 || turns_v != 0; }
};

void reverseLoop(DomainLoop& loop) {
  if (loop.empty()) return;
  std::reverse(loop.begin(), loop.end());
  // The edge belongs to the piece behind the point: now that before it.
  const std::uint32_t first = loop.front().edge;
  for (std::size_t i = 0; i + 1 < loop.size(); ++i) loop[i].edge = loop[i + 1].edge;
  loop.back().edge = first;
}

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

bool isInside(const DomainLoop& polygon, Vec2 p) {
  bool inside = false;
  for (std::size_t i = 0, j = polygon.size() - 1; i < polygon.size(); j = i++) {
    const Vec2 a = polygon[i].uv;
    const Vec2 b = polygon[j].uv;
    if ((a.v > p.v) != (b.v > p.v) && p.u < (b.u - a.u) * (p.v - a.v) / (b.v - a.v) + a.u) inside = !inside;
  }
  return inside;
}

DomainLoop moved(DomainLoop loop, Vec2 by) {
  for (DomainPoint& p : loop) p.uv = p.uv + by;
  return loop;
}

class Builder {
 public:
  Builder(Geometry& geometry, const Face& face, const Tolerances& tolerances, std::vector<Vec3>& points)
      : geometry_(geometry), tolerances_(tolerances), points_(points) {
    domain_.surface = geometry.surface(face.surface);
    domain_.flipped = domain_.surface.reversed != face.reversed;
  }

  FaceDomain run(const std::vector<std::vector<LoopPoint>>& loops) {
    if (domain_.surface.kind == SurfaceKind::Sphere) chooseSphereAxes(loops);
    box_ = geometry_.domain(domain_.surface);
    std::vector<Unwrapped> unwrapped;
    for (const auto& loop : loops) {
      if (loop.size() < 2) continue;  // nothing to go round
      unwrapped.push_back(unwrap(loop));
      if (!domain_.problem.empty()) return std::move(domain_);
    }
    for (const Unwrapped& loop : unwrapped) checkStraight(loop);
    measure(unwrapped);
    if (domain_.flipped) {
      for (Unwrapped& loop : unwrapped) turnOver(loop);
    }
    arrange(unwrapped, !loops.empty());
    if (domain_.problem.empty() && !geometry_.mayWork()) domain_.problem = "too much work";
    if (!domain_.loops.empty()) findCenter();
    return std::move(domain_);
  }

 private:
  void fail(const char* why) {
    if (domain_.problem.empty()) domain_.problem = why;
  }

  static void turnOver(Unwrapped& loop) {
    reverseLoop(loop.points);
    loop.turns_u = -loop.turns_u;
    loop.turns_v = -loop.turns_v;
  }

  // Nothing but parameter curves depends on a sphere's axes: they are put where no loop comes near a pole.
  void chooseSphereAxes(const std::vector<std::vector<LoopPoint>>& loops) {
    Surface& sphere = domain_.surface;
    const Frame& f = sphere.frame;
    std::vector<Vec3> directions;
    Vec3 mean;
    for (const auto& loop : loops) {
      Vec3 of_loop;
      for (const LoopPoint& p : loop) {
        directions.push_back(normalized(points_[p.id] - f.origin));
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
    double best_reach = 2;
    Vec3 best = f.z;
    for (const Vec3& axis : axes) {
      double reach = length(axis) > 0.5 ? 0 : 2;
      for (const Vec3& d : directions) reach = std::max(reach, std::abs(dot(axis, d)));
      if (reach < best_reach - 1e-9) {
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

  // 1 when u makes no difference at this place, 2 when v makes none, else 0.
  int singularIn(Vec2 uv) {
    const Surface& s = domain_.surface;
    if (s.kind == SurfaceKind::Plane || s.kind == SurfaceKind::Cylinder || s.kind == SurfaceKind::Swept ||
        s.kind == SurfaceKind::Blend) {
      return 0;
    }
    const SurfacePoint here = geometry_.at(s, uv);
    constexpr double kSame = 1e-7;
    const auto stays = [&](bool in_u) {
      const Range& range = in_u ? box_.u : box_.v;
      if (!range.bounded() || length(in_u ? here.du : here.dv) * range.size() > 1e-5) return false;
      const bool wraps = (in_u ? box_.period_u : box_.period_v) > 0;
      for (const double share : {-0.15, -0.05, 0.05, 0.15}) {
        Vec2 other = uv;
        double& x = in_u ? other.u : other.v;
        x += share * range.size();
        if (!wraps) x = std::clamp(x, range.low, range.high);
        if (distance(geometry_.at(s, other).p, here.p) > kSame) return false;
      }
      return true;
    };
    return stays(true) ? 1 : stays(false) ? 2 : 0;
  }

  struct Entry {
    Vec2 uv;
    LoopPoint at;
    int singular = 0;
  };

  // What the file allows an edge to be off its surfaces, its vertices included.
  [[nodiscard]] double toleranceOf(std::uint32_t number) const {
    if (number == kNoEdge) return 0;
    const Bodies& bodies = geometry_.bodies();
    const Edge& edge = bodies.edges[number];
    double allowed = edge.tolerance;
    for (const std::int32_t v : {edge.start, edge.end}) {
      if (v != kNone) allowed = std::max(allowed, bodies.vertices[static_cast<std::size_t>(v)].tolerance);
    }
    return allowed;
  }

  std::vector<Entry> invertAll(const std::vector<LoopPoint>& loop) {
    std::vector<Entry> entries;
    const double accept = std::max(1e-9, tolerances_.chord * 1e-3);
    const Vec2* guess = nullptr;
    Vec2 last;
    for (const LoopPoint& p : loop) {
      Entry entry;
      entry.at = p;
      if (const auto known = known_.find(p.id); known != known_.end()) {
        entry.uv = known->second;
      } else {
        const double gap = geometry_.invert(domain_.surface, points_[p.id], guess, accept, entry.uv);
        if (!(gap <= kMaximumGap * tolerances_.chord + 2 * toleranceOf(p.edge))) {
          fail("an edge that does not lie on its surface");
          return entries;
        }
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

  double stepTo(double from, double to, double period, std::uint32_t a, std::uint32_t b, bool in_u) {
    if (!(period > 0)) return to;
    double next = wrapNear(to, from, period);
    if (std::abs(next - from) > 0.3 * period) {
      // Too far to be sure which way round: ask the middle.
      Vec2 middle;
      (void)geometry_.invert(domain_.surface, (points_[a] + points_[b]) * 0.5, nullptr, 0, middle);
      next = wrapNear(to, wrapNear(in_u ? middle.u : middle.v, from, period), period);
    }
    return next;
  }

  Unwrapped unwrap(const std::vector<LoopPoint>& loop) {
    Unwrapped made;
    std::vector<Entry> entries = invertAll(loop);
    if (!domain_.problem.empty()) return made;
    const auto pole =
        std::find_if(entries.begin(), entries.end(), [](const Entry& e) { return e.singular != 0; });
    const bool has_pole = pole != entries.end();
    if (has_pole) std::rotate(entries.begin(), pole, entries.end());
    const auto regular =
        std::find_if(entries.begin(), entries.end(), [](const Entry& e) { return e.singular == 0; });
    if (regular == entries.end()) {
      fail("a loop of poles only");
      return made;
    }
    Vec2 last = regular->uv;
    std::uint32_t last_id = regular->at.id;
    bool after_pole = true;
    std::vector<std::size_t> open;  // copies of poles that wait for the coordinate of the next point
    for (const Entry& entry : entries) {
      if (entry.singular != 0) {
        // One copy where the loop comes from, one where it goes.
        Vec2 uv = entry.uv;
        (entry.singular == 1 ? uv.u : uv.v) = entry.singular == 1 ? last.u : last.v;
        made.points.push_back({uv, entry.at.id, kNoEdge});
        open.push_back(made.points.size());
        made.points.push_back({uv, entry.at.id, entry.at.edge});
        after_pole = true;
        continue;
      }
      Vec2 uv;
      if (after_pole) {
        uv = {wrapNear(entry.uv.u, last.u, box_.period_u), wrapNear(entry.uv.v, last.v, box_.period_v)};
      } else {
        uv = {stepTo(last.u, entry.uv.u, box_.period_u, last_id, entry.at.id, true),
              stepTo(last.v, entry.uv.v, box_.period_v, last_id, entry.at.id, false)};
      }
      for (const std::size_t i : open) {
        // The regular coordinate of a pole may itself have moved by periods.
        DomainPoint& p = made.points[i];
        if (singularIn(p.uv) == 1) {
          p.uv.u = uv.u;
        } else {
          p.uv.v = uv.v;
        }
      }
      open.clear();
      made.points.push_back({uv, entry.at.id, entry.at.edge});
      last = uv;
      last_id = entry.at.id;
      after_pole = false;
    }
    if (has_pole) {
      // The first copy is where the loop comes back to.
      DomainPoint& first = made.points.front();
      (entries.front().singular == 1 ? first.uv.u : first.uv.v) =
          entries.front().singular == 1 ? last.u : last.v;
      return made;
    }
    const Vec2 start = made.points.front().uv;
    const double end_u = stepTo(last.u, start.u, box_.period_u, last_id, entries.front().at.id, true);
    const double end_v = stepTo(last.v, start.v, box_.period_v, last_id, entries.front().at.id, false);
    if (box_.period_u > 0) made.turns_u = static_cast<int>(std::lround((end_u - start.u) / box_.period_u));
    if (box_.period_v > 0) made.turns_v = static_cast<int>(std::lround((end_v - start.v) / box_.period_v));
    return made;
  }

  // The straight way between two points of an edge in the parameter plane, seen on the surface, must keep to
  // the edge.
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
      domain_.wishes.push_back(
          {a.edge, std::clamp(0.7 * kMaximumStray * tolerances_.chord / off, 1.0 / 1024, 0.25)});
    }
  }

  void measure(const std::vector<Unwrapped>& loops) {
    std::vector<Vec2> places;
    Vec2 low{1e300, 1e300};
    Vec2 high{-1e300, -1e300};
    for (const Unwrapped& loop : loops) {
      const std::size_t step = std::max<std::size_t>(1, loop.points.size() / 24);
      for (std::size_t i = 0; i < loop.points.size(); i += step) {
        const Vec2 uv = loop.points[i].uv;
        places.push_back(uv);
        low = {std::min(low.u, uv.u), std::min(low.v, uv.v)};
        high = {std::max(high.u, uv.u), std::max(high.v, uv.v)};
      }
    }
    if (loops.empty() && box_.u.bounded() && box_.v.bounded()) {
      low = {box_.u.low, box_.v.low};
      high = {box_.u.high, box_.v.high};
      for (int i = 0; i < 9; ++i) {
        places.push_back({low.u + box_.u.size() * (i % 3 + 1) / 4, low.v + box_.v.size() * (i / 3 + 1) / 4});
      }
    }
    Vec2 sum;
    for (const Vec2 uv : places) {
      const SurfacePoint s = geometry_.at(domain_.surface, uv);
      sum = sum + Vec2{length(s.du), length(s.dv)};
    }
    if (sum.u > 0 && sum.v > 0) domain_.scale = sum * (1 / static_cast<double>(places.size()));
    if (!std::isfinite(domain_.scale.u) || !std::isfinite(domain_.scale.v))
      fail("a surface that is not finite");
    if (domain_.surface.kind != SurfaceKind::Plane && !places.empty()) stretch(places, high - low);
  }

  // Where the surface bends more one way than the other, triangles may be longer the other way: in the
  // stretched plane the lengths that the tolerances allow look the same.
  void stretch(const std::vector<Vec2>& places, Vec2 extent) {
    const double size = std::max(extent.u * domain_.scale.u, extent.v * domain_.scale.v) / kBendSteps;
    const auto stepOf = [&](double scale, const Range& range, double period) {
      const double most = period > 0 ? period : range.bounded() ? range.size() : size / scale * kBendSteps;
      return std::min(size / scale, most / kBendSteps);
    };
    const double eps[] = {stepOf(domain_.scale.u, box_.u, box_.period_u),
                          stepOf(domain_.scale.v, box_.v, box_.period_v)};
    double bend[] = {0, 0};
    const auto normal = [&](Vec2 uv) {
      const SurfacePoint s = geometry_.at(domain_.surface, uv);
      return cross(s.du, s.dv);
    };
    const std::size_t step = std::max<std::size_t>(1, places.size() / kBendPlaces);
    for (std::size_t i = 0; i < places.size(); i += step) {
      for (int way = 0; way < 2; ++way) {
        const Vec2 by = way == 0 ? Vec2{eps[0], 0} : Vec2{0, eps[1]};
        const Vec3 before = geometry_.at(domain_.surface, places[i] - by).p;
        const Vec3 behind = geometry_.at(domain_.surface, places[i] + by).p;
        const double way_size = distance(before, behind);
        if (!(way_size > 1e-12)) continue;
        const double angle = angleBetween(normal(places[i] - by), normal(places[i] + by));
        bend[way] = std::max(bend[way], angle / way_size);
      }
    }
    const auto allowed = [&](double of_way) {
      const double by_angle = std::max(tolerances_.angle / of_way, tolerances_.minimum_edge);
      return std::min(std::sqrt(8 * tolerances_.chord / of_way), by_angle);
    };
    // Flat both ways, or no way to tell.
    if (!(bend[0] > 0 || bend[1] > 0) || !std::isfinite(bend[0] + bend[1])) return;
    const double ratio = std::clamp(bend[0] > 0 && bend[1] > 0 ? allowed(bend[0]) / allowed(bend[1])
                                                               : (bend[0] > 0 ? 0.0 : kMaximumStretch),
                                    1 / kMaximumStretch, kMaximumStretch);
    domain_.stretch = {1 / std::sqrt(ratio), std::sqrt(ratio)};
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

  // Where a surface that is closed in the direction of `turn` (one period) ends in a point on the left of
  // that way: the value of the other coordinate there.
  std::optional<double> poleLeftOf(Vec2 turn) {
    const bool in_u = turn.u != 0;
    if (in_u == (turn.v != 0)) return std::nullopt;
    const Surface& s = domain_.surface;
    const bool up = in_u ? turn.u > 0 : turn.v < 0;
    if (s.kind == SurfaceKind::Cone) {
      if (std::abs(s.sin_half_angle) < 1e-9) return std::nullopt;
      const double apex = -s.radius * s.cos_half_angle / s.sin_half_angle;
      const Vec2 first = first_point_;
      if (up != (apex > first.v)) return std::nullopt;
      return apex;
    }
    const Range& range = in_u ? box_.v : box_.u;
    if (!range.bounded() || (in_u ? box_.period_v : box_.period_u) > 0) return std::nullopt;
    const double place = up ? range.high : range.low;
    const Range& way = in_u ? box_.u : box_.v;
    const Vec3 p = geometry_.at(s, in_u ? Vec2{way.low, place} : Vec2{place, way.low}).p;
    for (int i = 1; i < 5; ++i) {
      const double x = way.low + way.size() * i / 5;
      if (distance(p, geometry_.at(s, in_u ? Vec2{x, place} : Vec2{place, x}).p) > 1e-7) return std::nullopt;
    }
    return place;
  }

  // A row of copies of the pole, against `turn`, from `start` + turn on; as many as needed for good
  // triangles.
  DomainLoop poleRow(Vec2 turn, double place, Vec2 start, std::size_t count) {
    const bool in_u = turn.u != 0;
    DomainLoop row;
    const auto id = static_cast<std::uint32_t>(points_.size());
    for (std::size_t i = 0; i < count; ++i) {
      Vec2 uv = start + turn * (1 - static_cast<double>(i) / static_cast<double>(count));
      (in_u ? uv.v : uv.u) = place;
      row.push_back({uv, id, kNoEdge});
    }
    points_.push_back(geometry_.at(domain_.surface, row[0].uv).p);
    return row;
  }

  // Points between a and b on the straight way in the plane, so close that the chord holds.
  DomainLoop cutBetween(const DomainPoint& a, const DomainPoint& b) {
    // A cut that comes back to its start must not fall together to a point.
    int pieces = points_[a.id] == geometry_.at(domain_.surface, b.uv).p || a.id == b.id ? 4 : 1;
    for (; pieces < 256; pieces *= 2) {
      bool fine = true;
      const double step = 1.0 / pieces;
      for (int i = 0; i < pieces && fine; ++i) {
        const auto p = [&](double t) { return geometry_.at(domain_.surface, a.uv + (b.uv - a.uv) * t); };
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
      points_.push_back(geometry_.at(domain_.surface, uv).p);
    }
    return cut;
  }

  [[nodiscard]] bool crossesLoop(Vec2 a, Vec2 b, const DomainLoop& loop, Vec2 by, bool open_end,
                                 Vec2 turn) const {
    for (std::size_t i = 0; i < loop.size(); ++i) {
      const bool last = i + 1 == loop.size();
      const Vec2 c = loop[i].uv + by;
      const Vec2 d = loop[last ? 0 : i + 1].uv + (last && open_end ? turn : Vec2{}) + by;
      if (c == a || c == b || d == a || d == b) continue;
      if (segmentsMeet(a, b, c, d)) return true;
    }
    return false;
  }

  struct Way {
    double size;
    std::size_t a;
    std::size_t b;
    double shift;  // in turns
  };

  // Straight ways from points of `lower` to points of another loop, the shortest first.
  [[nodiscard]] std::vector<Way> waysBetween(const DomainLoop& lower, const DomainLoop& other,
                                             Vec2 turn) const {
    const double turn_size = turn.u * turn.u + turn.v * turn.v;
    std::vector<Way> ways;
    const std::size_t step_a = std::max<std::size_t>(1, lower.size() / kTriedPoints);
    const std::size_t step_b = std::max<std::size_t>(1, other.size() / kTriedPoints);
    for (std::size_t i = 0; i < lower.size(); i += step_a) {
      for (std::size_t k = 0; k < other.size(); k += step_b) {
        const Vec2 way = other[k].uv - lower[i].uv;
        const double shift = -std::round((way.u * turn.u + way.v * turn.v) / turn_size);
        const Vec2 d = way + turn * shift;
        ways.push_back({std::hypot(d.u * domain_.scale.u, d.v * domain_.scale.v), i, k, shift});
      }
    }
    std::sort(ways.begin(), ways.end(), [](const Way& a, const Way& b) { return a.size < b.size; });
    return ways;
  }

  // Whether a-b meets no loop of the band, wherever these were unwrapped.
  [[nodiscard]] bool isFree(Vec2 a, Vec2 b, const DomainLoop& lower, const DomainLoop& upper, Vec2 turn,
                            double shift, const std::vector<DomainLoop>& holes) const {
    for (int k = -2; k <= 2; ++k) {
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

  // Joins two loops that wind round, `lower` by `turn` and `upper` against it, to one polygon: along lower,
  // over the cut, along upper, and back over the same cut one turn earlier. Where holes leave no straight way
  // for the cut, it goes through them: `holes` keeps those that are not part of the polygon then.
  void joinBand(DomainLoop lower, const DomainLoop& upper, Vec2 turn, std::vector<DomainLoop>& holes) {
    std::size_t tests = kSeamTests;
    for (;;) {
      for (const Way& way : waysBetween(lower, upper, turn)) {
        if (tests == 0) break;
        --tests;
        const Vec2 a = lower[way.a].uv;
        const Vec2 b = upper[way.b].uv + turn * way.shift;
        if (!isFree(a, b, lower, upper, turn, way.shift, holes)) continue;
        joinAt(lower, way.a, upper, way.b, turn, way.shift);
        return;
      }
      if (!takeHole(lower, upper, turn, holes)) break;
      tests = kSeamTestsAgain;
    }
    fail("no free way for the seam");
  }

  // Makes the hole that is nearest to `lower` a part of it, by a way there and back.
  bool takeHole(DomainLoop& lower, const DomainLoop& upper, Vec2 turn, std::vector<DomainLoop>& holes) {
    if ((turn.u != 0 ? box_.period_v : box_.period_u) > 0) return false;
    struct Reach {
      Way way;
      std::size_t hole;
    };
    std::vector<Reach> reaches;
    for (std::size_t h = 0; h < holes.size(); ++h) {
      const std::vector<Way> ways = waysBetween(lower, holes[h], turn);
      for (std::size_t i = 0; i < std::min<std::size_t>(ways.size(), kWaysPerHole); ++i) {
        reaches.push_back({ways[i], h});
      }
    }
    std::sort(reaches.begin(), reaches.end(),
              [](const Reach& a, const Reach& b) { return a.way.size < b.way.size; });
    if (reaches.size() > kSeamTests) reaches.resize(kSeamTests);
    for (const Reach& reach : reaches) {
      const Way& way = reach.way;
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

  void joinAt(const DomainLoop& lower, std::size_t a, const DomainLoop& upper, std::size_t b, Vec2 turn,
              double shift) {
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
    domain_.loops.push_back(std::move(polygon));
  }

  // A surface closed both ways, cut along one line each way.
  void wholeTorus(const std::vector<DomainLoop>& holes) {
    // Where no hole is in the way.
    const auto freePlace = [&](bool in_u) {
      const double period = in_u ? box_.period_u : box_.period_v;
      for (int i = 0; i < 64; ++i) {
        const double place = period * i / 64 + period / 200;
        bool free = true;
        for (const DomainLoop& hole : holes) {
          double low = std::numeric_limits<double>::infinity();
          double high = -low;
          for (const DomainPoint& p : hole) {
            low = std::min(low, in_u ? p.uv.u : p.uv.v);
            high = std::max(high, in_u ? p.uv.u : p.uv.v);
          }
          const double first = place + period * std::ceil((low - place) / period);
          if (first <= high) free = false;
        }
        if (free) return std::optional<double>(place);
      }
      return std::optional<double>();
    };
    const std::optional<double> u0 = freePlace(true);
    const std::optional<double> v0 = freePlace(false);
    if (!u0 || !v0) return fail("no free way for the seams");
    const Vec2 turn_u{box_.period_u, 0};
    const Vec2 turn_v{0, box_.period_v};
    DomainPoint corner{{*u0, *v0}, static_cast<std::uint32_t>(points_.size()), kNoEdge};
    points_.push_back(geometry_.at(domain_.surface, corner.uv).p);
    const auto shifted = [](DomainPoint p, Vec2 by) {
      p.uv = p.uv + by;
      return p;
    };
    const DomainLoop along_u = cutBetween(corner, shifted(corner, turn_u));
    const DomainLoop along_v = cutBetween(corner, shifted(corner, turn_v));
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

  // The whole surface, where it is closed by itself. False when it is not.
  bool wholeSurface(std::vector<DomainLoop>& holes) {
    const bool closed_u = box_.period_u > 0;
    const bool closed_v = box_.period_v > 0;
    if (closed_u && closed_v) {
      if (domain_.surface.kind == SurfaceKind::Blend) return false;
      wholeTorus(holes);
      return true;
    }
    if (closed_u == closed_v || domain_.surface.kind == SurfaceKind::Cone) return false;
    const Vec2 turn = closed_u ? Vec2{box_.period_u, 0} : Vec2{0, box_.period_v};
    const std::optional<double> left = poleLeftOf(turn);
    const std::optional<double> right = poleLeftOf(turn * -1);
    if (!left || !right) return false;
    const Vec2 start{box_.u.low, box_.v.low};
    constexpr std::size_t kPieces = 2U * kPoleRowPieces;
    const DomainLoop lower = poleRow(turn * -1, *right, start + turn, kPieces);
    const DomainLoop upper = poleRow(turn, *left, start, kPieces);
    joinBand(lower, upper, turn, holes);
    return true;
  }

  void placeHoles(const std::vector<DomainLoop>& holes) {
    for (const DomainLoop& hole : holes) {
      bool placed = false;
      for (int ring = 0; ring <= 3 && !placed; ++ring) {
        for (int i = -ring; i <= ring && !placed; ++i) {
          for (int k = -ring; k <= ring && !placed; ++k) {
            if (std::max(std::abs(i), std::abs(k)) != ring) continue;
            if ((i != 0 && !(box_.period_u > 0)) || (k != 0 && !(box_.period_v > 0))) continue;
            const Vec2 by{i == 0 ? 0 : i * box_.period_u, k == 0 ? 0 : k * box_.period_v};
            // By the middle of a piece: a corner may lie on the outer loop.
            if (!isInside(domain_.loops.front(), (hole[0].uv + hole[1].uv) * 0.5 + by)) continue;
            domain_.loops.push_back(moved(hole, by));
            placed = true;
          }
        }
      }
      if (!placed) fail("a hole outside of its face");
    }
  }

  void arrange(std::vector<Unwrapped>& loops, bool had_loops) {
    if (!domain_.problem.empty()) return;
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
      fail("more than two loops that go round the surface");
    }
  }

  void arrangeFlat(std::vector<DomainLoop>& flat, bool had_loops) {
    std::size_t outer = flat.size();
    double largest = 0;
    for (std::size_t i = 0; i < flat.size(); ++i) {
      const double size = area(flat[i]);
      if (size > largest) {
        largest = size;
        outer = i;
      }
    }
    if (flat.empty() || outer == flat.size()) {
      if (flat.empty() && had_loops && domain_.surface.kind == SurfaceKind::Plane)
        return fail("loops without edges");
      if (wholeSurface(flat)) {
        if (domain_.problem.empty()) placeHoles(flat);
        return;
      }
      if (flat.empty()) return fail("a face without loops on a surface that is not closed");
      // All run the other way round: the surface's sense is not what it should be.
      domain_.flipped = !domain_.flipped;
      for (std::size_t i = 0; i < flat.size(); ++i) {
        reverseLoop(flat[i]);
        if (area(flat[i]) > largest || outer == flat.size()) {
          largest = area(flat[i]);
          outer = i;
        }
      }
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
      // The pole lies on the other side only when the surface's sense is wrong.
      turn = turn * -1;
      pole = poleLeftOf(turn);
      if (!pole || std::abs(loop.turns_u) + std::abs(loop.turns_v) != 1)
        return fail("a loop round a surface without a pole");
      domain_.flipped = !domain_.flipped;
      turnOver(lower);
      for (DomainLoop& hole : flat) reverseLoop(hole);
    }
    if (std::abs(lower.turns_u) + std::abs(lower.turns_v) != 1)
      return fail("a loop that goes round more than once");
    // Copies above the loop's own points.
    const std::size_t count = std::clamp<std::size_t>(lower.points.size(), kPoleRowPieces / 2, 256);
    const DomainLoop upper = poleRow(turn, *pole, lower.points.front().uv, count);
    joinBand(lower.points, upper, turn, flat);
    if (domain_.problem.empty()) placeHoles(flat);
  }

  void arrangeBand(const Unwrapped& a, const Unwrapped& b, std::vector<DomainLoop>& flat) {
    if (a.turns_u != -b.turns_u || a.turns_v != -b.turns_v)
      return fail("two loops that go round differently");
    const Vec2 turn = turnOf(a);
    DomainLoop lower = a.points;
    DomainLoop upper = b.points;
    // Height on the left of the way round.
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
      // The part of the tube between the two surfaces is the smaller one; which side of it is meant, the
      // loops tell.
      const double times = -std::round(gap / across);
      upper = moved(std::move(upper), byPeriods(times));
      gap += times * across;
    }
    if (across > 0 && !blend) {
      // Closed this way too: the band that begins on the left of `lower`.
      upper = moved(std::move(upper), byPeriods(-std::floor(gap / across)));
    } else if (gap < 0) {
      domain_.flipped = !domain_.flipped;
      reverseLoop(lower);
      reverseLoop(upper);
      for (DomainLoop& hole : flat) reverseLoop(hole);
      joinBand(lower, upper, turn * -1, flat);
      if (domain_.problem.empty()) placeHoles(flat);
      return;
    }
    joinBand(lower, upper, turn, flat);
    if (domain_.problem.empty()) placeHoles(flat);
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
  std::unordered_map<std::uint32_t, Vec2> known_;
};

}  // namespace

FaceDomain makeFaceDomain(Geometry& geometry, const Face& face,
                          const std::vector<std::vector<LoopPoint>>& loops, const Tolerances& tolerances,
                          std::vector<Vec3>& points) {
  return Builder(geometry, face, tolerances, points).run(loops);
}

}  // namespace jttk::brep
