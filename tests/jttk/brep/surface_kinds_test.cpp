// One closed solid per kind of surface: the mesh is closed, its points are on the surface, and volume and
// area are those of the solid, by formula or by fine sums.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>

#include "jttk/brep/tessellate.h"
#include "tests/jttk/brep/axes.h"
#include "tests/jttk/brep/mesh_measures.h"
#include "tests/jttk/brep/read_bodies.h"

namespace jttk::brep {
namespace {

using Id = XtWriter::Id;
using Loops = std::vector<XtModel::LoopSides>;

// In mm.
struct Truth {
  double volume = 0;
  double area = 0;
  // How far a point is from the boundary of the solid; not asked when empty.
  std::function<double(const Vec3&)> distance;
};

// A curve in the half plane of distance from the axis and height, turned round the axis.
struct Profile {
  std::function<Vec2(double)> at;  // u: distance from the axis, v: height
  double from = 0;
  double to = 1;
};

Truth turnedTruth(const Profile& profile) {
  constexpr int kSteps = 20000;
  Truth truth;
  Vec2 last = profile.at(profile.from);
  for (int i = 1; i <= kSteps; ++i) {
    const Vec2 next = profile.at(profile.from + (profile.to - profile.from) * i / kSteps);
    const double r = (last.u + next.u) / 2;
    truth.volume += kPi * r * r * (next.v - last.v);
    truth.area += 2 * kPi * r * std::hypot(next.u - last.u, next.v - last.v);
    last = next;
  }
  return truth;
}

void expectSolid(XtModel model, const Truth& truth) {
  model.finish();
  const auto bodies = readBodies(model);
  ASSERT_TRUE(bodies) << bodies.error().text();
  for (const double percent : {0.5, 0.08, 0.02}) {
    SCOPED_TRACE(testing::Message() << percent << " %");
    TessellationOptions options;
    options.chord_tolerance_percent = percent;
    const TessellatedBodies made = tessellate(*bodies, options);
    for (const TessellationLoss& loss : made.losses)
      ADD_FAILURE() << "face " << loss.face << ": " << loss.reason;
    ASSERT_EQ(made.bodies.size(), 1U);
    const MeshMeasures m = measure(made.bodies[0].shape);
    EXPECT_GT(m.triangles, 0U);
    EXPECT_EQ(m.open_edges, 0U);
    EXPECT_EQ(m.bad_normals, 0U);
    EXPECT_EQ(m.against_normals, 0U);
    if (percent < 0.1) {
      EXPECT_NEAR(m.volume, truth.volume, 0.005 * truth.volume);
      EXPECT_NEAR(m.area, truth.area, 0.005 * truth.area);
    }
    if (truth.distance) {
      EXPECT_LE(farthest(made.bodies[0].shape, truth.distance, 4), made.chord_tolerance * 1.001);
    }
  }
}

// Flat ends at two heights, and the face between them.
void addEnds(XtModel& model, Id side, bool reversed, int low, double z_low, int high, double z_high) {
  model.face(side, reversed, {{{low, true}}, {{high, false}}});
  model.face(model.plane({0, 0, z_low}, -kZ, kX), false, {{{low, false}}});
  model.face(model.plane({0, 0, z_high}, kZ, kX), false, {{{high, true}}});
}

int ring(XtModel& model, double radius, double z) {
  return model.edge(model.circle({0, 0, z}, kZ, kX, radius), -1, -1);
}

double distanceToTube(const Vec3& p, double major, double minor) {
  return std::abs(std::hypot(std::hypot(p.x, p.y) - major, p.z) - minor);
}

TEST(SurfaceKind, TorusThatMeetsItsAxisShowsItsOuterSide) {
  // An apple (the tube's centre beyond the axis) and a lemon; in metres, without any loop.
  for (const double major : {0.005, -0.005, 0.0, 0.009}) {
    SCOPED_TRACE(major);
    XtModel model;
    model.face(model.torus({}, kZ, kX, major, 0.01), false, {});
    const double mm = major * 1000;
    const double end = std::acos(-mm / 10);
    Truth truth = turnedTruth({[mm](double v) {
                                 return Vec2{mm + 10 * std::cos(v), 10 * std::sin(v)};
                               },
                               -end, end});
    truth.distance = [mm](const Vec3& p) { return distanceToTube(p, mm, 10); };
    expectSolid(std::move(model), truth);
  }
}

TEST(SurfaceKind, SweptSplineSection) {
  // A rational circle of four arcs, moved along z.
  XtModel model;
  const auto circle = [&](double z) {
    const std::vector<double> points = turnedNet({{0.01, z}});
    return model.splineCurve(2, 4, true, points, {0, 1, 2, 3, 4}, {3, 2, 2, 2, 3});
  };
  const int low = model.edge(circle(0), -1, -1);
  const int high = model.edge(circle(0.02), -1, -1);
  addEnds(model, model.swept(circle(0), kZ), false, low, 0, high, 0.02);
  const auto distance = [](const Vec3& p) {
    return std::min({std::abs(std::hypot(p.x, p.y) - 10), std::abs(p.z), std::abs(p.z - 20)});
  };
  expectSolid(std::move(model), {kPi * 100 * 20, 2 * kPi * 10 * 20 + 2 * kPi * 100, distance});
}

TEST(SurfaceKind, SweptEllipse) {
  double around = 0;
  for (int i = 0; i < 20000; ++i) {
    const double t = 2 * kPi * (i + 0.5) / 20000;
    around += std::hypot(20 * std::sin(t), 5 * std::cos(t)) * 2 * kPi / 20000;
  }
  expectSolid(models::ellipticRod(0.02, 0.005, 0.01), {kPi * 100 * 10, around * 10 + 2 * kPi * 100, nullptr});
}

// A vase: a cubic profile from (10, 0) to (8, 30) in mm.
Vec2 vase(double t) {
  const double s = 1 - t;
  const double r[] = {10, 16, 2, 8};
  const double z[] = {0, 10, 20, 30};
  const double b[] = {s * s * s, 3 * s * s * t, 3 * s * t * t, t * t * t};
  Vec2 p;
  for (int i = 0; i < 4; ++i) p = p + Vec2{r[i], z[i]} * b[i];
  return p;
}

TEST(SurfaceKind, SpunSplineProfile) {
  XtModel model;
  const auto profile = model.splineCurve(
      3, 3, false, {0.010, 0, 0, 0.016, 0, 0.010, 0.002, 0, 0.020, 0.008, 0, 0.030}, {0, 1}, {4, 4});
  // u runs up, v round: the natural normal points to the axis.
  addEnds(model, model.spun(profile, {}, kZ), true, ring(model, 0.01, 0), 0, ring(model, 0.008, 0.03), 0.03);
  Truth truth = turnedTruth({vase, 0, 1});
  truth.area += kPi * (100 + 64);
  truth.distance = [](const Vec3& p) {
    // The profile's height grows evenly with its parameter; the distance along its radius by its steepness.
    const double t = std::clamp(p.z / 30, 0.0, 1.0);
    constexpr double kStep = 1e-4;
    const double slope = (vase(t + kStep).u - vase(t - kStep).u) / (60 * kStep);
    const double side = std::abs(std::hypot(p.x, p.y) - vase(t).u) / std::hypot(1, slope);
    return std::min({side, std::abs(p.z), std::abs(p.z - 30)});
  };
  expectSolid(std::move(model), truth);
}

TEST(SurfaceKind, SpunLineIsACone) {
  XtModel model;
  const auto profile = model.line({0.01, 0, 0}, Vec3{-0.004, 0, 0.02});
  addEnds(model, model.spun(profile, {}, kZ), true, ring(model, 0.01, 0), 0, ring(model, 0.006, 0.02), 0.02);
  Truth truth = turnedTruth({[](double t) { return Vec2{10 - 4 * t, 20 * t}; }, 0, 1});
  truth.area += kPi * (100 + 36);
  expectSolid(std::move(model), truth);
}

TEST(SurfaceKind, SpunCircleAcrossItsAxisIsABall) {
  XtModel model;
  const auto ball = model.spun(model.circle({}, -kY, kX, 0.01), {}, kZ);
  model.nodes().vector(ball, "start", {0, 0, -0.01});
  model.nodes().number(ball, "start_param", -kPi / 2);
  model.nodes().vector(ball, "end", {0, 0, 0.01});
  model.nodes().number(ball, "end_param", kPi / 2);
  model.face(ball, true, {});
  expectSolid(std::move(model),
              {4.0 / 3 * kPi * 1000, 4 * kPi * 100, [](const Vec3& p) { return std::abs(length(p) - 10); }});
}

TEST(SurfaceKind, SpunLineThatMeetsItsAxisEndsThere) {
  XtModel model;
  const double length_of_side = std::hypot(0.01, 0.02);
  const auto side = model.spun(model.line({0.01, 0, 0}, {-0.01, 0, 0.02}), {}, kZ);
  model.nodes().vector(side, "end", {0, 0, 0.02});
  model.nodes().number(side, "end_param", length_of_side);
  const int rim = ring(model, 0.01, 0);
  model.face(side, true, {{{rim, true}}});
  model.face(model.plane({}, -kZ, kX), false, {{{rim, false}}});
  const double slope = 1000 * length_of_side;
  expectSolid(std::move(model), {kPi * 100 * 20 / 3, kPi * 100 + kPi * 10 * slope, nullptr});
}

TEST(SurfaceKind, OffsetOfASplineSurface) {
  // The closed rational cylinder of radius 10, moved outward by 2 and inward by 3.
  for (const double offset : {0.002, -0.003}) {
    SCOPED_TRACE(offset);
    XtModel model;
    const std::vector<double> net = turnedNet({{0.01, 0}, {0.01, 0.02}});
    const auto base =
        model.splineSurface(2, 1, 9, 2, true, net, {0, 1, 2, 3, 4}, {3, 2, 2, 2, 3}, {0, 1}, {2, 2});
    const double radius = 0.01 + offset;
    addEnds(model, model.offset(base, offset), false, ring(model, radius, 0), 0, ring(model, radius, 0.02),
            0.02);
    const double mm = radius * 1000;
    const auto distance = [mm](const Vec3& p) {
      return std::min({std::abs(std::hypot(p.x, p.y) - mm), std::abs(p.z), std::abs(p.z - 20)});
    };
    expectSolid(std::move(model), {kPi * mm * mm * 20, 2 * kPi * mm * (20 + mm), distance});
  }
}

TEST(SurfaceKind, OffsetOfASweptEllipseBetweenIntersectionCurves) {
  // Axes 20 and 10, all round 3 further out: area and circumference by the formulas for parallel curves.
  XtModel model;
  const auto base = model.swept(model.ellipse({}, kZ, kX, 0.02, 0.01), kZ);
  const auto side = model.offset(base, 0.003);
  const auto bottom = model.plane({}, -kZ, kX);
  const auto top = model.plane({0, 0, 0.01}, kZ, kX);
  const auto rim = [&](double z, Id plane) {
    std::vector<loftbay::maker::Point> chart;
    for (int i = 0; i < 12; ++i) {
      const double t = 2 * kPi * i / 12;
      const Vec3 n = normalized({0.01 * std::cos(t), 0.02 * std::sin(t), 0});
      chart.push_back(Vec3{0.02 * std::cos(t), 0.01 * std::sin(t), z} + n * 0.003);
    }
    chart.push_back(chart.front());
    return model.edge(model.intersection(side, plane, chart), -1, -1);
  };
  const int low = rim(0, bottom);
  const int high = rim(0.01, top);
  model.face(side, false, {{{low, true}}, {{high, false}}});
  model.face(bottom, false, {{{low, false}}});
  model.face(top, false, {{{high, true}}});
  double around = 0;
  for (int i = 0; i < 20000; ++i) {
    const double t = 2 * kPi * (i + 0.5) / 20000;
    around += std::hypot(20 * std::sin(t), 10 * std::cos(t)) * 2 * kPi / 20000;
  }
  const double area = kPi * 200 + 3 * around + kPi * 9;
  expectSolid(std::move(model), {area * 10, 2 * area + (around + 2 * kPi * 3) * 10, nullptr});
}

TEST(SurfaceKind, OffsetsOfSimpleSurfaces) {
  // A cone moved by 1 is a cone: its radius grows by 1 / cos of the half angle.
  XtModel model;
  const double angle = -0.3;
  const auto base = model.cone({}, kZ, kX, 0.01, angle);
  const double r0 = 0.01 + 0.001 / std::cos(angle);
  const double r1 = r0 + 0.015 * std::tan(angle);
  addEnds(model, model.offset(base, 0.001), false, ring(model, r0, 0), 0, ring(model, r1, 0.015), 0.015);
  Truth truth = turnedTruth({[=](double t) { return Vec2{1000 * (r0 + (r1 - r0) * t), 15 * t}; }, 0, 1});
  truth.area += kPi * 1e6 * (r0 * r0 + r1 * r1);
  expectSolid(std::move(model), truth);
  XtModel ball;
  ball.face(ball.offset(ball.sphere({}, kZ, kX, 0.01), -0.004), false, {});
  expectSolid(std::move(ball),
              {4.0 / 3 * kPi * 216, 4 * kPi * 36, [](const Vec3& p) { return std::abs(length(p) - 6); }});
  XtModel tube;
  tube.face(tube.offset(tube.torus({}, kZ, kX, 0.02, 0.004), 0.001), false, {});
  expectSolid(std::move(tube), {2 * kPi * kPi * 20 * 25, 4 * kPi * kPi * 20 * 5,
                                [](const Vec3& p) { return distanceToTube(p, 20, 5); }});
}

// A cylinder of radius 10 and height 20 whose upper edge a ball of radius 3 has rounded.
void expectRoundedCylinder(XtModel& model, Id spine, Id side, Id top) {
  const auto blend = model.blend(spine, side, top, 0.003);
  const int low = ring(model, 0.01, 0);
  const int begins = ring(model, 0.01, 0.017);
  const int ends = ring(model, 0.007, 0.02);
  model.face(side, false, {{{low, true}}, {{begins, false}}});
  model.face(blend, false, {{{begins, true}}, {{ends, false}}});
  model.face(top, false, {{{ends, true}}});
  model.face(model.plane({}, -kZ, kX), false, {{{low, false}}});
  Truth truth =
      turnedTruth({[](double t) {
                     if (t < 1) return Vec2{10, 17 * t};
                     return Vec2{7 + 3 * std::cos((t - 1) * kPi / 2), 17 + 3 * std::sin((t - 1) * kPi / 2)};
                   },
                   0, 2});
  truth.area += kPi * (100 + 49);
  truth.distance = [](const Vec3& p) {
    const double r = std::hypot(p.x, p.y);
    const double tube = r > 6.999 && p.z > 16.999 ? std::abs(std::hypot(r - 7, p.z - 17) - 3) : 100;
    return std::min({tube, std::abs(r - 10) + std::max(0.0, p.z - 17), std::abs(p.z), std::abs(p.z - 20)});
  };
  expectSolid(std::move(model), truth);
}

TEST(SurfaceKind, BlendRoundACircle) {
  XtModel model;
  const auto side = model.cylinder({}, kZ, kX, 0.01);
  const auto top = model.plane({0, 0, 0.02}, kZ, kX);
  expectRoundedCylinder(model, model.circle({0, 0, 0.017}, kZ, kX, 0.007), side, top);
}

TEST(SurfaceKind, BlendRoundAnIntersectionCurve) {
  // The spine as modellers write it: where the two surfaces, moved inward by the radius, meet.
  XtModel model;
  const auto side = model.cylinder({}, kZ, kX, 0.01);
  const auto top = model.plane({0, 0, 0.02}, kZ, kX);
  std::vector<loftbay::maker::Point> chart;
  for (int i = 0; i < 8; ++i)
    chart.push_back({0.007 * std::cos(kPi / 4 * i), 0.007 * std::sin(kPi / 4 * i), 0.017});
  chart.push_back(chart.front());
  const auto spine = model.intersection(model.offset(side, -0.003), model.offset(top, -0.003), chart);
  expectRoundedCylinder(model, spine, side, top);
}

TEST(SurfaceKind, FaceWithAHoleOnABlendNeedsNoSense) {
  // Half of a rounded rod, straight, with a window. A blend's orientation does not follow from its fields:
  // the loops decide it, the larger one being the outer one.
  for (const bool reversed : {false, true}) {
    SCOPED_TRACE(reversed);
    XtModel model;
    model.asSheet();
    const auto spine = model.line({}, kX);
    const auto tube = model.blend(spine, 0, 0, 0.005);
    // From x = 0 to 40 and from -y over z to y.
    const auto at = [](double x, double angle) {
      return Vec3{x, 0.005 * std::sin(angle), 0.005 * std::cos(angle)};
    };
    const auto frame = [&](double x0, double x1, double a) {
      const int v[] = {model.vertex(at(x0, -a)), model.vertex(at(x1, -a)), model.vertex(at(x1, a)),
                       model.vertex(at(x0, a))};
      // Both arcs turn from -y over z to y.
      const int begin = model.edge(model.circle({x0, 0, 0}, -kX, kZ, 0.005), v[0], v[3]);
      const int end = model.edge(model.circle({x1, 0, 0}, -kX, kZ, 0.005), v[1], v[2]);
      return XtModel::LoopSides{{model.straight(v[0], v[1]), true},
                                {end, true},
                                {model.straight(v[2], v[3]), true},
                                {begin, false}};
    };
    XtModel::LoopSides hole = frame(0.01, 0.03, 0.5);
    std::reverse(hole.begin(), hole.end());
    for (auto& side : hole) side.forward = !side.forward;
    model.face(tube, reversed, {frame(0, 0.04, 1.5), hole});
    model.finish();
    const auto bodies = readBodies(model);
    ASSERT_TRUE(bodies);
    const TessellatedBodies made = tessellate(*bodies, {});
    for (const TessellationLoss& loss : made.losses) ADD_FAILURE() << loss.reason;
    const MeshMeasures m = measure(made.bodies.at(0).shape);
    EXPECT_EQ(m.against_normals, 0U);
    EXPECT_NEAR(m.area, 5 * (3.0 * 40 - 1.0 * 20), 2);
  }
}

// A uniform cubic spline round the origin, closed: eight points, every second one further out. In mm.
constexpr int kPetals = 8;
Vec2 petalPoint(int i) {
  const double r = i % 2 == 0 ? 12 : 8;
  return {r * std::cos(2 * kPi * i / kPetals), r * std::sin(2 * kPi * i / kPetals)};
}
Vec2 petals(double t) {
  const int i = static_cast<int>(std::floor(t));
  const double s = t - i;
  const double b[] = {(1 - s) * (1 - s) * (1 - s) / 6, (3 * s * s * s - 6 * s * s + 4) / 6,
                      (-3 * s * s * s + 3 * s * s + 3 * s + 1) / 6, s * s * s / 6};
  Vec2 p;
  for (int k = 0; k < 4; ++k) p = p + petalPoint((i + k) % kPetals) * b[k];
  return p;
}

TEST(SurfaceKind, PeriodicSplines) {
  // Knots of one period, or with those that go round: three more at each end.
  for (const bool all_knots : {false, true}) {
    SCOPED_TRACE(all_knots);
    XtModel model;
    std::vector<double> knots;
    for (int i = all_knots ? -3 : 0; i <= kPetals + (all_knots ? 3 : 0); ++i) knots.push_back(i);
    const std::vector<int> once(knots.size(), 1);
    const auto edgeAt = [&](double z) {
      std::vector<double> points;
      for (int i = 0; i < kPetals; ++i) {
        points.insert(points.end(), {petalPoint(i).u / 1000, petalPoint(i).v / 1000, z});
      }
      const auto curve = model.splineCurve(3, 3, false, points, knots, once);
      model.nodes().number(curve + 1, "periodic", 1);
      model.nodes().number(curve + 1, "closed", 1);
      return model.edge(curve, -1, -1);
    };
    std::vector<double> net;
    for (int i = 0; i < kPetals; ++i) {
      for (const double z : {0.0, 0.01}) {
        net.insert(net.end(), {petalPoint(i).u / 1000, petalPoint(i).v / 1000, z});
      }
    }
    const auto side = model.splineSurface(3, 1, kPetals, 2, false, net, knots, once, {0, 1}, {2, 2});
    model.nodes().number(side + 1, "u_periodic", 1);
    model.nodes().number(side + 1, "u_closed", 1);
    const int low = edgeAt(0);
    const int high = edgeAt(0.01);
    addEnds(model, side, false, low, 0, high, 0.01);
    double area = 0;
    double around = 0;
    for (int i = 0; i < 8000; ++i) {
      const Vec2 a = petals(kPetals * i / 8000.0);
      const Vec2 b = petals(kPetals * ((i + 1) % 8000) / 8000.0);
      area += (a.u * b.v - a.v * b.u) / 2;
      around += std::hypot(b.u - a.u, b.v - a.v);
    }
    expectSolid(std::move(model), {area * 10, 2 * area + around * 10, nullptr});
  }
}

// Nine points of a rational circle of four arcs, with their weights.
std::vector<std::array<double, 3>> circlePoints() {
  std::vector<std::array<double, 3>> points;
  const double w = std::sqrt(0.5);
  for (int i = 0; i <= 8; ++i) {
    const double r = i % 2 == 0 ? 1 : 1 / w;
    points.push_back({r * std::cos(kPi / 4 * i), r * std::sin(kPi / 4 * i), i % 2 == 0 ? 1 : w});
  }
  return points;
}

TEST(SurfaceKind, SplineClosedBothWaysWithoutLoops) {
  XtModel model;
  std::vector<double> net;
  for (const auto& u : circlePoints()) {
    for (const auto& v : circlePoints()) {
      const double r = 0.02 + 0.005 * v[0];
      const double weight = u[2] * v[2];
      net.insert(net.end(), {r * u[0] * weight, r * u[1] * weight, 0.005 * v[1] * weight, weight});
    }
  }
  const std::vector<double> knots{0, 1, 2, 3, 4};
  const std::vector<int> times{3, 2, 2, 2, 3};
  model.face(model.splineSurface(2, 2, 9, 9, true, net, knots, times, knots, times), false, {});
  expectSolid(std::move(model), {2 * kPi * kPi * 20 * 25, 4 * kPi * kPi * 20 * 5,
                                 [](const Vec3& p) { return distanceToTube(p, 20, 5); }});
}

TEST(SurfaceKind, SplineFromPoleToPoleWithoutLoops) {
  // A ball: every row of the net runs from the south pole over its meridian to the north pole.
  XtModel model;
  std::vector<double> net;
  const auto around = circlePoints();
  for (const auto& u : around) {
    for (int k = 0; k < 5; ++k) {
      const auto& v = around[static_cast<std::size_t>((k + 6) % 8)];  // from -90 to 90 degrees
      const double weight = u[2] * v[2];
      const double r = k == 0 || k == 4 ? 0 : 0.01 * v[0];
      net.insert(net.end(), {r * u[0] * weight, r * u[1] * weight, 0.01 * v[1] * weight, weight});
    }
  }
  model.face(
      model.splineSurface(2, 2, 9, 5, true, net, {0, 1, 2, 3, 4}, {3, 2, 2, 2, 3}, {0, 1, 2}, {3, 2, 3}),
      false, {});
  expectSolid(std::move(model),
              {4.0 / 3 * kPi * 1000, 4 * kPi * 100, [](const Vec3& p) { return std::abs(length(p) - 10); }});
}

}  // namespace
}  // namespace jttk::brep
