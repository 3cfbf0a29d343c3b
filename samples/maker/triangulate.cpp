// Triangulates a flat outline with holes: each hole is joined to the outline by a double edge (a bridge),
// then ears are cut. For outlines of some hundred points.
#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

#include "samples/maker/solids.h"

namespace loftbay::maker {
namespace {

double area2(const Point2& a, const Point2& b, const Point2& c) {
  return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

bool samePoint(const Point2& a, const Point2& b) { return a.x == b.x && a.y == b.y; }

bool crossing(const Point2& a, const Point2& b, const Point2& c, const Point2& d) {
  return area2(a, b, c) * area2(a, b, d) < 0 && area2(c, d, a) * area2(c, d, b) < 0;
}

class Triangulator {
 public:
  Triangulator(const Outline& outline, const std::vector<Outline>& holes) {
    points_ = outline;
    for (std::uint32_t i = 0; i < outline.size(); ++i) ring_.push_back(i);
    std::vector<std::vector<std::uint32_t>> rest;
    for (const auto& hole : holes) {
      auto& ids = rest.emplace_back();
      for (const auto& p : hole) {
        ids.push_back(static_cast<std::uint32_t>(points_.size()));
        points_.push_back(p);
      }
    }
    while (!rest.empty()) bridge(rest);
  }

  std::vector<std::array<std::uint32_t, 3>> run() {
    std::vector<std::array<std::uint32_t, 3>> out;
    while (ring_.size() > 3) {
      const std::size_t ear = bestEar();
      out.push_back({at(ear + ring_.size() - 1), at(ear), at(ear + 1)});
      ring_.erase(ring_.begin() + static_cast<std::ptrdiff_t>(ear));
    }
    out.push_back({ring_[0], ring_[1], ring_[2]});
    return out;
  }

 private:
  [[nodiscard]] std::uint32_t at(std::size_t i) const { return ring_[i % ring_.size()]; }
  [[nodiscard]] const Point2& point(std::size_t i) const { return points_[at(i)]; }

  [[nodiscard]] bool blocked(const Point2& a, const Point2& b, const std::vector<std::uint32_t>& loop) const {
    for (std::size_t i = 0; i < loop.size(); ++i) {
      const Point2& c = points_[loop[i]];
      const Point2& d = points_[loop[(i + 1) % loop.size()]];
      if (crossing(a, b, c, d)) return true;
      // A point on the bridge, other than its ends.
      if (!samePoint(c, a) && !samePoint(c, b) && area2(a, b, c) == 0 &&
          (c.x - a.x) * (c.x - b.x) + (c.y - a.y) * (c.y - b.y) < 0) {
        return true;
      }
    }
    return false;
  }

  // Ties in the hole point and ring point that see each other over the shortest distance.
  void bridge(std::vector<std::vector<std::uint32_t>>& rest) {
    double best = std::numeric_limits<double>::max();
    std::size_t best_hole = 0;
    std::size_t best_in_hole = 0;
    std::size_t best_in_ring = 0;
    for (std::size_t h = 0; h < rest.size(); ++h) {
      for (std::size_t i = 0; i < rest[h].size(); ++i) {
        for (std::size_t k = 0; k < ring_.size(); ++k) {
          const Point2& a = points_[rest[h][i]];
          const Point2& b = point(k);
          const double distance = (a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y);
          if (distance >= best || !opensTo(k, a) || blocked(a, b, ring_)) continue;
          if (std::any_of(rest.begin(), rest.end(), [&](const auto& loop) { return blocked(a, b, loop); }))
            continue;
          best = distance;
          best_hole = h;
          best_in_hole = i;
          best_in_ring = k;
        }
      }
    }
    if (best == std::numeric_limits<double>::max())
      throw std::runtime_error("a hole lies outside its outline");
    auto loop = rest[best_hole];
    rest.erase(rest.begin() + static_cast<std::ptrdiff_t>(best_hole));
    std::rotate(loop.begin(), loop.begin() + static_cast<std::ptrdiff_t>(best_in_hole), loop.end());
    loop.push_back(loop.front());
    loop.push_back(at(best_in_ring));
    ring_.insert(ring_.begin() + static_cast<std::ptrdiff_t>(best_in_ring) + 1, loop.begin(), loop.end());
  }

  // Whether the direction from ring point k to `target` lies inside the ring's angle there.
  [[nodiscard]] bool opensTo(std::size_t k, const Point2& target) const {
    const Point2& before = point(k + ring_.size() - 1);
    const Point2& here = point(k);
    const Point2& after = point(k + 1);
    const bool left_of_in = area2(before, here, target) > 0;
    const bool left_of_out = area2(here, after, target) > 0;
    return area2(before, here, after) > 0 ? left_of_in && left_of_out : left_of_in || left_of_out;
  }

  [[nodiscard]] bool isEar(std::size_t i) const {
    const Point2& a = point(i + ring_.size() - 1);
    const Point2& b = point(i);
    const Point2& c = point(i + 1);
    if (area2(a, b, c) <= 0) return false;
    for (std::size_t k = 0; k < ring_.size(); ++k) {
      const Point2& p = point(k);
      if (samePoint(p, a) || samePoint(p, b) || samePoint(p, c)) continue;
      if (area2(a, b, p) >= 0 && area2(b, c, p) >= 0 && area2(c, a, p) >= 0) return false;
    }
    return true;
  }

  // The ear with the largest smallest side ratio gives better triangles than the first one.
  [[nodiscard]] std::size_t bestEar() const {
    double best = -1;
    std::size_t found = ring_.size();
    for (std::size_t i = 0; i < ring_.size(); ++i) {
      if (!isEar(i)) continue;
      const Point2& a = point(i + ring_.size() - 1);
      const Point2& b = point(i);
      const Point2& c = point(i + 1);
      const auto squared = [](const Point2& p, const Point2& q) {
        return (p.x - q.x) * (p.x - q.x) + (p.y - q.y) * (p.y - q.y);
      };
      const double quality = area2(a, b, c) / std::max({squared(a, b), squared(b, c), squared(c, a)});
      if (quality > best + 1e-9) {
        best = quality;
        found = i;
      }
    }
    if (found == ring_.size()) throw std::runtime_error("an outline crosses itself");
    return found;
  }

  std::vector<Point2> points_;
  std::vector<std::uint32_t> ring_;
};

}  // namespace

std::vector<std::array<std::uint32_t, 3>> triangulated(const Outline& outline,
                                                       const std::vector<Outline>& holes) {
  return Triangulator(outline, holes).run();
}

}  // namespace loftbay::maker
