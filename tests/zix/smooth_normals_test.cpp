// Which corners of triangles join, and which direction a surface has there.
#include "zix/smooth_normals.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace Orb::Zix {
namespace {

using Vec3 = std::array<float, 3>;

// `corners` holds three points for each triangle: no two triangles share one by number.
class Triangles {
 public:
  explicit Triangles(const std::vector<Vec3>& corners) {
    for (const Vec3& point : corners) values_.insert(values_.end(), point.begin(), point.end());
    indices_.resize(corners.size());
    for (std::uint32_t i = 0; i < indices_.size(); ++i) indices_[i] = i;
    lengths_.assign(corners.size() / 3, 3);
  }
  [[nodiscard]] SmoothMesh smooth() const {
    return smoothMesh({MeshType::Triangles, 3, Values<float>(values_), Values<std::uint32_t>(indices_),
                       Values<std::uint32_t>(lengths_)});
  }
  [[nodiscard]] Vec3 point(std::uint32_t number) const {
    return {values_[3 * number], values_[3 * number + 1], values_[3 * number + 2]};
  }

 private:
  std::vector<float> values_;
  std::vector<std::uint32_t> indices_;
  std::vector<std::uint32_t> lengths_;
};

// Two triangles with the common edge from (0, 0, 0) to (0, 1, 0), the second turned up by an angle.
std::vector<Vec3> fold(double angle_deg) {
  const double angle_rad = angle_deg * std::acos(-1.0) / 180;
  const auto x = static_cast<float>(std::cos(angle_rad));
  const auto z = static_cast<float>(std::sin(angle_rad));
  return {{0, 0, 0}, {0, 1, 0}, {-1, 0, 0}, {0, 1, 0}, {0, 0, 0}, {x, 0, z}};
}

float cosineBetween(const Vec3& a, const Vec3& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

TEST(SmoothNormals, CornersJoinWhereFacesMeetAtLessThan40Degrees) {
  const SmoothMesh soft = Triangles(fold(39.5)).smooth();
  EXPECT_EQ(soft.vertices.size(), 4U);
  EXPECT_THAT(soft.corners, ::testing::ElementsAre(0, 1, 2, 1, 0, 3));
  const SmoothMesh hard = Triangles(fold(40.5)).smooth();
  EXPECT_EQ(hard.vertices.size(), 6U);
  EXPECT_EQ(hard.vertices[hard.corners[0]].normal, (Vec3{0, 0, 1}));
}

TEST(SmoothNormals, OfEqualFacesTheMeanIsHalfWay) {
  const SmoothMesh soft = Triangles(fold(30)).smooth();
  const Vec3 normal = soft.vertices[0].normal;
  EXPECT_NEAR(normal[0], -std::sin(std::acos(-1.0) / 12), 1e-6);
  EXPECT_NEAR(normal[2], std::cos(std::acos(-1.0) / 12), 1e-6);
}

// A square of eight triangles around its middle, and a narrow strip along one of its sides that slopes by 30
// degrees.
TEST(SmoothNormals, AFlatFaceStaysFlatBesideANarrowBevel) {
  std::vector<Vec3> corners;
  const Vec3 ring[] = {{10, -10, 0}, {10, 0, 0},  {10, 10, 0},   {0, 10, 0},
                       {-10, 10, 0}, {-10, 0, 0}, {-10, -10, 0}, {0, -10, 0}};
  for (std::size_t i = 0; i < 8; ++i) {
    for (const Vec3& point : {Vec3{0, 0, 0}, ring[i], ring[(i + 1) % 8]}) corners.push_back(point);
  }
  const float out = 10 + 0.5F * 0.866F;
  for (const float y : {-10.0F, 0.0F}) {
    const Vec3 a = {10, y, 0};
    const Vec3 b = {10, y + 10, 0};
    const Vec3 c = {out, y, -0.25F};
    const Vec3 d = {out, y + 10, -0.25F};
    for (const Vec3& point : {a, c, b, b, c, d}) corners.push_back(point);
  }
  const SmoothMesh mesh = Triangles(corners).smooth();
  for (std::size_t corner = 0; corner < 24; ++corner) {
    EXPECT_GT(mesh.vertices[mesh.corners[corner]].normal[2], 0.9999F) << corner;
  }
  EXPECT_EQ(mesh.corners[24], mesh.corners[1]) << "the bevel joins";
  const Vec3 outer = mesh.vertices[mesh.corners[25]].normal;
  EXPECT_NEAR(outer[0], 0.5, 1e-3);
}

// Sixteen sides, each of two triangles: the direction is that of the radius, whichever way a side is cut.
TEST(SmoothNormals, OfACylinderPointOutwards) {
  std::vector<Vec3> corners;
  const auto at = [](unsigned side, float z) {
    const double angle_rad = side % 16 * std::acos(-1.0) / 8;
    return Vec3{static_cast<float>(std::cos(angle_rad)), static_cast<float>(std::sin(angle_rad)), z};
  };
  for (unsigned side = 0; side < 16; ++side) {
    for (const Vec3& point :
         {at(side, 0), at(side + 1, 0), at(side + 1, 1), at(side, 0), at(side + 1, 1), at(side, 1)})
      corners.push_back(point);
  }
  const Triangles triangles(corners);
  const SmoothMesh mesh = triangles.smooth();
  for (const SmoothMesh::Vertex& vertex : mesh.vertices) {
    const Vec3 point = triangles.point(vertex.point);
    EXPECT_GT(cosineBetween(vertex.normal, {point[0], point[1], 0}), 0.99999F) << vertex.point;
  }
}

TEST(SmoothNormals, AreOfLength1WhateverTheTrianglesAre) {
  const float nowhere = std::numeric_limits<float>::quiet_NaN();
  std::vector<Vec3> corners = fold(20);
  for (const Vec3& point :
       {Vec3{0, 0, 0}, Vec3{0, 1, 0}, Vec3{0, 2, 0},  // no area, at the others' points
        Vec3{9, 9, 9}, Vec3{9, 9, 9}, Vec3{9, 9, 9},  // no area, alone
        Vec3{3e38F, 0, 0}, Vec3{0, 3e38F, 0}, Vec3{-3e38F, 0, 0}, Vec3{1e-30F, 0, 5}, Vec3{0, 1e-30F, 5},
        Vec3{0, 0, 5}, Vec3{0, 0, 0}, Vec3{nowhere, 1, 0}, Vec3{1, 0, 0}})
    corners.push_back(point);
  const SmoothMesh mesh = Triangles(corners).smooth();
  EXPECT_EQ(mesh.corners.size(), 3U * 6) << "all but the one that is nowhere";
  for (const SmoothMesh::Vertex& vertex : mesh.vertices)
    EXPECT_NEAR(cosineBetween(vertex.normal, vertex.normal), 1, 1e-5) << vertex.point;
  EXPECT_EQ(mesh.corners[6], mesh.corners[0]) << "a triangle without area takes what is there";
  EXPECT_EQ(mesh.vertices[mesh.corners[9]].normal, (Vec3{0, 0, 1}));
}

// A fan of very many triangles around one point, and very many on one edge.
TEST(SmoothNormals, TakeNoTimeWhereVeryManyTrianglesMeet) {
  std::vector<Vec3> corners;
  for (int i = 0; i < 200000; ++i) {
    const auto x = static_cast<float>(i);
    for (const Vec3& point : {Vec3{0, 0, 0}, Vec3{x, 1, 0}, Vec3{x + 1, 1, 0}}) corners.push_back(point);
    for (const Vec3& point : {Vec3{0, 0, 0}, Vec3{0, 0, 1}, Vec3{x, 7, 0}}) corners.push_back(point);
  }
  EXPECT_EQ(Triangles(corners).smooth().corners.size(), corners.size());
}

}  // namespace
}  // namespace Orb::Zix
