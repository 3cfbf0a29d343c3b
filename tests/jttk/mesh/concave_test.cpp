// Polygons that are not convex, taken apart: the triangles cover the polygon once, with its winding.
#include "jttk/mesh/concave.h"

#include <gmock/gmock.h>

#include <array>
#include <cmath>
#include <random>

#include "jttk/mesh/shape_arrays.h"

namespace {

using jttk::PrimitiveKind;
using jttk::ShapeGeometry;
using jttk::splitConcavePolygons;
using ::testing::ElementsAre;

using Outline = std::vector<std::array<float, 2>>;

// One polygon per outline, in the plane z = 0 unless `place` moves it.
template <typename Place>
ShapeGeometry shapeOf(const std::vector<Outline>& outlines, Place place) {
  ShapeGeometry shape;
  shape.kind = PrimitiveKind::Polygons;
  shape.primitive_starts.push_back(0);
  for (const Outline& outline : outlines) {
    for (const auto& [x, y] : outline) {
      shape.corner_positions.push_back(static_cast<std::uint32_t>(shape.positions.size() / 3));
      for (const float value : place(x, y)) shape.positions.push_back(value);
    }
    shape.primitive_starts.push_back(static_cast<std::uint32_t>(shape.corner_positions.size()));
  }
  return shape;
}
ShapeGeometry flat(const std::vector<Outline>& outlines) {
  return shapeOf(outlines, [](float x, float y) { return std::array{x, y, 0.0F}; });
}

double area(const Outline& outline) {
  double twice = 0;
  for (std::size_t i = 0; i < outline.size(); ++i) {
    const auto& a = outline[i];
    const auto& b = outline[(i + 1) % outline.size()];
    twice += double{a[0]} * b[1] - double{a[1]} * b[0];
  }
  return twice / 2;
}

// Sum of the areas of all fans, each as large as it is; negative as soon as one is turned over.
double fanArea(const ShapeGeometry& shape) {
  double sum = 0;
  for (std::size_t i = 0; i < shape.primitiveCount(); ++i) {
    for (std::uint32_t k = shape.primitive_starts[i] + 2; k < shape.primitive_starts[i + 1]; ++k) {
      Outline triangle;
      for (const std::uint32_t corner : {shape.primitive_starts[i], k - 1, k}) {
        const float* p = &shape.positions[shape.corner_positions[corner] * std::size_t{3}];
        triangle.push_back({p[0], p[1]});
      }
      const double one = area(triangle);
      if (one < -1e-9) return one;
      sum += one;
    }
  }
  return sum;
}

const Outline kDart = {{0, 0}, {6, 0}, {2, 2}, {0, 6}};
const Outline kSquare = {{0, 0}, {4, 0}, {4, 4}, {0, 4}};
// Its first corner sees only a part of it.
const Outline kComb = {{0, 4}, {0, 0}, {9, 0}, {9, 4}, {8, 4}, {8, 1}, {6, 1}, {6, 4},
                       {5, 4}, {5, 1}, {3, 1}, {3, 4}, {2, 4}, {2, 1}, {1, 1}, {1, 4}};
// A square with a square hole, joined to the outline by a double edge.
const Outline kKeyhole = {{0, 0}, {9, 0}, {9, 9}, {0, 9}, {0, 0}, {3, 3}, {3, 6}, {6, 6}, {6, 3}, {3, 3}};

TEST(Concave, ConvexPolygonsStayAsTheyAre) {
  ShapeGeometry shape = flat({kSquare, {{0, 0}, {1, 0}, {0, 1}}, {{0, 0}, {1, 0}, {2, 0}, {2, 2}}});
  const ShapeGeometry before = shape;
  splitConcavePolygons(shape);
  EXPECT_EQ(shape.primitive_starts, before.primitive_starts);
  EXPECT_EQ(shape.corner_positions, before.corner_positions);
}

TEST(Concave, ADartBecomesTheTwoTrianglesThatItConsistsOf) {
  ShapeGeometry shape = flat({kSquare, kDart, kSquare});
  shape.corner_records = {10, 11, 12, 13, 20, 21, 22, 23, 30, 31, 32, 33};
  splitConcavePolygons(shape);
  EXPECT_THAT(shape.primitive_starts, ElementsAre(0, 4, 7, 10, 14));
  // Cut from corner 0 to corner 2; the corners keep their records.
  EXPECT_EQ(fanArea(shape), 2 * 16 + area(kDart));
  for (std::size_t i = 0; i < shape.corner_positions.size(); ++i) {
    const std::uint32_t position = shape.corner_positions[i];
    EXPECT_EQ(shape.corner_records[i], 10 * (position / 4 + 1) + position % 4);
  }
}

TEST(Concave, EveryOutlineIsCoveredOnceWithItsWinding) {
  for (Outline outline : {kDart, kComb, kKeyhole}) {
    const double whole = area(outline);
    // From whichever corner it begins.
    for (std::size_t turn = 0; turn < outline.size(); ++turn) {
      std::rotate(outline.begin(), outline.begin() + 1, outline.end());
      ShapeGeometry shape = flat({outline});
      splitConcavePolygons(shape);
      EXPECT_EQ(shape.primitiveCount(), outline.size() - 2);
      EXPECT_DOUBLE_EQ(fanArea(shape), whole) << turn;
    }
  }
}

// An inward corner by next to nothing counts as straight; by a thousandth it does not.
TEST(Concave, NextToStraightCornersAreStraight) {
  constexpr float kFar = 8388608;
  ShapeGeometry shape = flat({{{0, 0}, {kFar, 0}, {2 * kFar, -0.005F}, {2 * kFar, kFar}, {0, kFar}}});
  splitConcavePolygons(shape);
  EXPECT_THAT(shape.primitive_starts, ElementsAre(0, 5));
  const Outline dented = {{0, 0}, {1000, 0}, {2000, -1}, {2000, 1000}, {0, 1000}};
  shape = flat({dented});
  splitConcavePolygons(shape);
  EXPECT_EQ(shape.primitiveCount(), 3U);
  EXPECT_DOUBLE_EQ(fanArea(shape), area(dented));
}

// Bars beside each other on one floor, with a corner at every whole step along the outline.
Outline bars(std::mt19937& random) {
  const int count = 2 + static_cast<int>(random() % 5);
  std::vector<int> heights;
  for (int i = 0; i < count; ++i) heights.push_back(1 + static_cast<int>(random() % 4));
  Outline outline;
  const auto corner = [&](int x, int y) {
    outline.push_back({static_cast<float>(x), static_cast<float>(y)});
  };
  for (int x = 0; x <= count; ++x) corner(x, 0);
  int y = 0;
  for (int i = count; i-- > 0;) {
    while (y != heights[static_cast<std::size_t>(i)]) {
      y += y < heights[static_cast<std::size_t>(i)] ? 1 : -1;
      corner(i + 1, y);
    }
    corner(i, y);
  }
  while (--y > 0) corner(0, y);
  return outline;
}

// Corners in one line with others: each triangle has an area, and no corner lies in or on one that is not its
// own.
TEST(Concave, CornersInOneLineAreNobodysEarsAndInTheWayOfOthers) {
  std::mt19937 random(3);
  for (int i = 0; i < 500; ++i) {
    Outline outline = bars(random);
    std::rotate(outline.begin(), outline.begin() + static_cast<std::ptrdiff_t>(random() % outline.size()),
                outline.end());
    ShapeGeometry shape = flat({outline});
    splitConcavePolygons(shape);
    ASSERT_NEAR(fanArea(shape), area(outline), 1e-9) << i;
    if (shape.primitiveCount() == 1) continue;  // a rectangle
    ASSERT_EQ(shape.primitiveCount(), outline.size() - 2);
    for (std::size_t k = 0; k < shape.primitiveCount(); ++k) {
      const auto at = [&](std::size_t c) { return outline[shape.corner_positions[3 * k + c]]; };
      ASSERT_GT(area({at(0), at(1), at(2)}), 0) << i;
      for (const auto& p : outline) {
        if (p == at(0) || p == at(1) || p == at(2)) continue;
        ASSERT_TRUE(area({at(0), at(1), p}) < 0 || area({at(1), at(2), p}) < 0 || area({at(2), at(0), p}) < 0)
            << i;
      }
    }
  }
}

TEST(Concave, PolygonsInAnyPlaneKeepTheSideTheyAreSeenFrom) {
  const std::array<std::array<float, 6>, 5> planes = {{{1, 0, 0, 0, 1, 0},
                                                       {0, 1, 0, 1, 0, 0},
                                                       {0, 0, 1, 1, 0, 0},
                                                       {0, 1, 0, 0, 0, 1},
                                                       {0.6F, 0, 0.8F, 0, 1, 0}}};
  for (const auto& p : planes) {
    ShapeGeometry shape = shapeOf({kComb}, [&](float x, float y) {
      return std::array{x * p[0] + y * p[3], x * p[1] + y * p[4], x * p[2] + y * p[5]};
    });
    splitConcavePolygons(shape);
    ASSERT_EQ(shape.primitiveCount(), kComb.size() - 2);
    // Back into the plane: all triangles turn as the outline did there.
    for (std::size_t i = 0; i + 2 < shape.positions.size(); i += 3) {
      const float x =
          shape.positions[i] * p[0] + shape.positions[i + 1] * p[1] + shape.positions[i + 2] * p[2];
      const float y =
          shape.positions[i] * p[3] + shape.positions[i + 1] * p[4] + shape.positions[i + 2] * p[5];
      shape.positions[i] = x;
      shape.positions[i + 1] = y;
      shape.positions[i + 2] = 0;
    }
    EXPECT_NEAR(fanArea(shape), area(kComb), 1e-4);
  }
}

TEST(Concave, StarsOfManyCornersAreCovered) {
  std::mt19937 random(5);
  for (const std::size_t corners : {5U, 50U, 1000U}) {
    Outline star;
    for (std::size_t i = 0; i < corners; ++i) {
      const double angle = 2 * 3.14159265358979 * static_cast<double>(i) / static_cast<double>(corners);
      const double radius = 1 + static_cast<double>(random() % 1000) / 100;
      star.push_back(
          {static_cast<float>(radius * std::cos(angle)), static_cast<float>(radius * std::sin(angle))});
    }
    ShapeGeometry shape = flat({star});
    splitConcavePolygons(shape);
    EXPECT_EQ(shape.primitiveCount(), corners - 2);
    EXPECT_NEAR(fanArea(shape), area(star), 1e-6 * area(star));
  }
}

// Crossing outlines, coinciding points, NaN: there is some result, and the work ends.
TEST(Concave, NonsenseStaysWithinItsCorners) {
  const float nan = std::nanf("");
  const std::vector<Outline> nonsense = {
      {{0, 0}, {4, 4}, {4, 0}, {0, 4}},
      {{1, 1}, {1, 1}, {1, 1}, {1, 1}},
      {{0, 0}, {1, 0}, {2, 0}, {1, 0}, {3, 0}},
      {{0, 0}, {nan, 0}, {2, 2}, {0, 2}},
      {{0, 0}, {6, 0}, {2, 2}, {0, 6}, {nan, nan}},
      {{0, 0}, {1e38F, 0}, {2e37F, 2e37F}, {0, 1e38F}},
  };
  for (const Outline& outline : nonsense) {
    ShapeGeometry shape = flat({outline});
    splitConcavePolygons(shape);
    std::size_t triangles = 0;
    for (std::size_t i = 0; i < shape.primitiveCount(); ++i) {
      triangles += shape.primitive_starts[i + 1] - shape.primitive_starts[i] - 2;
    }
    EXPECT_EQ(triangles, outline.size() - 2);
    for (const std::uint32_t position : shape.corner_positions) EXPECT_LT(position, outline.size());
  }
}

// What a polygon may cost is bounded.
TEST(Concave, HugePolygonsEnd) {
  Outline saw;
  for (int i = 0; i < 60'000; ++i) saw.push_back({static_cast<float>(i), i % 2 == 0 ? 0.0F : 1.0F});
  saw.push_back({60'000, 100});
  saw.push_back({0, 100});
  ShapeGeometry shape = flat({saw});
  splitConcavePolygons(shape);
  EXPECT_GE(shape.primitiveCount(), 1U);
}

TEST(Concave, ShapesOfPolygonsAreStripsOfTheRightTriangles) {
  const jttk::ShapeArrays arrays = jttk::makeShapeArrays(flat({kDart}));
  const ShapeGeometry& strips = arrays.geometry;
  double sum = 0;
  for (std::size_t i = 0; i < strips.primitiveCount(); ++i) {
    for (std::uint32_t k = strips.primitive_starts[i]; k + 2 < strips.primitive_starts[i + 1]; ++k) {
      Outline triangle;
      for (const std::uint32_t corner : {k, k + 1, k + 2}) {
        const float* p = &strips.positions[strips.corner_positions[corner] * std::size_t{3}];
        triangle.push_back({p[0], p[1]});
      }
      sum += std::abs(area(triangle));
    }
  }
  EXPECT_EQ(sum, area(kDart));
}

}  // namespace
