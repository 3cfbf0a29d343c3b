// Faces by what their borders are in the parameter plane: rings that wind round the surface, lines that are
// bent there.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "jttk/brep/face_domain_builder.h"
#include "tests/jttk/brep/axes.h"
#include "tests/jttk/brep/solid_checks.h"

namespace jttk::brep {
namespace {

// Bands of a surface that is periodic in u and v: each is the part on the left of its first ring, also where
// that goes on beyond the end of the parameters.
TEST(FaceBorder, RingsOfATorusBoundTheBandOnTheirLeft) {
  for (const double first : {-2.0, 0.0, 1.0, 3.0}) {
    SCOPED_TRACE(first);
    XtModel model;
    const auto torus = model.torus({}, kZ, kX, 0.02, 0.005);
    int rings[3];
    for (int i = 0; i < 3; ++i) {
      const double v = first + 2.1 * i;
      const Vec3 center{0, 0, 0.005 * std::sin(v)};
      rings[i] = model.edge(model.circle(center, kZ, kX, 0.02 + 0.005 * std::cos(v)), -1, -1);
    }
    for (int i = 0; i < 3; ++i) model.face(torus, false, {{{rings[i], true}}, {{rings[(i + 1) % 3], false}}});
    const Outcome o = run(std::move(model));
    expectClosed(o, 2 * kPi * kPi * 20 * 25, 4 * kPi * kPi * 20 * 5);
    EXPECT_LE(
        farthest(o.made.bodies[0].shape,
                 [](const Vec3& p) { return std::abs(std::hypot(std::hypot(p.x, p.y) - 20, p.z) - 5); }),
        o.made.chord_tolerance);
  }
}

// A hyperbolic paraboloid, z proportional to x y, whose lines of constant parameters are bent: its border,
// four straight lines, is not straight in the parameter plane. What lies between such an edge and its
// straight image would be folded over the border.
TEST(FaceBorder, StraightLinesMayBeBentInTheParameterPlane) {
  XtModel model;
  model.asSheet();
  constexpr double kSize = 0.04;
  constexpr double kBent = 0.016;  // a quarter of it in the middle
  constexpr double kTwist = 10;
  // Of degree 1 and 3: x = size u + bent v (1 - v), y = size v.
  const double v_of[] = {0, 1.0 / 3, 2.0 / 3, 1};
  const double bend_of[] = {0, 1.0 / 3, 1.0 / 3, 0};
  const double twist_of[] = {0, 0, 1.0 / 3, 0};
  std::vector<double> net;
  for (const double u : {0.0, 1.0}) {
    for (std::size_t i = 0; i < 4; ++i) {
      net.insert(net.end(), {kSize * u + kBent * bend_of[i], kSize * v_of[i],
                             kTwist * kSize * (kSize * u * v_of[i] + kBent * twist_of[i])});
    }
  }
  const auto sheet = model.splineSurface(1, 3, 2, 4, false, net, {0, 1}, {2, 2}, {0, 1}, {4, 4});
  const auto corner = [&](double x, double y) { return model.vertex({x, y, kTwist * x * y}); };
  const int corners[] = {corner(0.01, 0), corner(0.03, 0), corner(0.03, kSize), corner(0.01, kSize)};
  model.face(sheet, false,
             {{{model.straight(corners[0], corners[1]), true},
               {model.straight(corners[1], corners[2]), true},
               {model.straight(corners[2], corners[3]), true},
               {model.straight(corners[3], corners[0]), true}}});
  const Outcome o = run(std::move(model));
  EXPECT_GT(o.measures.triangles, 0U);
  EXPECT_EQ(o.measures.against_normals, 0U);
  ShapeGeometry shape = o.made.bodies.at(0).shape;
  EXPECT_LE(farthest(shape,
                     [](const Vec3& p) {
                       const double off =
                           std::abs(p.z - p.x * p.y / 100) / std::hypot(1, p.x / 100, p.y / 100);
                       return std::max({off, 10 - p.x, p.x - 30, -p.y, p.y - 40});
                     }),
            o.made.chord_tolerance);
  // It covers its rectangle once.
  for (std::size_t i = 2; i < shape.positions.size(); i += 3) shape.positions[i] = 0;
  EXPECT_NEAR(measure(shape).area, 20 * 40, 1);
}

// Of a tube that is periodic in u and v a blend is a part between two other faces, never the whole: without
// loops there is no face.
TEST(FaceBorder, ABlendHasLoops) {
  XtModel model;
  model.face(model.blend(model.circle({}, kZ, kX, 0.02), 0, 0, 0.005), false, {});
  model.finish();
  const Outcome o = tessellated(model);
  ASSERT_EQ(o.made.losses.size(), 1U);
  EXPECT_EQ(o.made.losses[0].reason, "a face without loops on a surface that is not closed");
  EXPECT_EQ(o.measures.triangles, 0U);
}

// A cylinder whose first quarter has nearly all of the parameters: a piece of its rim covers more than half
// of a period, and must not be taken for the shorter rest.
TEST(FaceBorder, RimsGoRoundUnevenParameters) {
  XtModel model;
  const std::vector<double> net = turnedNet({{0.01, 0}, {0.01, 0.03}});
  const auto side =
      model.splineSurface(2, 1, 9, 2, true, net, {0, 40, 41, 42, 43}, {3, 2, 2, 2, 3}, {0, 1}, {2, 2});
  // Halves of rings: rings would be cut into more pieces.
  const auto rim = [&](double z) {
    const int a = model.vertex({0.01, 0, z});
    const int b = model.vertex({-0.01, 0, z});
    const auto circle = model.circle({0, 0, z}, kZ, kX, 0.01);
    return std::array<int, 2>{model.edge(circle, a, b), model.edge(circle, b, a)};
  };
  const auto low = rim(0);
  const auto high = rim(0.03);
  model.face(side, false, {{{low[0], true}, {low[1], true}}, {{high[1], false}, {high[0], false}}});
  model.face(model.plane({}, -kZ, kX), false, {{{low[1], false}, {low[0], false}}});
  model.face(model.plane({0, 0, 0.03}, kZ, kX), false, {{{high[0], true}, {high[1], true}}});
  TessellationOptions options;
  options.chord_tolerance_percent = 20;
  options.angle_tolerance_rad = 1.4;
  const Outcome o = run(std::move(model), options);
  expectClosed(o.measures);
  EXPECT_NEAR(o.measures.volume, kPi * 100 * 30, o.measures.area * o.made.chord_tolerance);
}

// The straight image of an edge in the parameter plane may leave the edge by two chord tolerances. One that
// leaves it by more is to be sampled more finely.
TEST(FaceBorder, AnEdgeMayStrayByTwoChordTolerances) {
  constexpr double kRadius = 0.01;
  constexpr double kAngle = 0.5;
  Bodies bodies;
  bodies.surfaces.emplace_back();
  bodies.surfaces[0].kind = SurfaceKind::Cylinder;
  bodies.surfaces[0].radius = kRadius;
  bodies.edges.resize(4);  // two arcs, which are edges 0 and 2, and two lines along the axis
  Face face;
  face.surface = 0;
  const Vec3 start{kRadius, 0, 0};
  const Vec3 end{kRadius * std::cos(kAngle), kRadius * std::sin(kAngle), 0};
  const Vec3 up{0, 0, 0.02};
  const double stray = kRadius * (1 - std::cos(kAngle / 2));
  const auto domainWith = [&](double chord) {
    Geometry geometry(bodies, 1e-9);
    std::vector<Vec3> points = {start, end, end + up, start + up};
    Tolerances tolerances;
    tolerances.chord = chord;
    return makeFaceDomain(geometry, face, {{{0, 0}, {1, 1}, {2, 2}, {3, 3}}}, tolerances, points);
  };
  const FaceDomain within = domainWith(stray / 1.999);
  EXPECT_TRUE(within.usable);
  EXPECT_TRUE(within.wishes.empty());
  const FaceDomain beyond = domainWith(stray / 2.001);
  EXPECT_TRUE(beyond.usable);
  ASSERT_EQ(beyond.wishes.size(), 2U);
  EXPECT_EQ(beyond.wishes[0].edge, 0U);
  EXPECT_EQ(beyond.wishes[1].edge, 2U);
  EXPECT_EQ(beyond.wishes[0].factor, 0.25);
}

}  // namespace
}  // namespace jttk::brep
