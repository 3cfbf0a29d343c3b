#include "zix/feature_edges.h"

#include <algorithm>
#include <cmath>

namespace Orb::Zix {

namespace {

struct Side {
  std::uint32_t low;
  std::uint32_t high;
  std::uint32_t face;
};

bool isUsable(const Vec3& point) { return !std::isnan(point[0]); }

// For every point the first one at the same place.
std::vector<std::uint32_t> firstAtSamePlace(const std::vector<Vec3>& points) {
  std::vector<std::uint32_t> order;
  std::vector<std::uint32_t> first(points.size());
  for (std::uint32_t i = 0; i < points.size(); ++i) {
    first[i] = i;
    if (isUsable(points[i])) order.push_back(i);
  }
  std::sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
    return points[a] != points[b] ? points[a] < points[b] : a < b;
  });
  for (std::size_t i = 1; i < order.size(); ++i) {
    if (points[order[i]] == points[order[i - 1]]) first[order[i]] = first[order[i - 1]];
  }
  return first;
}

// Of length 1, or nothing where the triangle has no area.
bool unitNormal(const Vec3& a, const Vec3& b, const Vec3& c, Vec3& normal) {
  const Vec3 u = {b[0] - a[0], b[1] - a[1], b[2] - a[2]};
  const Vec3 v = {c[0] - a[0], c[1] - a[1], c[2] - a[2]};
  normal = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
  const float length = std::sqrt(normal[0] * normal[0] + normal[1] * normal[1] + normal[2] * normal[2]);
  if (!(length > 0) || !std::isfinite(length)) return false;
  for (float& value : normal) value /= length;
  return true;
}

}  // namespace

std::vector<std::array<std::uint32_t, 2>> featureEdges(const MeshArrays& mesh,
                                                       const std::vector<Vec3>& points) {
  constexpr float kFlattest = 0.866F;  // cosine of 30 degrees
  const std::vector<std::uint32_t> place = firstAtSamePlace(points);
  std::vector<Side> sides;
  std::vector<Vec3> normals;
  forEachElement(mesh, [&](std::span<const std::uint32_t> t) {
    Vec3 normal{};
    if (!isUsable(points[t[0]]) || !isUsable(points[t[1]]) || !isUsable(points[t[2]])) return;
    if (!unitNormal(points[t[0]], points[t[1]], points[t[2]], normal)) return;
    for (std::size_t k = 0; k < 3; ++k) {
      const auto [low, high] = std::minmax(place[t[k]], place[t[(k + 1) % 3]]);
      sides.push_back({low, high, static_cast<std::uint32_t>(normals.size())});
    }
    normals.push_back(normal);
  });
  std::sort(sides.begin(), sides.end(), [](const Side& a, const Side& b) {
    return a.low != b.low ? a.low < b.low : a.high != b.high ? a.high < b.high : a.face < b.face;
  });
  std::vector<std::array<std::uint32_t, 2>> edges;
  for (std::size_t i = 0; i < sides.size();) {
    std::size_t end = i + 1;
    while (end < sides.size() && sides[end].low == sides[i].low && sides[end].high == sides[i].high) ++end;
    bool drawn = end != i + 2;
    if (!drawn) {
      const Vec3& a = normals[sides[i].face];
      const Vec3& b = normals[sides[i + 1].face];
      drawn = std::abs(a[0] * b[0] + a[1] * b[1] + a[2] * b[2]) < kFlattest;
    }
    if (drawn) edges.push_back({sides[i].low, sides[i].high});
    i = end;
  }
  return edges;
}

}  // namespace Orb::Zix
