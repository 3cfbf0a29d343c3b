// Solids with less between two faces, or two edges of a face, than the chord tolerance: they stay closed and
// keep what they are.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/jttk/brep/axes.h"
#include "tests/jttk/brep/solid_checks.h"

namespace jttk::brep {
namespace {

// Both faces of a cap that is flatter than the tolerance are made of the points of its rim alone, and would
// connect the same two of them: four triangles would meet at such an edge.
TEST(ThinSolid, FacesOverTheSamePointsShareNoEdgeButTheirBorder) {
  for (const double height : {0.009995, 0.00998, 0.00995}) {
    for (const double percent : {2.0, 10.0, 30.0}) {
      SCOPED_TRACE(testing::Message() << height << " m, " << percent << " %");
      TessellationOptions options;
      options.chord_tolerance_percent = percent;
      const Outcome o = run(models::cutSphere(0.01, height, true), options);
      EXPECT_GT(o.measures.triangles, 0U);
      EXPECT_EQ(o.measures.open_edges, 0U);
      EXPECT_GE(o.measures.volume, -1e-9);
      EXPECT_LE(farthest(o.made.bodies[0].shape,
                         [&](const Vec3& p) {
                           return std::min(std::abs(length(p) - 10), std::abs(p.z - 1000 * height));
                         }),
                o.made.chord_tolerance);
    }
  }
}

// A tube whose bore comes near its outside: chords of the two circles cross until they are far shorter than
// the tolerance asks for.
TEST(ThinSolid, WallsThinnerThanTheToleranceStayWhole) {
  for (const double wall : {1e-5, 2e-6, 5e-7, 1e-7}) {
    SCOPED_TRACE(wall);
    XtModel model;
    const double bore = 0.008;
    // Towards no point that the circles are likely to be divided at.
    const Vec3 center = Vec3{std::cos(0.13), std::sin(0.13), 0} * (0.01 - bore - wall);
    const double height = 0.01;
    const auto ring = [&](const Vec3& at, double radius, double z) {
      return model.edge(model.circle(at + kZ * z, kZ, kX, radius), -1, -1);
    };
    const int outer_low = ring({}, 0.01, 0);
    const int outer_high = ring({}, 0.01, height);
    const int inner_low = ring(center, bore, 0);
    const int inner_high = ring(center, bore, height);
    model.face(model.cylinder({}, kZ, kX, 0.01), false, {{{outer_low, true}}, {{outer_high, false}}});
    model.face(model.cylinder(center, kZ, kX, bore), true, {{{inner_low, false}}, {{inner_high, true}}});
    model.face(model.plane({}, -kZ, kX), false, {{{outer_low, false}}, {{inner_low, true}}});
    model.face(model.plane({0, 0, height}, kZ, kX), false, {{{outer_high, true}}, {{inner_high, false}}});
    expectClosed(run(std::move(model)), kPi * (100 - 64) * 10,
                 2 * kPi * (10 + 8) * 10 + 2 * kPi * (100 - 64));
  }
}

// Of the triangles in the plane z = 0.
double areaOfTheFloor(const ShapeGeometry& shape) {
  double area = 0;
  for (std::size_t t = 0; t + 1 < shape.primitive_starts.size(); ++t) {
    const std::size_t first = shape.primitive_starts[t];
    const Vec3 p[] = {cornerOf(shape, first), cornerOf(shape, first + 1), cornerOf(shape, first + 2)};
    if (p[0].z == 0 && p[1].z == 0 && p[2].z == 0) area += length(cross(p[1] - p[0], p[2] - p[0])) / 2;
  }
  return area;
}

// Needles much thinner than the tolerance, with a minimum edge longer than their rim: the rim keeps enough
// points that the end has at least the area of a hexagon.
TEST(ThinSolid, NeedlesKeepTheirEnds) {
  const double share_of_hexagon = 3 * std::sqrt(3.0) / 2 / kPi;
  TessellationOptions options;
  options.chord_tolerance_percent = 5;
  options.minimum_edge_length = 5;
  const auto expectEnds = [&](XtModel model, double section) {
    const Outcome o = run(std::move(model), options);
    EXPECT_GT(o.measures.triangles, 0U);
    EXPECT_EQ(o.measures.open_edges, 0U);
    const double area = areaOfTheFloor(o.made.bodies.at(0).shape);
    EXPECT_GE(area, section * share_of_hexagon * 0.999);
    EXPECT_LE(area, section);
  };
  expectEnds(models::cylinder(0.0001, 0.1, false), kPi * 0.1 * 0.1);
  expectEnds(models::ellipticRod(0.0002, 0.0001, 0.1), kPi * 0.2 * 0.1);
}

}  // namespace
}  // namespace jttk::brep
