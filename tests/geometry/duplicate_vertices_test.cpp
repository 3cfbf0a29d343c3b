// The fast merging of vertices against a literal one.
#include <gmock/gmock.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <map>
#include <random>
#include <sstream>

#include "geometry/duplicate_vertices.h"
#include "geometry/printed_digits.h"

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

// The text that tells vertices apart, by the C library.
std::string printed(float value) {
  char text[32];
  return {text,
          static_cast<std::size_t>(std::snprintf(text, sizeof(text), "%.6g", static_cast<double>(value)))};
}

// A float whose text has a sign, some digits out of `choice`, and a point somewhere.
float withDigits(std::mt19937& random, std::string_view choice, int most_digits) {
  std::string text = random() % 4 == 0 ? "-" : "";
  const int digits = 1 + static_cast<int>(random() % static_cast<unsigned>(most_digits));
  for (int i = 0; i < digits; ++i) text += choice[random() % choice.size()];
  text += "e" + std::to_string(static_cast<int>(random() % 9) - 6);
  return std::strtof(text.c_str(), nullptr);
}

// A float whose text has a point, six significant digits and no exponent; those in the middle out of
// `choice`.
float plainFloat(std::mt19937& random, std::string_view choice) {
  constexpr std::string_view kEnds = "1239";
  std::string text = random() % 4 == 0 ? "-0." : "0.";
  text += kEnds[random() % kEnds.size()];
  for (int i = 0; i < 4; ++i) text += choice[random() % choice.size()];
  text += kEnds[random() % kEnds.size()];
  text += "e" + std::to_string(static_cast<int>(random() % 9) - 3);
  return std::strtof(text.c_str(), nullptr);
}

// The positions that have the joined text of this one: the text is cut in all ways into three that are each
// what a float prints.
std::vector<Point> withTheSameText(const Point& point) {
  const std::string joined = printed(point.x) + printed(point.y) + printed(point.z);
  const auto number = [&joined](std::size_t from, std::size_t to, float* value) {
    const std::string piece = joined.substr(from, to - from);
    char* end = nullptr;
    *value = std::strtof(piece.c_str(), &end);
    return end == piece.c_str() + piece.size() && printed(*value) == piece;
  };
  std::vector<Point> result;
  Point p{};
  for (std::size_t i = 1; i < joined.size(); ++i) {
    if (!number(0, i, &p.x)) continue;
    for (std::size_t j = i + 1; j < joined.size(); ++j) {
      if (number(i, j, &p.y) && number(j, joined.size(), &p.z)) result.push_back(p);
    }
  }
  return result;
}

bool isPlain(const Point& p) {
  return plainDigits(p.x) != 0 && plainDigits(p.y) != 0 && plainDigits(p.z) != 0;
}

// A float is plain exactly if its text has a point, six significant digits and no exponent, and its number
// holds all that its text does.
void expectPlainLikeItsText(float value) {
  const std::string text = printed(value);
  std::string digits;
  for (const char c : text) {
    if (c >= '0' && c <= '9' && (c != '0' || !digits.empty())) digits += c;
  }
  const std::size_t point = text.find('.');
  const bool is_plain =
      point != std::string::npos && text.find('e') == std::string::npos && digits.size() == 6;
  const std::uint32_t number = plainDigits(value);
  ASSERT_EQ(number != 0, is_plain) << text;
  if (!is_plain) return;
  const auto decimal = static_cast<int>((number >> 20) & 0xFU) - 4;
  const std::size_t first = text.find_first_of("123456789");
  const int exponent = point > first ? static_cast<int>(point - first) - 1 : -static_cast<int>(first - point);
  ASSERT_EQ(number & 0xFFFFFU, std::stoul(digits)) << text;
  ASSERT_EQ(decimal, exponent) << text;
  ASSERT_EQ((number >> 31) != 0, text[0] == '-') << text;
}

TEST(PlainDigits, AreThoseOfTheText) {
  std::mt19937 random(11);
  for (int i = 0; i < 200'000; ++i) {
    // All signs and mantissas, with the exponents of plain floats and some beyond.
    const auto bits = static_cast<std::uint32_t>(random());
    const std::uint32_t field = 108 + (bits >> 23) % 40;
    expectPlainLikeItsText(std::bit_cast<float>((bits & 0x807FFFFFU) | field << 23));
  }
  for (int i = 0; i < 20'000; ++i)
    expectPlainLikeItsText(std::bit_cast<float>(static_cast<std::uint32_t>(random())));
}

TEST(PlainDigits, RoundLikeTheTextAtTiesAndPowersOfTen) {
  std::mt19937 random(12);
  for (float power = 1e-6F; power < 1e8F; power *= 10) {
    float below = power;
    float above = power;
    for (int i = 0; i < 300; ++i) {
      below = std::nextafter(below, 0.0F);
      above = std::nextafter(above, 1e30F);
      for (const float value : {below, above, -below, power}) expectPlainLikeItsText(value);
    }
  }
  for (int i = 0; i < 100'000; ++i) {
    // Exact ties among them: k + 1/2, and the same divided by powers of two.
    const float tie =
        std::ldexp(0.5F + static_cast<float>(random() % 1'000'000), -static_cast<int>(random() % 20));
    for (const float value : {tie, std::nextafter(tie, 0.0F), std::nextafter(tie, 1e30F)})
      expectPlainLikeItsText(value);
  }
}

TEST(PlainDigits, OfThreeCoordinatesLeaveNoOtherPositionWithTheirText) {
  std::mt19937 random(13);
  for (int i = 0; i < 4'000; ++i) {
    // Few different digits, zeros among them, are cut in other ways most easily.
    const auto value = [&] { return plainFloat(random, i % 2 == 0 ? "0001" : "01239"); };
    const Point point{value(), value(), value()};
    ASSERT_TRUE(isPlain(point)) << point.x << " " << point.y << " " << point.z;
    ASSERT_EQ(withTheSameText(point).size(), 1U) << point.x << " " << point.y << " " << point.z;
  }
  // And not only because the search finds none: (12.345, 60, 7.89) is one of them.
  EXPECT_GT(withTheSameText({12.3456F, 0, 7.89F}).size(), 1U);
}

TEST(RemoveDuplicateVertices, TextsThatAreCutInOtherWaysEqualTheLiteralRule) {
  std::mt19937 random(14);
  std::vector<Point> points;
  std::size_t others = 0;
  for (int i = 0; i < 4'000; ++i) {
    const auto value = [&] { return withDigits(random, "00123456789", 1 + static_cast<int>(random() % 6)); };
    const Point point{value(), value(), value()};
    const auto same = withTheSameText(point);
    others += same.size() - 1;
    points.insert(points.end(), same.begin(), same.end());
  }
  EXPECT_GT(others, 1'000U);
  std::shuffle(points.begin(), points.end(), random);
  expectLikeLiteral(points);
}

TEST(RemoveDuplicateVertices, PlainNeighboursEqualTheLiteralRule) {
  std::mt19937 random(15);
  std::uniform_real_distribution<float> values(-200, 200);
  std::vector<Point> points;
  for (int i = 0; i < 3'000; ++i) {
    Point point{values(random), values(random) / 1000, values(random)};
    for (int k = 0; k < 8; ++k) {
      points.push_back(point);
      // A few steps on: sometimes the same text, sometimes the next.
      for (float* value : {&point.x, &point.y, &point.z}) {
        for (auto steps = random() % 20; steps > 0; --steps) *value = std::nextafter(*value, 1e30F);
      }
    }
  }
  std::shuffle(points.begin(), points.end(), random);
  expectLikeLiteral(points);
}

TEST(RemoveDuplicateVertices, StretchesThatRepeatEarlierOnesEqualTheLiteralRule) {
  std::mt19937 random(16);
  std::uniform_real_distribution<float> values(-10, 10);
  std::vector<Point> points = {{0, 0, 0}, {-0.0F, 0, 0}};
  while (points.size() < 30'000) {
    const std::size_t from = random() % points.size();
    const std::size_t count = std::min<std::size_t>(1 + random() % 50, points.size() - from);
    for (std::size_t i = 0; i < count; ++i) {
      Point point = points[from + i];
      // Here and there one that prints alike, and one that is new.
      if (random() % 16 == 0) point.y = std::nextafter(point.y, 0.0F);
      if (random() % 16 == 0) point = {values(random), 0, values(random)};
      points.push_back(point);
    }
  }
  expectLikeLiteral(points);
}

// More than the tables have room for at the start.
TEST(RemoveDuplicateVertices, AllDistinctPositionsEqualTheLiteralRule) {
  std::mt19937 random(17);
  std::uniform_real_distribution<float> values(-1000, 1000);
  std::vector<Point> points(32'000);
  for (auto& p : points) p = {values(random), values(random), values(random)};
  expectLikeLiteral(points);
}

TEST(MergeVertices, TellsWhetherAPositionBecameAnother) {
  const std::vector<Point> equal = {{1, 2, 3}, {1, 2, 3}, {4, 5, 6}};
  EXPECT_FALSE(mergeVertices(equal).has_rounded);
  const std::vector<Point> alike = {{1, 2, 3}, {1.0000001F, 2, 3}};
  EXPECT_TRUE(mergeVertices(alike).has_rounded);
  EXPECT_THAT(mergeVertices(alike).vertex_of, testing::ElementsAre(0, 0));
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
