#include "zix/feature_edges.h"

#include <algorithm>
#include <cmath>
#include <span>

#include "zix/same_place.h"

namespace Orb::Zix {

namespace {

// One side of a triangle; the lower of its two points is the bucket that it lies in.
struct Side {
  std::uint32_t high;
  std::uint32_t face;
};

bool isUsable(const Vec3& point) { return !std::isnan(point[0]); }

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

// The triangles that have an area, their corners as numbers of positions, with their normals.
struct Faces {
  std::vector<std::array<std::uint32_t, 3>> corners;
  std::vector<Vec3> normals;
};

Faces facesOf(const MeshArrays& mesh, const std::vector<Vec3>& points) {
  const std::vector<std::uint32_t> place = firstAtSamePlace(points);
  Faces faces;
  faces.corners.reserve(mesh.lengths.size());
  faces.normals.reserve(mesh.lengths.size());
  forEachElement(mesh, [&](std::span<const std::uint32_t> t) {
    Vec3 normal{};
    if (!isUsable(points[t[0]]) || !isUsable(points[t[1]]) || !isUsable(points[t[2]])) return;
    if (!unitNormal(points[t[0]], points[t[1]], points[t[2]], normal)) return;
    faces.corners.push_back({place[t[0]], place[t[1]], place[t[2]]});
    faces.normals.push_back(normal);
  });
  return faces;
}

template <typename Visit>
void forEachSide(const Faces& faces, Visit visit) {
  for (std::uint32_t face = 0; face < faces.corners.size(); ++face) {
    const auto& corners = faces.corners[face];
    for (std::size_t k = 0; k < 3; ++k) {
      const auto [low, high] = std::minmax(corners[k], corners[(k + 1) % 3]);
      visit(low, Side{high, face});
    }
  }
}

// All sides, those with the same lower point together: bucket n ends where bucket n + 1 begins.
struct Buckets {
  std::vector<std::size_t> begins;
  std::vector<Side> sides;
};

Buckets sortSides(const Faces& faces, std::size_t point_count) {
  Buckets buckets{std::vector<std::size_t>(point_count + 1), std::vector<Side>(3 * faces.corners.size())};
  forEachSide(faces, [&](std::uint32_t low, const Side&) { ++buckets.begins[low + 1]; });
  for (std::size_t i = 1; i <= point_count; ++i) buckets.begins[i] += buckets.begins[i - 1];
  std::vector<std::size_t> next(buckets.begins.begin(), buckets.begins.end() - 1);
  forEachSide(faces, [&](std::uint32_t low, const Side& side) { buckets.sides[next[low]++] = side; });
  return buckets;
}

// Drawn is where a surface ends, where it folds, and where more than two triangles meet.
bool isFeature(std::span<const Side> same, const std::vector<Vec3>& normals) {
  constexpr float kFlattest = 0.866F;  // cosine of 30 degrees
  if (same.size() != 2) return true;
  const Vec3& a = normals[same[0].face];
  const Vec3& b = normals[same[1].face];
  return std::abs(a[0] * b[0] + a[1] * b[1] + a[2] * b[2]) < kFlattest;
}

}  // namespace

std::vector<std::array<std::uint32_t, 2>> featureEdges(const MeshArrays& mesh,
                                                       const std::vector<Vec3>& points) {
  const Faces faces = facesOf(mesh, points);
  Buckets buckets = sortSides(faces, points.size());
  std::vector<std::array<std::uint32_t, 2>> edges;
  for (std::uint32_t low = 0; low < points.size(); ++low) {
    const auto bucket =
        std::span(buckets.sides).subspan(buckets.begins[low], buckets.begins[low + 1] - buckets.begins[low]);
    std::sort(bucket.begin(), bucket.end(), [](const Side& a, const Side& b) {
      return a.high != b.high ? a.high < b.high : a.face < b.face;
    });
    for (std::size_t i = 0; i < bucket.size();) {
      std::size_t end = i + 1;
      while (end < bucket.size() && bucket[end].high == bucket[i].high) ++end;
      if (isFeature(bucket.subspan(i, end - i), faces.normals)) edges.push_back({low, bucket[i].high});
      i = end;
    }
  }
  return edges;
}

}  // namespace Orb::Zix
