// What a constrained Delaunay triangulation promises, on point sets that are hard for it.
#include "jttk/brep/delaunay.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "jttk/brep/predicates.h"

namespace jttk::brep {
namespace {

double insideArea(const Triangulation& t) {
  double area = 0;
  for (const auto& triangle : t.triangles()) {
    if (!triangle.inside) continue;
    const Vec2 a = t.point(triangle.corner[0]);
    const Vec2 b = t.point(triangle.corner[1]) - a;
    const Vec2 c = t.point(triangle.corner[2]) - a;
    area += (b.u * c.v - b.v * c.u) / 2;
  }
  return area;
}

std::vector<std::uint32_t> addLoop(Triangulation& t, const std::vector<Vec2>& points) {
  std::vector<std::uint32_t> numbers;
  for (const Vec2& p : points) numbers.push_back(t.insert(p));
  return numbers;
}

Triangulation::Constraint constrainLoop(Triangulation& t, const std::vector<std::uint32_t>& loop) {
  for (std::size_t i = 0; i < loop.size(); ++i) {
    std::pair<std::uint32_t, std::uint32_t> blocking;
    const auto result = t.constrain(loop[i], loop[(i + 1) % loop.size()], blocking);
    if (result != Triangulation::Constraint::Done) return result;
  }
  return Triangulation::Constraint::Done;
}

// Every neighbour knows its neighbour, every triangle turns left, every free edge is Delaunay.
bool isSound(const Triangulation& t) {
  const auto& triangles = t.triangles();
  for (std::uint32_t number = 0; number < triangles.size(); ++number) {
    const Triangulation::Triangle& triangle = triangles[number];
    const Vec2& a = t.point(triangle.corner[0]);
    const Vec2& b = t.point(triangle.corner[1]);
    const Vec2& c = t.point(triangle.corner[2]);
    if (!(orient2d(a, b, c) > 0)) return false;
    for (std::size_t side = 0; side < 3; ++side) {
      if (triangle.neighbor[side] == Triangulation::kNoTriangle) continue;
      const Triangulation::Triangle& other = triangles[triangle.neighbor[side]];
      const auto found = std::find(other.neighbor.begin(), other.neighbor.end(), number);
      if (found == other.neighbor.end()) return false;
      const auto back = static_cast<std::size_t>(found - other.neighbor.begin());
      if (other.fixed[back] != triangle.fixed[side] || other.turns[back] != -triangle.turns[side] ||
          other.corner[(back + 1) % 3] != triangle.corner[(side + 2) % 3]) {
        return false;
      }
      if (!triangle.fixed[side] && inCircle(a, b, c, t.point(other.corner[back])) > 0) return false;
    }
  }
  return true;
}

TEST(Delaunay, RandomPointsGiveASoundTriangulation) {
  std::mt19937 random(7);
  std::uniform_real_distribution<double> anywhere(-1, 1);
  WorkCounter work;
  Triangulation t({-1, -1}, {1, 1}, 500, work);
  for (int i = 0; i < 500; ++i) t.insert({anywhere(random), anywhere(random)});
  EXPECT_TRUE(isSound(t));
  // Euler: 2 n - 2 - hull, with the frame's four corners as hull.
  EXPECT_EQ(t.triangles().size(), 2 * (t.pointCount() - 1) - 4);
}

TEST(Delaunay, PointsOfAGridAreAllOnCommonCirclesAndLines) {
  WorkCounter work;
  Triangulation t({0, 0}, {20, 20}, 441, work);
  for (int i = 0; i <= 20; ++i) {
    for (int k = 0; k <= 20; ++k) t.insert({double(i), double(k)});
  }
  EXPECT_EQ(t.pointCount(), 441 + Triangulation::kFramePoints);
  EXPECT_TRUE(isSound(t));
}

TEST(Delaunay, AllThatItDoesIsCounted) {
  const auto workOf = [](int size, double skew) {
    WorkCounter work;
    work.allowEvaluations(1'000'000);
    Triangulation t({0, 0}, {20, 20}, 441, work);
    for (int i = 0; i < size; ++i) {
      for (int k = 0; k < size; ++k) t.insert({i + skew * k * k, k + skew * i * i});
    }
    return 1'000'000 - work.evaluationsLeft();
  };
  EXPECT_GE(workOf(10, 0.0123), 100U);
  EXPECT_LE(workOf(10, 0.0123), 1'000U);
  // Answers that have to be exact take longer.
  EXPECT_GE(workOf(10, 0), 2 * workOf(10, 0.0123));
}

TEST(Delaunay, WithoutWorkNothingIsInserted) {
  WorkCounter work;
  work.allowEvaluations(40);
  Triangulation t({0, 0}, {100, 100}, 100, work);
  std::size_t inserted = 0;
  for (int i = 0; i < 100; ++i) inserted += t.insert({i + 0.5, i * i * 0.01}) != Triangulation::kNoTriangle;
  EXPECT_GE(inserted, 10U);
  EXPECT_LE(inserted, 99U);
  EXPECT_EQ(t.pointCount(), inserted + Triangulation::kFramePoints);
  EXPECT_FALSE(work.mayWork());
  std::pair<std::uint32_t, std::uint32_t> blocking;
  EXPECT_EQ(t.constrain(Triangulation::kFramePoints, Triangulation::kFramePoints + 5, blocking),
            Triangulation::Constraint::Crosses);
}

TEST(Delaunay, EqualPointsAreOnePoint) {
  WorkCounter work;
  Triangulation t({0, 0}, {1, 1}, 3, work);
  const std::uint32_t a = t.insert({0.5, 0.5});
  EXPECT_EQ(t.insert({0.5, 0.5}), a);
  EXPECT_TRUE(isSound(t));
}

TEST(Delaunay, PolygonWithAHoleCoversItsArea) {
  WorkCounter work;
  Triangulation t({0, 0}, {10, 10}, 8, work);
  const auto outer = addLoop(t, {{0, 0}, {10, 0}, {10, 10}, {0, 10}});
  const auto hole = addLoop(t, {{3, 3}, {3, 7}, {7, 7}, {7, 3}});
  ASSERT_EQ(constrainLoop(t, outer), Triangulation::Constraint::Done);
  ASSERT_EQ(constrainLoop(t, hole), Triangulation::Constraint::Done);
  EXPECT_TRUE(t.markInside());
  EXPECT_DOUBLE_EQ(insideArea(t), 100 - 16);
  EXPECT_TRUE(isSound(t));
}

// A comb: long constraints across many Delaunay edges.
TEST(Delaunay, DeepCombCoversItsArea) {
  std::vector<Vec2> comb;
  const int teeth = 40;
  for (int i = 0; i < teeth; ++i) {
    comb.push_back({i * 1.0, 0});
    comb.push_back({i + 0.5, 30});
  }
  comb.push_back({teeth * 1.0, 0});
  comb.push_back({teeth * 1.0, -1});
  comb.push_back({0, -1});
  std::reverse(comb.begin(), comb.end());  // counter-clockwise
  WorkCounter work;
  Triangulation t({0, -1}, {double(teeth), 30}, comb.size(), work);
  ASSERT_EQ(constrainLoop(t, addLoop(t, comb)), Triangulation::Constraint::Done);
  EXPECT_TRUE(t.markInside());
  EXPECT_NEAR(insideArea(t), teeth * 0.5 * 30 + teeth, 1e-9);
  EXPECT_TRUE(isSound(t));
}

TEST(Delaunay, StarsOfRandomLoopsCoverTheirArea) {
  std::mt19937 random(11);
  std::uniform_real_distribution<double> radius(0.05, 1);
  for (int round = 0; round < 40; ++round) {
    std::vector<Vec2> star;
    double area = 0;
    const int n = 60;
    for (int i = 0; i < n; ++i) {
      const double r = radius(random);
      const double a = 2 * 3.14159265358979 * i / n;
      star.push_back({r * std::cos(a), r * std::sin(a)});
    }
    for (int i = 0; i < n; ++i) {
      const Vec2 a = star[std::size_t(i)];
      const Vec2 b = star[std::size_t((i + 1) % n)];
      area += (a.u * b.v - a.v * b.u) / 2;
    }
    WorkCounter work;
    Triangulation t({-1, -1}, {1, 1}, star.size(), work);
    ASSERT_EQ(constrainLoop(t, addLoop(t, star)), Triangulation::Constraint::Done);
    ASSERT_TRUE(t.markInside());
    ASSERT_NEAR(insideArea(t), area, 1e-12);
    ASSERT_TRUE(isSound(t));
  }
}

TEST(Delaunay, CrossingConstraintsAreRefusedAndNamed) {
  WorkCounter work;
  Triangulation t({0, 0}, {1, 1}, 4, work);
  const std::uint32_t a = t.insert({0, 0});
  const std::uint32_t b = t.insert({1, 1});
  const std::uint32_t c = t.insert({1, 0});
  const std::uint32_t d = t.insert({0, 1});
  std::pair<std::uint32_t, std::uint32_t> blocking;
  ASSERT_EQ(t.constrain(a, b, blocking), Triangulation::Constraint::Done);
  EXPECT_EQ(t.constrain(c, d, blocking), Triangulation::Constraint::Crosses);
  EXPECT_EQ(std::minmax(blocking.first, blocking.second), std::minmax(a, b));
}

TEST(Delaunay, ConstraintThroughAPointIsRefusedAndNamed) {
  WorkCounter work;
  Triangulation t({0, 0}, {1, 1}, 4, work);
  const std::uint32_t a = t.insert({0, 0});
  const std::uint32_t m = t.insert({0.5, 0.5});
  const std::uint32_t b = t.insert({1, 1});
  t.insert({0.2, 0.9});
  std::pair<std::uint32_t, std::uint32_t> blocking;
  EXPECT_EQ(t.constrain(a, b, blocking), Triangulation::Constraint::PassesPoint);
  EXPECT_EQ(blocking.first, m);
}

TEST(Delaunay, FigureEightIsNotInside) {
  // Counter-clockwise on the left, clockwise on the right, meeting in one point.
  WorkCounter work;
  Triangulation t({0, 0}, {4, 2}, 6, work);
  const auto loop = addLoop(t, {{2, 1}, {0, 2}, {0, 0}, {2, 1}, {4, 2}, {4, 0}});
  ASSERT_EQ(constrainLoop(t, loop), Triangulation::Constraint::Done);
  EXPECT_FALSE(t.markInside());
}

TEST(Delaunay, RefinedPointsStayInsideAndKeepConstraints) {
  std::mt19937 random(3);
  std::uniform_real_distribution<double> anywhere(0, 10);
  WorkCounter work;
  Triangulation t({0, 0}, {10, 10}, 8, work);
  ASSERT_EQ(constrainLoop(t, addLoop(t, {{0, 0}, {10, 0}, {10, 10}, {5, 2}, {0, 10}})),
            Triangulation::Constraint::Done);
  ASSERT_TRUE(t.markInside());
  const double area = insideArea(t);
  for (int i = 0; i < 300; ++i) t.refine(0, {anywhere(random), anywhere(random)});
  EXPECT_TRUE(isSound(t));
  EXPECT_NEAR(insideArea(t), area, 1e-9);
}

}  // namespace
}  // namespace jttk::brep
