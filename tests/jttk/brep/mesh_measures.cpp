#include "tests/jttk/brep/mesh_measures.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <unordered_map>
#include <utility>

#include "tests/jttk/brep/mesh_distance.h"

namespace jttk::brep {
namespace {

double toSegment(const Vec3& p, const Vec3& a, const Vec3& b) {
  const Vec3 chord = b - a;
  const double size = dot(chord, chord);
  const double t = size > 0 ? std::clamp(dot(p - a, chord) / size, 0.0, 1.0) : 0;
  return distance(p, a + chord * t);
}

double toTriangle(const Vec3& p, const MeshDistance::Triangle& t) {
  const Vec3 n = normalized(cross(t.b - t.a, t.c - t.a));
  const bool over = dot(cross(t.b - t.a, p - t.a), n) >= 0 && dot(cross(t.c - t.b, p - t.b), n) >= 0 &&
                    dot(cross(t.a - t.c, p - t.c), n) >= 0;
  if (over && !(n == Vec3{})) return std::abs(dot(p - t.a, n));
  return std::min({toSegment(p, t.a, t.b), toSegment(p, t.b, t.c), toSegment(p, t.c, t.a)});
}

}  // namespace

MeshMeasures measure(const ShapeGeometry& shape) {
  MeshMeasures made;
  struct Key {
    std::array<std::uint32_t, 3> bits;
    bool operator==(const Key&) const = default;
  };
  struct Hash {
    std::size_t operator()(const Key& k) const {
      std::size_t h = 1469598103934665603U;
      for (const std::uint32_t b : k.bits) h = (h ^ b) * 1099511628211U;
      return h;
    }
  };
  std::unordered_map<Key, std::uint32_t, Hash> numbers;
  std::unordered_map<std::uint64_t, int> directed;
  std::vector<std::uint32_t> of_position(shape.positions.size() / 3);
  for (std::size_t i = 0; i < of_position.size(); ++i) {
    Key key{};
    for (std::size_t k = 0; k < 3; ++k) {
      const float value = shape.positions[3 * i + k] + 0.0F;
      std::memcpy(&key.bits[k], &value, sizeof value);
    }
    of_position[i] = numbers.try_emplace(key, static_cast<std::uint32_t>(numbers.size())).first->second;
  }
  for (std::size_t t = 0; t + 1 < shape.primitive_starts.size(); ++t) {
    const std::size_t first = shape.primitive_starts[t];
    std::uint32_t ids[3];
    Vec3 p[3];
    for (std::size_t k = 0; k < 3; ++k) {
      ids[k] = of_position[shape.corner_positions[first + k]];
      p[k] = cornerOf(shape, first + k);
    }
    if (ids[0] == ids[1] || ids[1] == ids[2] || ids[2] == ids[0]) {
      ++made.degenerate;
      continue;
    }
    ++made.triangles;
    const Vec3 normal = cross(p[1] - p[0], p[2] - p[0]);
    made.area += length(normal) / 2;
    made.volume += dot(p[0], cross(p[1], p[2])) / 6;
    for (std::size_t k = 0; k < 3; ++k) {
      ++directed[(std::uint64_t{ids[k]} << 32) | ids[(k + 1) % 3]];
      const std::uint32_t r = shape.corner_records[first + k];
      const Vec3 n{double{shape.normals[3 * r]}, double{shape.normals[3 * r + 1]},
                   double{shape.normals[3 * r + 2]}};
      if (std::abs(length(n) - 1) > 1e-5) ++made.bad_normals;
      if (dot(n, normal) < 0) ++made.against_normals;
    }
  }
  for (const auto& [edge, times] : directed) {
    const auto back = directed.find((edge << 32) | (edge >> 32));
    if (times != 1 || back == directed.end() || back->second != 1) ++made.open_edges;
  }
  return made;
}

double farthest(const ShapeGeometry& shape, const std::function<double(const Vec3&)>& distance, int steps) {
  double worst = 0;
  for (std::size_t t = 0; t + 1 < shape.primitive_starts.size(); ++t) {
    const std::size_t first = shape.primitive_starts[t];
    const Vec3 p[] = {cornerOf(shape, first), cornerOf(shape, first + 1), cornerOf(shape, first + 2)};
    for (int i = 0; i <= steps; ++i) {
      for (int k = 0; i + k <= steps; ++k) {
        worst = std::max(worst, distance((p[0] * i + p[1] * k + p[2] * (steps - i - k)) * (1.0 / steps)));
      }
    }
  }
  return worst;
}

MeshDistance::MeshDistance(std::vector<Triangle> triangles) : triangles_(std::move(triangles)) {
  nodes_.reserve(2 * triangles_.size() + 1);
  build(0, triangles_.size());
}

double MeshDistance::from(const Vec3& p, double enough) const {
  double best = std::numeric_limits<double>::infinity();
  std::vector<std::size_t> open{0};
  while (!open.empty() && best > enough) {
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

double MeshDistance::toBox(const Vec3& p, const Node& n) {
  const Vec3 d{std::max({n.low.x - p.x, 0.0, p.x - n.high.x}), std::max({n.low.y - p.y, 0.0, p.y - n.high.y}),
               std::max({n.low.z - p.z, 0.0, p.z - n.high.z})};
  return length(d);
}

std::size_t MeshDistance::build(std::size_t first, std::size_t last) {
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
    std::nth_element(begin + static_cast<std::ptrdiff_t>(first), begin + static_cast<std::ptrdiff_t>(middle),
                     begin + static_cast<std::ptrdiff_t>(last),
                     [&](const Triangle& a, const Triangle& b) { return key(a) < key(b); });
    node.left = build(first, middle);
    node.right = build(middle, last);
  }
  nodes_[number] = node;
  return number;
}

}  // namespace jttk::brep
