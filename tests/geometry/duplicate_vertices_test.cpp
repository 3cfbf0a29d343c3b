// The fast merging of vertices against a literal one.
#include <gmock/gmock.h>

#include <bit>
#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <sstream>

#include "geometry/duplicate_vertices.h"

namespace loftbay::geometry {
namespace {

using Indices = std::vector<std::uint32_t>;

struct Merged {
  std::vector<Point> points;
  std::vector<Point> companions;
  Indices indices;
};

Merged merged(const std::vector<Point>& points, Indices indices, const std::vector<Point>& companion = {}) {
  Merged result{{}, {}, std::move(indices)};
  removeDuplicateVertices(points, result.points, result.indices, companion, result.companions);
  return result;
}

// The rule as it reads: a text stream makes the key, an ordered map finds it.
Merged mergedLiterally(const std::vector<Point>& points, Indices indices,
                       const std::vector<Point>& companion) {
  Merged result{{}, {}, std::move(indices)};
  std::map<std::string, std::uint32_t> vertices;
  Indices remap;
  std::ostringstream key;
  for (std::size_t i = 0; i < points.size(); ++i) {
    key.str("");
    key << points[i].x << points[i].y << points[i].z;
    const auto found = vertices.find(key.str());
    if (found != vertices.end()) {
      remap.push_back(found->second);
      continue;
    }
    const auto vertex = static_cast<std::uint32_t>(result.points.size());
    result.points.push_back(points[i]);
    if (!companion.empty()) result.companions.push_back(companion[i]);
    vertices[key.str()] = vertex;
    remap.push_back(vertex);
  }
  for (auto& index : result.indices) index = remap[index];
  return result;
}

std::vector<std::uint32_t> bits(const std::vector<Point>& points) {
  std::vector<std::uint32_t> result;
  for (const Point& p : points) {
    for (const float value : {p.x, p.y, p.z}) result.push_back(std::bit_cast<std::uint32_t>(value));
  }
  return result;
}

void expectLikeLiteral(const std::vector<Point>& points) {
  Indices indices;
  std::vector<Point> companion;
  for (std::size_t i = 0; i < points.size(); ++i) {
    indices.push_back(static_cast<std::uint32_t>(points.size() - 1 - i));
    companion.push_back({static_cast<float>(i), 0, 1});
  }
  const auto expected = mergedLiterally(points, indices, companion);
  const auto actual = merged(points, indices, companion);
  EXPECT_EQ(bits(actual.points), bits(expected.points));
  EXPECT_EQ(bits(actual.companions), bits(expected.companions));
  EXPECT_EQ(actual.indices, expected.indices);
}

TEST(RemoveDuplicateVertices, WithoutDuplicatesNothingChanges) {
  const std::vector<Point> points = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
  const auto result = merged(points, {2, 0, 1});
  EXPECT_EQ(bits(result.points), bits(points));
  EXPECT_EQ(result.indices, (Indices{2, 0, 1}));
}

TEST(RemoveDuplicateVertices, PositionsThatPrintAlikeAreOne) {
  const auto result = merged({{1.0000001F, 0, 0}, {1, 0, 0}}, {0, 1});
  EXPECT_EQ(bits(result.points), bits({{1.0000001F, 0, 0}}));  // the first one stays
  EXPECT_EQ(result.indices, (Indices{0, 0}));
}

TEST(RemoveDuplicateVertices, TextsThatCollideWhenJoinedAreOne) {
  const auto result = merged({{1, 23, 4}, {12, 3, 4}}, {1, 0});
  EXPECT_EQ(bits(result.points), bits({{1, 23, 4}}));
  EXPECT_EQ(result.indices, (Indices{0, 0}));
}

TEST(RemoveDuplicateVertices, ZeroAndMinusZeroStayApart) {
  EXPECT_EQ(merged({{0, 0, 0}, {-0.0F, 0, 0}}, {0, 1}).indices, (Indices{0, 1}));
}

TEST(RemoveDuplicateVertices, VerticesWithoutAnIndexAreKept) {
  const auto result = merged({{9, 9, 9}, {1, 0, 0}, {9, 9, 9}, {2, 0, 0}}, {3, 2});
  EXPECT_EQ(bits(result.points), bits({{9, 9, 9}, {1, 0, 0}, {2, 0, 0}}));
  EXPECT_EQ(result.indices, (Indices{2, 0}));
}

TEST(RemoveDuplicateVertices, TheFirstOccurrenceSuppliesTheCompanion) {
  const auto result =
      merged({{1, 1, 1}, {2, 2, 2}, {1, 1, 1}}, {0, 1, 2}, {{0.1F, 0, 0}, {0.2F, 0, 0}, {0.3F, 0, 0}});
  EXPECT_EQ(bits(result.companions), bits({{0.1F, 0, 0}, {0.2F, 0, 0}}));
}

TEST(RemoveDuplicateVertices, NothingGivesNothing) {
  const auto result = merged({}, {});
  EXPECT_TRUE(result.points.empty());
  EXPECT_TRUE(result.companions.empty());
  EXPECT_TRUE(result.indices.empty());
}

TEST(RemoveDuplicateVertices, AnIndexWithoutAPointAndFewCompanionsDoNoHarm) {
  const auto result = merged({{1, 1, 1}, {2, 2, 2}}, {1, 7}, {{5, 5, 5}});
  EXPECT_EQ(result.indices, (Indices{1, 7}));
  EXPECT_EQ(result.companions.size(), 1U);
}

TEST(TrianglesOfThreePoints, CountsCornersThatDifferByTheirBits) {
  const std::vector<Point> points = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 0}, {-0.0F, 0, 0}};
  EXPECT_EQ(trianglesOfThreePoints(points, Indices{0, 1, 2}), 1U);
  EXPECT_EQ(trianglesOfThreePoints(points, Indices{0, 4, 2, 1, 2, 0}), 2U);
  EXPECT_EQ(trianglesOfThreePoints(points, Indices{0, 3, 1}), 0U);
  EXPECT_EQ(trianglesOfThreePoints(points, Indices{0, 1, 3}), 0U);
  EXPECT_EQ(trianglesOfThreePoints(points, Indices{1, 0, 3}), 0U);
  EXPECT_EQ(trianglesOfThreePoints(points, Indices{2, 1, 2}), 0U);
  EXPECT_EQ(trianglesOfThreePoints(points, Indices{0, 1, 5}), 0U);  // there is no such point
}

TEST(RemoveDuplicateVertices, RandomMeshesEqualTheLiteralRule) {
  std::mt19937 random(1);
  std::uniform_real_distribution<float> values(-100, 100);
  std::vector<Point> points(20000);
  for (auto& p : points) p = {values(random), values(random), values(random)};
  for (std::size_t i = 0; i < points.size(); i += 3) points[i] = points[random() % points.size()];
  expectLikeLiteral(points);
}

TEST(RemoveDuplicateVertices, SmallDigitsThatCollideEqualTheLiteralRule) {
  std::mt19937 random(2);
  std::vector<Point> points(20000);
  const auto value = [&] { return static_cast<float>(random() % 130) * (random() % 8 == 0 ? -1.0F : 1.0F); };
  for (auto& p : points) p = {value(), value(), value()};
  expectLikeLiteral(points);
}

TEST(RemoveDuplicateVertices, NeighboursOfSixDigitTiesEqualTheLiteralRule) {
  std::mt19937 random(3);
  std::vector<Point> points;
  for (int i = 0; i < 20000; ++i) {
    float value = 0.5F + static_cast<float>(random() % 4096);
    value = std::ldexp(value, static_cast<int>(random() % 20) - 4);  // exact ties among them
    const float next = std::nextafter(value, 1e30F);
    points.push_back({value, next, std::nextafter(value, 0.0F)});
    points.push_back({next, value, value});
  }
  expectLikeLiteral(points);
}

TEST(RemoveDuplicateVertices, EveryKindOfBitPatternEqualsTheLiteralRule) {
  const float inf = std::numeric_limits<float>::infinity();
  std::vector<float> odd = {0.0F,
                            -0.0F,
                            inf,
                            -inf,
                            std::numeric_limits<float>::denorm_min(),
                            -std::numeric_limits<float>::denorm_min(),
                            std::numeric_limits<float>::min(),
                            std::numeric_limits<float>::max(),
                            999999.5F,
                            999999.44F,
                            1e-5F,
                            9.99999e-5F,
                            1e-4F,
                            1e15F,
                            1e21F};
#ifndef _WIN32  // whose C library loses the sign of a NaN, so that the literal rule's stream is no measure
                // there
  for (const std::uint32_t nan : {0x7FC00000U, 0x7FC00001U, 0xFFC00000U, 0x7F800001U, 0xFFFFFFFFU})
    odd.push_back(std::bit_cast<float>(nan));
#endif
  std::mt19937 random(4);
  std::vector<Point> points;
  for (int i = 0; i < 10000; ++i) {
    const auto pick = [&] {
      return random() % 4 == 0 ? std::bit_cast<float>(static_cast<std::uint32_t>(random()))
                               : odd[random() % odd.size()];
    };
    points.push_back({pick(), pick(), pick()});
  }
  expectLikeLiteral(points);
}

}  // namespace
}  // namespace loftbay::geometry
