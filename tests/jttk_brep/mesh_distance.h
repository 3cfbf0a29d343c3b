// Distance of points from a triangle mesh, by a tree of boxes.
#pragma once

#include <algorithm>
#include <limits>
#include <vector>

#include "jttk/brep/vec.h"

namespace jttk::brep {

class MeshDistance {
 public:
  struct Triangle {
    Vec3 a, b, c;
  };

  explicit MeshDistance(std::vector<Triangle> triangles) : triangles_(std::move(triangles)) {
    nodes_.reserve(2 * triangles_.size() + 1);
    build(0, triangles_.size());
  }

  [[nodiscard]] double from(const Vec3& p) const {
    double best = std::numeric_limits<double>::infinity();
    std::vector<std::size_t> open{0};
    while (!open.empty()) {
      const Node& node = nodes_[open.back()];
      open.pop_back();
      if (toBox(p, node) >= best) continue;
      if (node.left == 0) {
        for (std::size_t i = node.first; i < node.last; ++i)
          best = std::min(best, toTriangle(p, triangles_[i]));
        continue;
      }
      // The nearer child last, so that it is looked at first.
      const bool left_nearer = toBox(p, nodes_[node.left]) < toBox(p, nodes_[node.right]);
      open.push_back(left_nearer ? node.right : node.left);
      open.push_back(left_nearer ? node.left : node.right);
    }
    return best;
  }

 private:
  struct Node {
    Vec3 low, high;
    std::size_t first = 0, last = 0, left = 0, right = 0;
  };

  static double toBox(const Vec3& p, const Node& n) {
    const Vec3 d{std::max({n.low.x - p.x, 0.0, p.x - n.high.x}),
                 std::max({n.low.y - p.y, 0.0, p.y - n.high.y}),
                 std::max({n.low.z - p.z, 0.0, p.z - n.high.z})};
    return length(d);
  }

  static double toSegment(const Vec3& p, const Vec3& a, const Vec3& b) {
    const Vec3 way = b - a;
    const double size = dot(way, way);
    const double t = size > 0 ? std::clamp(dot(p - a, way) / size, 0.0, 1.0) : 0;
    return distance(p, a + way * t);
  }

  static double toTriangle(const Vec3& p, const Triangle& t) {
    const Vec3 n = normalized(cross(t.b - t.a, t.c - t.a));
    const bool over = dot(cross(t.b - t.a, p - t.a), n) >= 0 && dot(cross(t.c - t.b, p - t.b), n) >= 0 &&
                      dot(cross(t.a - t.c, p - t.c), n) >= 0;
    if (over && !(n == Vec3{})) return std::abs(dot(p - t.a, n));
    return std::min({toSegment(p, t.a, t.b), toSegment(p, t.b, t.c), toSegment(p, t.c, t.a)});
  }

  std::size_t build(std::size_t first, std::size_t last) {
    const std::size_t number = nodes_.size();
    nodes_.emplace_back();
    Node node;
    node.first = first;
    node.last = last;
    node.low = {1e300, 1e300, 1e300};
    node.high = {-1e300, -1e300, -1e300};
    for (std::size_t i = first; i < last; ++i) {
      for (const Vec3& p : {triangles_[i].a, triangles_[i].b, triangles_[i].c}) {
        node.low = {std::min(node.low.x, p.x), std::min(node.low.y, p.y), std::min(node.low.z, p.z)};
        node.high = {std::max(node.high.x, p.x), std::max(node.high.y, p.y), std::max(node.high.z, p.z)};
      }
    }
    if (last - first > 4) {
      const Vec3 size = node.high - node.low;
      const auto key = [&](const Triangle& t) {
        const Vec3 sum = t.a + t.b + t.c;
        return size.x >= size.y && size.x >= size.z ? sum.x : size.y >= size.z ? sum.y : sum.z;
      };
      const std::size_t middle = (first + last) / 2;
      const auto begin = triangles_.begin();
      std::nth_element(begin + static_cast<std::ptrdiff_t>(first),
                       begin + static_cast<std::ptrdiff_t>(middle), begin + static_cast<std::ptrdiff_t>(last),
                       [&](const Triangle& a, const Triangle& b) { return key(a) < key(b); });
      node.left = build(first, middle);
      node.right = build(middle, last);
    }
    nodes_[number] = node;
    return number;
  }

  std::vector<Triangle> triangles_;
  std::vector<Node> nodes_;
};

}  // namespace jttk::brep
