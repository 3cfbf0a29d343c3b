// Faces that meet a pole of their surface: pieces of solids of revolution between two planes through the
// axis, whose loops pass the pole, and whole ones round it.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "tests/jttk/brep/axes.h"
#include "tests/jttk/brep/solid_checks.h"

namespace jttk::brep {
namespace {

constexpr double kRadius = 0.01;
constexpr double kHeight = 0.02;

Vec3 outAt(double angle) { return {std::cos(angle), std::sin(angle), 0}; }

// A cone's piece over the angles from `from` to `from` + `width`; its side is this surface, which points
// inward where `inward`.
struct Side {
  XtWriter::Id surface = 0;
  bool inward = false;
};

void addConePiece(XtModel& model, const Side& side, double from, double width) {
  const Vec3 a = outAt(from);
  const Vec3 b = outAt(from + width);
  const int middle = model.vertex({});
  const int apex = model.vertex({0, 0, kHeight});
  const int first = model.vertex(a * kRadius);
  const int last = model.vertex(b * kRadius);
  const int rim = model.edge(model.circle({}, kZ, kX, kRadius), first, last);
  const int axis = model.straight(middle, apex);
  const int to_first = model.straight(middle, first);
  const int to_last = model.straight(middle, last);
  const int first_up = model.straight(first, apex);
  const int last_up = model.straight(last, apex);
  model.face(side.surface, side.inward, {{{rim, true}, {last_up, true}, {first_up, false}}});
  model.face(model.plane({}, -kZ, kX), false, {{{to_last, true}, {rim, false}, {to_first, false}}});
  model.face(model.plane({}, cross(a, kZ), a), false, {{{to_first, true}, {first_up, true}, {axis, false}}});
  model.face(model.plane({}, cross(kZ, b), b), false, {{{axis, true}, {last_up, false}, {to_last, false}}});
}

// At a tip on the axis every triangle of a bent face has the normal in the middle of the directions over
// which it reaches. `slope`: that normal in the half plane of x and z. Gives how many corners were looked at.
std::size_t expectNormalsAtTheTip(const Outcome& o, double z, const Vec3& slope) {
  const TessellatedBody& body = o.made.bodies.at(0);
  const ShapeGeometry& shape = body.shape;
  const auto at = [&](std::size_t corner) { return cornerOf(shape, corner); };
  std::size_t tips = 0;
  for (std::size_t i = 0; i < shape.corner_positions.size(); ++i) {
    const std::int32_t surface = o.bodies.faces[body.triangle_faces[i / 3]].surface;
    if (o.bodies.surfaces[static_cast<std::size_t>(surface)].kind == SurfaceKind::Plane) continue;
    if (distance(at(i), {0, 0, z}) > 1e-4) continue;
    ++tips;
    const std::size_t first = i / 3 * 3;
    Vec3 middle;
    for (std::size_t k = first; k < first + 3; ++k) {
      const Vec3 out{at(k).x, at(k).y, 0};
      if (length(out) > 1e-4) middle += normalized(out);
    }
    const std::size_t r = 3 * std::size_t{shape.corner_records[i]};
    const Vec3 normal{double{shape.normals[r]}, double{shape.normals[r + 1]}, double{shape.normals[r + 2]}};
    EXPECT_LE(angleBetween(normal, normalized(middle) * slope.x + kZ * slope.z), 2e-3) << i;
  }
  return tips;
}

const Vec3 kSlope = normalized({kHeight, 0, kRadius});

void expectConePiece(XtModel model, double width) {
  for (const double percent : {1.0, 0.08}) {
    SCOPED_TRACE(testing::Message() << width << " rad, " << percent << " %");
    TessellationOptions options;
    options.chord_tolerance_percent = percent;
    XtModel copy = model;
    const Outcome o = run(std::move(copy), options);
    expectClosed(o.measures);
    // One for each piece of the rim, on the side and at the bottom: none is split between the rim and the
    // apex.
    EXPECT_LE(o.measures.triangles, 100U);
    const double share = width / (2 * kPi);
    const double chord = o.made.chord_tolerance;
    EXPECT_NEAR(o.measures.volume, share * kPi * 2000 / 3, o.measures.area * chord);
    const double slope = std::hypot(10, 20);
    const double area = share * kPi * (100 + 10 * slope) + 200;
    EXPECT_NEAR(o.measures.area, area, 0.02 * area);
    EXPECT_GE(expectNormalsAtTheTip(o, 1000 * kHeight, kSlope), 1U);
  }
}

TEST(Pole, OfAConeIsPassedByALoop) {
  for (const double from : {0.0, 2.0, 6.0}) {
    for (const double width : {0.6, kPi / 2, 2.9, 4.5}) {
      SCOPED_TRACE(from);
      XtModel model;
      addConePiece(model, {model.cone({}, kZ, kX, kRadius, -std::atan(kRadius / kHeight)), false}, from,
                   width);
      expectConePiece(std::move(model), width);
    }
  }
}

TEST(Pole, OfASpunLineIsPassedByALoop) {
  for (const double from : {0.0, 2.0, 6.0}) {
    for (const double width : {0.6, kPi / 2, 2.9, 4.5}) {
      SCOPED_TRACE(from);
      XtModel model;
      const auto side = model.spun(model.line({kRadius, 0, 0}, {-kRadius, 0, kHeight}), {}, kZ);
      model.nodes().vector(side, "end", {0, 0, kHeight});
      model.nodes().number(side, "end_param", std::hypot(kRadius, kHeight));
      // u runs up, v round: the natural normal points to the axis.
      addConePiece(model, {side, true}, from, width);
      expectConePiece(std::move(model), width);
    }
  }
}

TEST(Pole, OfAWholeConeHasANormalForEveryDirection) {
  const Outcome o = run(models::cone(kRadius, kHeight));
  expectClosed(o, kPi * 2000 / 3, kPi * (100 + 10 * std::hypot(10, 20)));
  EXPECT_GE(expectNormalsAtTheTip(o, 1000 * kHeight, kSlope), 12U);
}

// A piece of a ball or of a lemon, from pole to pole: two meridians and the planes between them and the axis.
struct Spindle {
  XtWriter::Id surface = 0;
  bool inward = false;
  double major = 0;  // of the tube that the meridians belong to, in metres
  double minor = 0;
};

void expectSpindlePiece(const std::function<Spindle(XtModel&)>& make, double from, double width) {
  XtModel model;
  const Spindle spindle = make(model);
  const double high = std::sqrt(spindle.minor * spindle.minor - spindle.major * spindle.major);
  const Vec3 a = outAt(from);
  const Vec3 b = outAt(from + width);
  const int south = model.vertex({0, 0, -high});
  const int north = model.vertex({0, 0, high});
  const auto meridian = [&](const Vec3& out) {
    return model.edge(model.circle(out * spindle.major, cross(out, kZ), out, spindle.minor), south, north);
  };
  const int first = meridian(a);
  const int last = meridian(b);
  const int axis = model.straight(south, north);
  model.face(spindle.surface, spindle.inward, {{{last, true}, {first, false}}});
  model.face(model.plane({}, cross(a, kZ), a), false, {{{first, true}, {axis, false}}});
  model.face(model.plane({}, cross(kZ, b), b), false, {{{axis, true}, {last, false}}});
  // By fine sums over the height, in mm.
  const double major = spindle.major * 1000;
  const double minor = spindle.minor * 1000;
  double volume = 0;
  double area = 0;
  const double end = std::acos(-major / minor);
  constexpr int kSteps = 20000;
  for (int i = 0; i < kSteps; ++i) {
    const double v = end * (2 * (i + 0.5) / kSteps - 1);
    const double r = major + minor * std::cos(v);
    const double step = 2 * end / kSteps;
    volume += width / 2 * r * r * minor * std::cos(v) * step;
    area += width * r * minor * step + 2 * r * minor * std::cos(v) * step;
  }
  for (const double percent : {1.0, 0.08}) {
    SCOPED_TRACE(testing::Message() << from << " + " << width << " rad, " << percent << " %");
    TessellationOptions options;
    options.chord_tolerance_percent = percent;
    XtModel copy = model;
    const Outcome o = run(std::move(copy), options);
    expectClosed(o.measures);
    EXPECT_NEAR(o.measures.volume, volume, o.measures.area * o.made.chord_tolerance);
    EXPECT_NEAR(o.measures.area, area, 0.02 * area);
    const double tip = std::sqrt(minor * minor - major * major);
    for (const double z : {tip, -tip}) {
      if (major == 0) continue;  // a ball has no tips
      EXPECT_GE(expectNormalsAtTheTip(o, z, Vec3{-major / minor, 0, z / minor}), 1U);
    }
    EXPECT_LE(farthest(o.made.bodies.at(0).shape,
                       [&](const Vec3& p) {
                         const double tube = std::hypot(std::hypot(p.x, p.y) - major, p.z) - minor;
                         return std::min({std::abs(tube), std::abs(dot(p, cross(a, kZ))),
                                          std::abs(dot(p, cross(kZ, b)))});
                       }),
              o.made.chord_tolerance);
  }
}

class PoleToPole : public testing::TestWithParam<double> {};

TEST_P(PoleToPole, OnABall) {
  expectSpindlePiece(
      [](XtModel& m) {
        return Spindle{m.sphere({}, kZ, kX, 0.01), false, 0, 0.01};
      },
      1, GetParam());
}

TEST_P(PoleToPole, OnALemon) {
  expectSpindlePiece(
      [](XtModel& m) {
        return Spindle{m.torus({}, kZ, kX, -0.004, 0.01), false, -0.004, 0.01};
      },
      1, GetParam());
}

TEST_P(PoleToPole, OnASpunCircle) {
  expectSpindlePiece(
      [](XtModel& m) {
        const auto ball = m.spun(m.circle({}, {0, -1, 0}, kX, 0.01), {}, kZ);
        m.nodes().vector(ball, "start", {0, 0, -0.01});
        m.nodes().number(ball, "start_param", -kPi / 2);
        m.nodes().vector(ball, "end", {0, 0, 0.01});
        m.nodes().number(ball, "end_param", kPi / 2);
        return Spindle{ball, true, 0, 0.01};
      },
      1, GetParam());
}

INSTANTIATE_TEST_SUITE_P(Brep, PoleToPole, testing::Values(0.4, kPi / 2, 2.5));

// A loop round a cone bounds the part up to the apex, on whichever side that is; this decides also where the
// face's stated sense is wrong.
TEST(Pole, LiesOnTheSideOfTheLoopThatTheFaceIsOn) {
  for (const bool pointed_up : {true, false}) {
    for (const bool wrong_sense : {false, true}) {
      SCOPED_TRACE(testing::Message() << pointed_up << wrong_sense);
      XtModel model;
      const double z = pointed_up ? kHeight : -kHeight;
      const auto side = model.cone({}, kZ, kX, kRadius, (pointed_up ? -1 : 1) * std::atan(kRadius / kHeight));
      const int rim = model.edge(model.circle({}, kZ, kX, kRadius), -1, -1);
      model.face(side, wrong_sense, {{{rim, pointed_up}}});
      model.face(model.plane({}, pointed_up ? -kZ : kZ, kX), false, {{{rim, !pointed_up}}});
      const Outcome o = run(std::move(model));
      expectClosed(o, kPi * 2000 / 3, kPi * (100 + 10 * std::hypot(10, 20)));
      for (std::size_t i = 2; i < o.made.bodies.at(0).shape.positions.size(); i += 3) {
        EXPECT_GE(double{o.made.bodies[0].shape.positions[i]} * z, -1e-9);
      }
    }
  }
}

// The side of a truncated cone has no pole in it: one rim alone is damage where the face looks away from it.
TEST(Pole, IsNoneWhereTheSurfaceEndsInACircle) {
  XtModel model;
  model.asSheet();
  const auto profile = model.splineCurve(1, 3, false, {0.01, 0, 0, 0.004, 0, 0.02}, {0, 1}, {2, 2});
  const int rim = model.edge(model.circle({}, kZ, kX, kRadius), -1, -1);
  model.face(model.spun(profile, {}, kZ), true, {{{rim, true}}});
  model.finish();
  const Outcome o = tessellated(model);
  ASSERT_EQ(o.made.losses.size(), 1U);
  EXPECT_EQ(o.made.losses[0].reason, "a loop round a surface without a pole");
  EXPECT_EQ(o.measures.triangles, 0U);
}

// A line of chords twice round a cone crosses itself: no face.
TEST(Pole, OfALoopThatGoesRoundTwiceIsDamage) {
  XtModel model;
  model.asSheet();
  constexpr int kChords = 96;
  std::vector<double> points;
  std::vector<double> knots;
  std::vector<int> times;
  for (int i = 0; i <= kChords; ++i) {
    const double angle = 4 * kPi * (i % kChords) / kChords;
    const double height = 0.008 + 0.004 * std::cos(angle / 2);
    const Vec3 p = outAt(angle) * (kRadius * (1 - height / kHeight)) + kZ * height;
    points.insert(points.end(), {p.x, p.y, p.z});
    knots.push_back(i);
    times.push_back(i == 0 || i == kChords ? 2 : 1);
  }
  const int ring = model.edge(model.splineCurve(1, 3, false, points, knots, times), -1, -1);
  model.face(model.cone({}, kZ, kX, kRadius, -std::atan(kRadius / kHeight)), false, {{{ring, true}}});
  model.finish();
  const Outcome o = tessellated(model);
  ASSERT_EQ(o.made.losses.size(), 1U);
  EXPECT_EQ(o.made.losses[0].reason, "a loop that goes round more than once");
  EXPECT_EQ(o.measures.triangles, 0U);
}

}  // namespace
}  // namespace jttk::brep
