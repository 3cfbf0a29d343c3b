// Damaged models: the damaged face is reported and left out, the rest is meshed.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "jttk/brep/tessellate.h"
#include "jttk/brep/xt_geometry.h"
#include "tests/jttk/brep/mesh_measures.h"
#include "tests/jttk/brep/read_bodies.h"

namespace jttk::brep {
namespace {

struct Damage {
  const char* name;
  std::function<void(XtModel&)> before;  // finish()
  std::function<void(XtModel&)> after;
  const char* reason;
};

// A box with one more face or one face damaged.
class BadFace : public testing::TestWithParam<Damage> {};

TEST_P(BadFace, IsReportedAndTheRestComes) {
  XtModel model = models::box(0.03, 0.02, 0.01);
  if (GetParam().before) GetParam().before(model);
  model.finish();
  if (GetParam().after) GetParam().after(model);
  const auto bodies = readBodies(model);
  ASSERT_TRUE(bodies) << bodies.error().text();
  const TessellatedBodies made = tessellate(*bodies, {});
  ASSERT_FALSE(made.losses.empty());
  bool found = false;
  for (const TessellationLoss& loss : made.losses) {
    found = found || loss.reason.find(GetParam().reason) != std::string::npos;
  }
  EXPECT_TRUE(found) << made.losses[0].reason;
  EXPECT_LE(made.losses.size(), 2U);
  EXPECT_GE(measure(made.bodies[0].shape).triangles, 8U);
}

void addSplineFace(XtModel& m, std::vector<double> knots, double weight) {
  std::vector<double> net;
  for (int i = 0; i < 3; ++i) {
    for (int k = 0; k < 2; ++k) net.insert(net.end(), {0.01 * i * weight, 0.01 * k * weight, 0, weight});
  }
  const auto s = m.splineSurface(2, 1, 3, 2, true, net, knots, {3, 3}, {0, 1}, {2, 2});
  const int ring = m.edge(m.circle({0.01, 0.005, 0}, {0, 0, 1}, {1, 0, 0}, 0.002), -1, -1);
  m.face(s, false, {{{ring, true}}});
}

void addLoopOnPlane(XtModel& m, const std::vector<Vec3>& corners) {
  std::vector<int> v;
  for (const Vec3& c : corners) v.push_back(m.vertex(c));
  XtModel::LoopSides loop;
  for (std::size_t i = 0; i < v.size(); ++i) loop.push_back({m.straight(v[i], v[(i + 1) % v.size()]), true});
  m.face(m.plane({0, 0, 0.05}, {0, 0, 1}, {1, 0, 0}), false, {loop});
}

INSTANTIATE_TEST_SUITE_P(
    Brep, BadFace,
    testing::Values(
        Damage{"NoLoopsOnAPlane",
               [](XtModel& m) {
                 m.face(m.plane({0, 0, 1}, {0, 0, 1}, {1, 0, 0}), false, {});
               },
               nullptr, "without loops"},
        Damage{"NoLoopsOnACylinder",
               [](XtModel& m) {
                 m.face(m.cylinder({0, 0, 1}, {0, 0, 1}, {1, 0, 0}, 0.01), false, {});
               },
               nullptr, "without loops"},
        Damage{"EmptyLoop",
               [](XtModel& m) {
                 m.face(m.plane({0, 0, 1}, {0, 0, 1}, {1, 0, 0}), false, {{}});
               },
               nullptr, "loop without edges"},
        Damage{"LoopThatDoesNotClose", nullptr,
               [](XtModel& m) { m.nodes().pointer(m.finNodes()[2], "forward", 0); }, "does not close"},
        Damage{"LoopThatRunsIntoAnother", nullptr,
               [](XtModel& m) { m.nodes().pointer(m.finNodes()[3], "forward", m.finNodes()[5]); },
               "does not close"},
        Damage{"SelfCrossingTrim",
               [](XtModel& m) {
                 addLoopOnPlane(m, {{0, 0, 0.05}, {0.01, 0.01, 0.05}, {0.01, 0, 0.05}, {0, 0.01, 0.05}});
               },
               nullptr, "cross"},
        Damage{"KnotsOutOfOrder",
               [](XtModel& m) {
                 addSplineFace(m, {1, 0}, 1);
               },
               nullptr, "knots are out of order"},
        Damage{"WeightOfZero",
               [](XtModel& m) {
                 addSplineFace(m, {0, 1}, 0);
               },
               nullptr, "weight is not above zero"},
        Damage{"UnknownSurface",
               [](XtModel& m) {
                 const auto foreign = m.nodes().add(120);
                 m.face(foreign, false, {});
               },
               nullptr, "a surface that is not known"},
        Damage{"NoSurface", [](XtModel& m) { m.face(0, false, {}); }, nullptr, "no surface"},
        Damage{"NegativeRadius",
               [](XtModel& m) {
                 m.face(m.sphere({0, 0, 0}, {0, 0, 1}, {1, 0, 0}, -1), false, {});
               },
               nullptr, "no axes or radius"},
        Damage{"NotANumber",
               [](XtModel& m) {
                 m.face(m.sphere({std::nan(""), 0, 0}, {0, 0, 1}, {1, 0, 0}, 1), false, {});
               },
               nullptr, "no axes or radius"},
        Damage{"SurfaceThatNeedsItself",
               [](XtModel& m) {
                 const auto a = m.offset(0, 0.001);
                 m.nodes().pointer(a, "surface", a);
                 m.face(a, false, {});
               },
               nullptr, "no base surface"},
        Damage{"EdgeOffItsSurface",
               [](XtModel& m) {
                 const int ring = m.edge(m.circle({0, 0, 0.5}, {0, 0, 1}, {1, 0, 0}, 0.01), -1, -1);
                 m.face(m.plane({0, 0, 0}, {0, 0, 1}, {1, 0, 0}), false, {{{ring, true}}});
               },
               nullptr, "does not lie on its surface"},
        Damage{"LineWithoutEnds",
               [](XtModel& m) {
                 const int e = m.edge(m.line({0, 0, 0}, {1, 0, 0}), -1, -1);
                 m.face(m.plane({0, 0, 0}, {0, 0, 1}, {1, 0, 0}), false, {{{e, true}}});
               },
               nullptr, "ends nowhere"}),
    [](const testing::TestParamInfo<Damage>& damage) { return damage.param.name; });

// A straight tube with two loops round it. What is read of a blend must be a tube of one radius, or the face
// is lost: any other surface would be a guess.
struct BlendCase {
  const char* name;
  double ranges[2];
  bool has_spine;
  const char* reason;  // null: it comes
};

class BlendFields : public testing::TestWithParam<BlendCase> {};

TEST_P(BlendFields, AreATubeOrTheFaceIsLost) {
  const BlendCase& c = GetParam();
  constexpr double kRadius = 0.005;
  XtModel model;
  model.asSheet();
  const Vec3 x{1, 0, 0};
  const auto tube = model.blend(model.circle({}, {0, 0, 1}, x, 0.02), 0, 0, 1);
  for (std::size_t k = 0; k < 2; ++k) model.nodes().number(tube, "range", c.ranges[k], k);
  if (!c.has_spine) model.nodes().pointer(tube, "spine", 0);
  // The outer quarter above the spine: from the top of the tube to its outermost circle.
  const int top = model.edge(model.circle({0, 0, kRadius}, {0, 0, 1}, x, 0.02), -1, -1);
  const int out = model.edge(model.circle({}, {0, 0, 1}, x, 0.02 + kRadius), -1, -1);
  model.face(tube, false, {{{out, true}}, {{top, false}}});
  model.finish();
  const auto bodies = readBodies(model);
  ASSERT_TRUE(bodies) << bodies.error().text();
  const TessellatedBodies made = tessellate(*bodies, {});
  const MeshMeasures m = measure(made.bodies.at(0).shape);
  if (c.reason != nullptr) {
    ASSERT_EQ(made.losses.size(), 1U);
    EXPECT_NE(made.losses[0].reason.find(c.reason), std::string::npos) << made.losses[0].reason;
    EXPECT_EQ(m.triangles, 0U);
    return;
  }
  for (const TessellationLoss& loss : made.losses) ADD_FAILURE() << loss.reason;
  // The quarter's length times the path length of its centroid.
  const double pi = std::acos(-1.0);
  const double area = 2 * pi * (20 * 5 * pi / 2 + 25);
  EXPECT_NEAR(m.area, area, 0.005 * area);
}

INSTANTIATE_TEST_SUITE_P(
    Brep, BlendFields,
    testing::Values(BlendCase{"OneRadius", {0.005, 0.005}, true, nullptr},
                    BlendCase{"ToTheOtherSideOfBoth", {-0.005, -0.005}, true, nullptr},
                    BlendCase{"ToTheOtherSideOfOne", {0.005, -0.005}, true, nullptr},
                    BlendCase{"OneIsNotSet", {0.005, -3.14158e13}, true, nullptr},
                    BlendCase{"TwoRadii", {0.005, 0.006}, true, "a blend of changing radius"},
                    BlendCase{"NoRadius", {0, 0}, true, "a blend without a radius"},
                    BlendCase{"NotANumber", {std::nan(""), 0.005}, true, "a blend without a radius"},
                    BlendCase{"TooLarge", {1e12, 1e12}, true, "a blend without a radius"},
                    BlendCase{"NoSpine", {0.005, 0.005}, false, "a blend without a spine"}),
    [](const testing::TestParamInfo<BlendCase>& blend) { return blend.param.name; });

TEST(BadInput, EdgesOfNoLengthDoNotHurt) {
  // A corner of the box's top twice, joined by an edge without length.
  XtModel model;
  model.asSheet();
  const int a = model.vertex({0, 0, 0});
  const int b = model.vertex({0.01, 0, 0});
  const int c = model.vertex({0.01, 0, 0});
  const int d = model.vertex({0, 0.01, 0});
  const auto line = model.line({0, 0, 0}, {1, 0, 0});
  model.face(model.plane({0, 0, 0}, {0, 0, 1}, {1, 0, 0}), false,
             {{{model.straight(a, b), true},
               {model.edge(line, b, c), true},
               {model.straight(c, d), true},
               {model.straight(d, a), true}}});
  model.finish();
  const auto bodies = readBodies(model);
  ASSERT_TRUE(bodies);
  const TessellatedBodies made = tessellate(*bodies, {});
  EXPECT_TRUE(made.losses.empty());
  EXPECT_NEAR(measure(made.bodies[0].shape).area, 50, 1e-6);
}

TEST(BadInput, EveryTruncationIsAnErrorOrAModel) {
  XtModel model = models::cone(0.01, 0.02);
  model.finish();
  const std::vector<std::byte> stream = streamOf(model);
  for (std::size_t size = 0; size < stream.size(); ++size) {
    // Exactly so many bytes on the heap.
    const std::vector<std::byte> cut(stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(size));
    const auto bodies = readBodies(segmentAround(cut));
    EXPECT_FALSE(bodies) << size;
  }
}

TEST(BadInput, EveryByteChangedGivesAnErrorOrAModel) {
  XtModel model = models::drilledCylinder(0.01, 0.03, 0.004);
  model.finish();
  const std::vector<std::byte> data = segmentOf(model);
  std::size_t read_anyway = 0;
  TessellationOptions options;
  options.chord_tolerance_percent = 1;
  for (std::size_t i = 0; i < data.size(); i += 3) {
    std::vector<std::byte> changed = data;
    changed[i] ^= static_cast<std::byte>(i % 2 == 0 ? 0xff : 0x01);
    const auto bodies = readBodies(changed);
    if (!bodies) continue;
    ++read_anyway;
    const TessellatedBodies made = tessellate(*bodies, options);
    for (const TessellatedBody& body : made.bodies) {
      for (const std::uint32_t p : body.shape.corner_positions) ASSERT_LT(p, body.shape.positions.size() / 3);
    }
  }
  EXPECT_GT(read_anyway, 100U);
}

// Rings whose curves all have one and the same array of points.
XtModel ringsOfTheSamePoints(int points, int rings) {
  XtModel model;
  model.asSheet();
  XtWriter& nodes = model.nodes();
  std::vector<double> coordinates;
  for (int i = 0; i < points; ++i) {
    const double turn = 6.283185307179586 * (i % (points - 1)) / (points - 1);
    coordinates.insert(coordinates.end(), {0.01 * std::cos(turn), 0.01 * std::sin(turn), 0});
  }
  std::vector<double> knots;
  std::vector<int> times;
  for (int i = 0; i < points; ++i) {
    knots.push_back(i);
    times.push_back(i == 0 || i == points - 1 ? 2 : 1);
  }
  const auto spline = nodes.add(
      136,
      {{"degree", 1}, {"n_vertices", points}, {"vertex_dim", 3}, {"n_knots", points}, {"rational", false}});
  nodes.pointer(spline, "bspline_vertices", nodes.add(45, {{"vertices", coordinates}}));
  nodes.pointer(spline, "knot_mult", nodes.add(127, {{"mult", times}}));
  nodes.pointer(spline, "knots", nodes.add(128, {{"knots", knots}}));
  const auto plane = model.plane({0, 0, 0}, {0, 0, 1}, {1, 0, 0});
  for (int i = 0; i < rings; ++i) {
    const auto curve = nodes.add(134);
    nodes.number(curve, "sense", '+');
    nodes.pointer(curve, "nurbs", spline);
    model.face(plane, false, {{{model.edge(curve, -1, -1), true}}});
  }
  model.finish();
  return model;
}

TEST(BadInput, WhatIsCopiedOutOfTheDataIsBoundedByTheirSize) {
  const auto copied = [](const Bodies& bodies) {
    std::size_t numbers = 0;
    for (const CurveSpline& spline : bodies.curve_splines)
      numbers += spline.points.size() + spline.knots.size();
    return numbers;
  };
  const auto few = readBodies(ringsOfTheSamePoints(5'000, 3));
  ASSERT_TRUE(few);
  EXPECT_EQ(copied(*few), 3 * (5'000 * 4 + 2));
  const XtModel model = ringsOfTheSamePoints(5'000, 500);
  const std::size_t size = segmentOf(model).size();
  const auto bodies = readBodies(model);
  ASSERT_TRUE(bodies);
  EXPECT_LE(copied(*bodies), 100'000 + size / 2);
  EXPECT_GE(copied(*bodies), 80'000U);
  EXPECT_EQ(bodies->curves.size(), 500U);
  EXPECT_EQ(bodies->curves.front().kind, CurveKind::BSpline);
  ASSERT_FALSE(bodies->curves.back().usable);
  const Error& error = bodies->curves.back().usable.error();
  EXPECT_EQ(error.what, "the same numbers are used too often");
  EXPECT_EQ(error.element.rfind("B_CURVE ", 0), 0U) << error.element;
}

TEST(BadInput, EvaluationsOfSplinesCountByTheirDegrees) {
  const auto work = [](int degree) {
    const int size = degree + 1;
    XtModel model;
    model.asSheet();
    std::vector<double> net;
    for (int i = 0; i < size; ++i) {
      for (int k = 0; k < size; ++k) net.insert(net.end(), {0.01 * i / degree, 0.01 * k / degree, 0});
    }
    const auto surface = model.splineSurface(degree, degree, size, size, false, net, {0, 1}, {size, size},
                                             {0, 1}, {size, size});
    const int ring = model.edge(model.circle({0.005, 0.005, 0}, {0, 0, 1}, {1, 0, 0}, 0.002), -1, -1);
    model.face(surface, false, {{{ring, true}}});
    model.finish();
    const auto bodies = readBodies(model);
    EXPECT_TRUE(bodies);
    const TessellatedBodies made = tessellate(*bodies, {});
    EXPECT_TRUE(made.losses.empty());
    return made.work;
  };
  EXPECT_GT(work(30), 8 * work(3));
}

TEST(BadInput, KnotTable) {
  EXPECT_TRUE(checkKnots({0, 0, 1, 1}, 1, 2));
  EXPECT_EQ(checkKnots({0, 0, 1}, 1, 2).error().text(),
            "knots do not fit the degree and the number of points");
  EXPECT_EQ(checkKnots({0, 1, 0, 1}, 1, 2).error().text(), "knots are out of order");
  EXPECT_EQ(checkKnots({0, 1, 1, 2}, 1, 2).error().text(), "knots give no domain");
  EXPECT_EQ(checkKnots({0, 0, 1, 1, 1, 2, 2}, 1, 5).error().text(), "a knot is repeated too often");
  EXPECT_EQ(checkKnots({0, std::nan(""), 1, 1}, 1, 2).error().text(), "knots are not finite");
}

}  // namespace
}  // namespace jttk::brep
