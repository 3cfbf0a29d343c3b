// Constrained Delaunay triangulation of the loops in the scaled parameter plane; then edges and triangles
// that miss the surface by too much get a point in their middle, the longest first. Boundary pieces stay as
// they are, so that the neighbours fit.
#include "jttk/brep/face_mesh.h"

#include <algorithm>
#include <unordered_map>

#include "jttk/brep/delaunay.h"
#include "jttk/brep/face_nodes.h"
#include "jttk/brep/precision.h"

namespace jttk::brep {
namespace {

// Where refinement ends though some triangle still misses the surface, as one with a crease that no triangle
// can follow.
constexpr int kMaximumRounds = 40;
constexpr std::size_t kMaximumFacePoints = 100000;
// Largest sideways deviation of a mesh edge from its curve on the surface, as a share of its length.
constexpr double kMaximumDrift = 0.15;
// Edges inside a face join points of its border, whose pieces use up the tolerances. So they may exceed these
// a little, else each would be split for a rounding error or because it is a little slanted. Factors for the
// distance; the angle between the normals at both ends; and, more, twice that between an end and the middle,
// because surfaces bend unevenly.
constexpr double kChordSlack = 1.01;
constexpr double kAngleSlack = 1.25;
constexpr double kHalfAngleSlack = 1.2;
// A corner counts as turned when the normals of the triangle and the surface there differ by more than 60
// degrees.
constexpr double kTurnedCosine = 0.5;
// Extra cost of each triangle of the result: it is copied later, and made part of a strip.
constexpr std::uint64_t kEvaluationsPerTriangle = 2;

class Mesher {
 public:
  Mesher(Geometry& geometry, const FaceDomain& domain, const Tolerances& tolerances,
         const PointPairs& not_wanted, std::vector<Vec3>& points)
      : geometry_(geometry),
        domain_(domain),
        tolerances_(tolerances),
        not_wanted_(not_wanted),
        points_(points),
        nodes_(geometry, domain) {}

  // Corners of triangles that turn away from the surface at their corner.
  [[nodiscard]] std::size_t turnedCorners() const { return turned_; }

  // Once only. `stretched`: the plane is stretched as the domain says.
  FaceMesh run(bool stretched) {
    if (stretched) {
      scale_ = {domain_.scale.u * domain_.stretch.u, domain_.scale.v * domain_.stretch.v};
    } else {
      scale_ = domain_.scale;
    }
    fitBox();
    std::size_t expected = 0;
    for (const DomainLoop& loop : domain_.loops) expected += loop.size();
    Triangulation plane({-1, -1}, {1, 1}, 2 * expected, geometry_.counter());
    plane_ = &plane;
    if (!insertLoops()) return std::move(mesh_);
    geometry_.counter().spendSteps(plane.triangles().size());
    if (!plane.markInside()) {
      mesh_.usable = fail("loops that cross themselves or lie in one another");
      return std::move(mesh_);
    }
    refine();
    // Before there is memory for them.
    geometry_.counter().spendEvaluations(kEvaluationsPerTriangle * countInside());
    if (geometry_.mayWork()) collect();
    return std::move(mesh_);
  }

 private:
  void fitBox() {
    Vec2 low{kBeyondAll, kBeyondAll};
    Vec2 high{-kBeyondAll, -kBeyondAll};
    for (const DomainLoop& loop : domain_.loops) {
      for (const DomainPoint& p : loop) {
        low = {std::min(low.u, p.uv.u), std::min(low.v, p.uv.v)};
        high = {std::max(high.u, p.uv.u), std::max(high.v, p.uv.v)};
      }
    }
    middle_ = (low + high) * 0.5;
    const double size = std::max((high.u - low.u) * scale_.u, (high.v - low.v) * scale_.v) / 2;
    factor_ = size > 0 ? 1 / size : 1;
  }

  [[nodiscard]] Vec2 toPlane(Vec2 uv) const {
    return {(uv.u - middle_.u) * scale_.u * factor_, (uv.v - middle_.v) * scale_.v * factor_};
  }

  bool insertLoops() {
    std::vector<std::vector<std::uint32_t>> numbers;
    for (const DomainLoop& loop : domain_.loops) {
      auto& of_loop = numbers.emplace_back();
      for (const DomainPoint& p : loop) {
        const std::uint32_t number = plane_->insert(toPlane(p.uv));
        if (number == Triangulation::kNoTriangle) return reject("a point that cannot be placed");
        if (number == nodes_.size()) {
          nodes_.add(p.uv, p.id);
        } else if (nodes_[number].id != p.id && distance(points_[nodes_[number].id], points_[p.id]) >
                                                    tolerances_.chord * kPrecisionShare) {
          mesh_.wishes.push_back({p.edge});
          return reject("different points of the edges at one place of the surface");
        }
        of_loop.push_back(number);
      }
    }
    std::unordered_map<std::uint64_t, std::uint32_t> edge_of;
    const auto key = [](std::uint32_t a, std::uint32_t b) {
      return (std::uint64_t{std::min(a, b)} << 32) | std::max(a, b);
    };
    for (std::size_t l = 0; l < numbers.size(); ++l) {
      const DomainLoop& loop = domain_.loops[l];
      for (std::size_t i = 0; i < loop.size(); ++i) {
        const std::uint32_t a = numbers[l][i];
        const std::uint32_t b = numbers[l][(i + 1) % loop.size()];
        if (a == b) continue;
        std::pair<std::uint32_t, std::uint32_t> blocking;
        const auto result = plane_->constrain(a, b, blocking);
        if (result == Triangulation::Constraint::Done) {
          edge_of.emplace(key(a, b), loop[i].edge);
          continue;
        }
        blocked(numbers, loop[i].edge, blocking, edge_of, key(blocking.first, blocking.second));
      }
    }
    if (!blocked_) return true;
    return reject("edges of the face that cross each other");
  }

  void blocked(const std::vector<std::vector<std::uint32_t>>& numbers, std::uint32_t edge,
               const std::pair<std::uint32_t, std::uint32_t>& by,
               const std::unordered_map<std::uint64_t, std::uint32_t>& edge_of, std::uint64_t key) {
    blocked_ = true;
    auto& list = mesh_.wishes;
    if (edge != kNoEdge) list.push_back({edge});
    if (by.first != by.second) {
      const auto found = edge_of.find(key);
      if (found != edge_of.end() && found->second != kNoEdge) list.push_back({found->second});
      return;
    }
    // Blocked by a point: refine the edges of both pieces that meet there.
    geometry_.counter().spendSteps(nodes_.size());
    for (std::size_t l = 0; l < numbers.size(); ++l) {
      const auto& of_loop = numbers[l];
      for (std::size_t i = 0; i < of_loop.size(); ++i) {
        if (of_loop[i] != by.first) continue;
        for (const std::size_t k : {i, (i + of_loop.size() - 1) % of_loop.size()}) {
          if (domain_.loops[l][k].edge != kNoEdge) list.push_back({domain_.loops[l][k].edge});
        }
      }
    }
  }

  bool reject(const char* why, CheckPlace check = CheckPlace::current()) {
    mesh_.usable = fail(why, check);
    return false;
  }

  [[nodiscard]] const Vec3& point(std::uint32_t number) const { return points_[nodes_[number].id]; }

  bool edgeIsFine(std::uint32_t a, std::uint32_t b) {
    if (!not_wanted_.empty() && not_wanted_.contains(std::minmax(nodes_[a].id, nodes_[b].id))) {
      return false;
    }
    const Vec3& pa = point(a);
    const Vec3& pb = point(b);
    const double size = distance(pa, pb);
    const SurfacePoint s = geometry_.at(domain_.surface, (nodes_[a].uv + nodes_[b].uv) * 0.5);
    const Vec3 n = normalized(cross(s.du, s.dv));
    const Vec3 off = s.p - (pa + pb) * 0.5;
    const double above = std::abs(dot(off, n));
    if (above > tolerances_.chord * kChordSlack) return false;
    if (size > 0) {
      const Vec3 along = (pb - pa) * (1 / size);
      const double aside = length(off - along * dot(off, along));
      if (aside > kMaximumDrift * size && aside > tolerances_.chord) return false;
    } else if (length(off) > tolerances_.chord) {
      return false;
    }
    if (size <= 2 * tolerances_.minimum_edge || size < kModelResolution) return true;
    const double limit = tolerances_.angle * kAngleSlack;
    if (angleBetween(nodes_.normal(a), nodes_.normal(b)) > limit) return false;
    return n == Vec3{} ||
           2 * std::max(angleBetween(nodes_.normal(a), n), angleBetween(nodes_.normal(b), n)) <=
               limit * kHalfAngleSlack;
  }

  bool centerIsFine(const Triangulation::Triangle& t) {
    const Vec3& a = point(t.corner[0]);
    const Vec3& b = point(t.corner[1]);
    const Vec3& c = point(t.corner[2]);
    const Vec3 n = normalized(cross(b - a, c - a));
    if (n == Vec3{}) return true;
    const Vec2 uv = (nodes_[t.corner[0]].uv + nodes_[t.corner[1]].uv + nodes_[t.corner[2]].uv) * (1.0 / 3);
    const Vec3 off = geometry_.at(domain_.surface, uv).p - (a + b + c) * (1.0 / 3);
    return std::abs(dot(off, n)) <= tolerances_.chord * kChordSlack;
  }

  static constexpr std::uint32_t kNoCorner = 0xffffffffU;
  struct Split {
    double size;
    std::uint32_t triangle;
    std::uint32_t a;
    std::uint32_t b;
    std::uint32_t c;  // kNoCorner: split a-b at its middle; else split the triangle at its centre
  };

  void findSplits(std::vector<Split>& splits) {
    const std::size_t count = plane_->triangles().size();
    geometry_.counter().spendSteps(count);
    for (std::uint32_t t = 0; t < count; ++t) {
      Triangulation::Triangle& triangle = plane_->triangle(t);
      if (!triangle.inside) continue;
      bool all_fine = true;
      for (std::size_t i = 0; i < 3; ++i) {
        if (triangle.fixed[i] || triangle.done[i]) continue;
        const std::uint32_t a = triangle.corner[(i + 1) % 3];
        const std::uint32_t b = triangle.corner[(i + 2) % 3];
        const std::uint32_t other = triangle.neighbor[i];
        if (other < t) {
          // Already tested from the neighbouring triangle in this round.
          for (std::size_t k = 0; k < 3; ++k) {
            if (plane_->triangle(other).neighbor[k] == t && plane_->triangle(other).done[k])
              triangle.done[i] = true;
          }
          if (triangle.done[i]) continue;
          all_fine = false;
          continue;
        }
        if (edgeIsFine(a, b)) {
          triangle.done[i] = true;
          continue;
        }
        all_fine = false;
        splits.push_back({distance(point(a), point(b)), t, a, b, kNoCorner});
      }
      if (!all_fine || triangle.center_done) continue;
      if (centerIsFine(triangle)) {
        triangle.center_done = true;
      } else {
        splits.push_back({0, t, triangle.corner[0], triangle.corner[1], triangle.corner[2]});
      }
    }
  }

  [[nodiscard]] bool stillThere(const Split& split) const {
    const auto& corner = plane_->triangles()[split.triangle].corner;
    const auto has = [&](std::uint32_t p) { return corner[0] == p || corner[1] == p || corner[2] == p; };
    return has(split.a) && has(split.b) && (split.c == kNoCorner || has(split.c));
  }

  void refine() {
    if (domain_.surface.kind == SurfaceKind::Plane && not_wanted_.empty()) return;
    std::vector<Split> splits;
    for (int round = 0; round < kMaximumRounds && geometry_.mayWork(); ++round) {
      splits.clear();
      findSplits(splits);
      if (splits.empty()) return;
      std::stable_sort(splits.begin(), splits.end(),
                       [](const Split& a, const Split& b) { return a.size > b.size; });
      bool any = false;
      for (const Split& split : splits) {
        if (nodes_.size() >= kMaximumFacePoints) return;
        if (!stillThere(split)) continue;
        any = addMiddle(split) || any;
      }
      if (!any) return;
    }
  }

  bool addMiddle(const Split& split) {
    const bool of_edge = split.c == kNoCorner;
    const Vec2 sum = nodes_[split.a].uv + nodes_[split.b].uv;
    const Vec2 uv = of_edge ? sum * 0.5 : (sum + nodes_[split.c].uv) * (1.0 / 3);
    const std::uint32_t number = plane_->refine(split.triangle, toPlane(uv));
    if (number == Triangulation::kNoTriangle || number != nodes_.size()) return false;
    const Vec3 p = geometry_.at(domain_.surface, uv).p;
    nodes_.add(uv, static_cast<std::uint32_t>(points_.size()));
    points_.push_back(p);
    return true;
  }

  [[nodiscard]] std::uint64_t countInside() const {
    const auto& triangles = plane_->triangles();
    return static_cast<std::uint64_t>(
        std::count_if(triangles.begin(), triangles.end(), [](const auto& t) { return t.inside; }));
  }

  void collect() {
    constexpr std::uint32_t kNoNormal = 0xffffffffU;  // the corner is in no triangle yet
    std::vector<std::uint32_t> normal_of(nodes_.size(), kNoNormal);
    const double sign = domain_.flipped ? -1 : 1;
    for (const Triangulation::Triangle& t : plane_->triangles()) {
      if (!t.inside) continue;
      std::uint32_t ids[3];
      for (std::size_t i = 0; i < 3; ++i) ids[i] = nodes_[t.corner[i]].id;
      // Degenerate: two corners are copies of one pole or seam point.
      if (ids[0] == ids[1] || ids[1] == ids[2] || ids[2] == ids[0]) continue;
      const Vec3 across = cross(points_[ids[1]] - points_[ids[0]], points_[ids[2]] - points_[ids[0]]);
      for (std::size_t i = 0; i < 3; ++i) {
        const std::size_t k = domain_.flipped ? 2 - i : i;
        const std::uint32_t number = t.corner[k];
        const Vec3 at_corner = nodes_.normalAtCorner(t, k);
        if (dot(at_corner, across) < kTurnedCosine * length(across)) ++turned_;
        mesh_.corners.push_back(ids[k]);
        if (normal_of[number] == kNoNormal || nodes_[number].singular) {
          normal_of[number] = static_cast<std::uint32_t>(mesh_.normals.size());
          mesh_.normals.push_back(at_corner * sign);
        }
        mesh_.corner_normals.push_back(normal_of[number]);
      }
    }
  }

  Geometry& geometry_;
  const FaceDomain& domain_;
  const Tolerances& tolerances_;
  const PointPairs& not_wanted_;
  std::vector<Vec3>& points_;
  Triangulation* plane_ = nullptr;
  FaceNodes nodes_;
  FaceMesh mesh_;
  Vec2 scale_;
  std::size_t turned_ = 0;
  Vec2 middle_;
  double factor_ = 1;
  bool blocked_ = false;
};

FaceMesh withoutWork(FaceMesh mesh) {
  mesh.usable = fail(kTooMuchWork);
  mesh.wishes.clear();
  return mesh;
}

}  // namespace

FaceMesh meshFace(Geometry& geometry, const FaceDomain& domain, const Tolerances& tolerances,
                  const PointPairs& not_wanted, std::vector<Vec3>& points) {
  const std::size_t known_points = points.size();
  if (!domain.usable) {
    FaceMesh none;
    none.usable = domain.usable;
    return none;
  }
  Mesher stretched(geometry, domain, tolerances, not_wanted, points);
  FaceMesh made = stretched.run(true);
  if (!geometry.mayWork()) return withoutWork(std::move(made));
  if (made.usable && stretched.turnedCorners() == 0) return made;
  if (domain.stretch == Vec2{1, 1}) return made;
  // The stretched triangulation failed or turned triangles over: try without stretch.
  const auto first_own = points.begin() + static_cast<std::ptrdiff_t>(known_points);
  const std::vector<Vec3> own_points(first_own, points.end());
  points.resize(known_points);
  Mesher plain(geometry, domain, tolerances, not_wanted, points);
  FaceMesh other = plain.run(false);
  if (!geometry.mayWork()) other = withoutWork(std::move(other));
  const bool better = !made.usable || plain.turnedCorners() < stretched.turnedCorners();
  if (other.usable && better) return other;
  points.resize(known_points);
  points.insert(points.end(), own_points.begin(), own_points.end());
  return made;
}

}  // namespace jttk::brep
