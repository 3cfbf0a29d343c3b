// Edges that are off their surfaces, or do not quite close: the file states how far they may be off.
#include <gtest/gtest.h>

#include "tests/jttk/brep/axes.h"
#include "tests/jttk/brep/solid_checks.h"

namespace jttk::brep {
namespace {

constexpr int kEdge = 16;
constexpr int kVertex = 18;

// Of all nodes of a type, after finish().
void setTolerance(XtModel& model, int type, double tolerance) {
  for (XtWriter::Id id = 1; id <= model.nodes().size(); ++id) {
    if (model.nodes().typeOf(id) == type) model.nodes().number(id, "tolerance", tolerance);
  }
}

bool lostFor(const Outcome& outcome, const char* reason) {
  for (const TessellationLoss& loss : outcome.made.losses) {
    if (loss.reason.find(reason) != std::string::npos) return true;
  }
  return false;
}

// A cylinder of radius 10 whose lower rim, round the height 0, is this curve, from the vertex at `start`
// (none: a ring) along the rim or, `reversed`, against it. The lower end is a plane at the height of `floor`.
struct Rim {
  XtWriter::Id curve = 0;
  bool has_vertex = false;
  Vec3 start;
  bool reversed = false;
};

void addCylinder(XtModel& model, const Rim& rim, double floor = 0) {
  const int vertex = rim.has_vertex ? model.vertex(rim.start) : -1;
  const int low = model.edge(rim.curve, vertex, vertex);
  const int high = model.edge(model.circle({0, 0, 0.02}, kZ, kX, 0.01), -1, -1);
  const bool forward = !rim.reversed;
  model.face(model.cylinder({}, kZ, kX, 0.01), false, {{{low, forward}}, {{high, false}}});
  model.face(model.plane({0, 0, floor}, -kZ, kX), false, {{{low, !forward}}});
  model.face(model.plane({0, 0, 0.02}, kZ, kX), false, {{{high, true}}});
}

void expectCylinder(const Outcome& outcome) {
  expectNoLosses(outcome);
  expectClosed(outcome, kPi * 100 * 20, 2 * kPi * 10 * 20 + 2 * kPi * 100);
}

// The rim is half a millimetre below the plane of the end.
TEST(TolerantEdge, MayBeOffItsSurfaceAsFarAsItOrItsVerticesSay) {
  struct Case {
    int type;
    double tolerance;
    bool comes;
  };
  for (const Case& c : {Case{kEdge, 0, false}, Case{kEdge, 2e-5, false}, Case{kEdge, 6e-4, true},
                        Case{kVertex, 2e-5, false}, Case{kVertex, 6e-4, true}}) {
    SCOPED_TRACE(testing::Message() << "tolerance " << c.tolerance << " of nodes of type " << c.type);
    XtModel model;
    Rim rim;
    rim.curve = model.circle({}, kZ, kX, 0.01);
    rim.has_vertex = true;
    rim.start = {0.01, 0, 0};
    addCylinder(model, rim, 5e-4);
    model.finish();
    setTolerance(model, c.type, c.tolerance);
    const Outcome o = tessellated(model);
    if (c.comes) {
      expectCylinder(o);
    } else {
      ASSERT_EQ(o.made.losses.size(), 1U);
      EXPECT_TRUE(lostFor(o, "does not lie on its surface")) << o.made.losses[0].reason;
    }
  }
}

// The rims are a hundredth of a millimetre inside of their spline surface: where the file allows that, the
// whole surface is not searched for a nearer point.
TEST(TolerantEdge, IsLookedForNoFurtherThanItsTolerance) {
  constexpr int kCircle = 31;
  std::uint64_t work[2] = {0, 0};
  for (const bool tolerant : {false, true}) {
    XtModel model = models::splineCylinder(0.01, 0.03);
    model.finish();
    for (XtWriter::Id id = 1; id <= model.nodes().size(); ++id) {
      if (model.nodes().typeOf(id) == kCircle) model.nodes().number(id, "radius", 0.01 - 1e-5);
    }
    if (tolerant) setTolerance(model, kEdge, 5e-5);
    const Outcome o = tessellated(model);
    expectNoLosses(o);
    expectClosed(o, kPi * 100 * 30, 2 * kPi * 10 * 30 + 2 * kPi * 100);
    work[tolerant ? 1 : 0] = o.made.work;
  }
  EXPECT_LT(20 * work[1], 17 * work[0]);
}

// A circle of four rational arcs, but for a gap before its end; backward, its direction is reversed.
XtWriter::Id openCircle(XtModel& model, double gap, bool backward) {
  const double w = std::sqrt(0.5);
  std::vector<double> points;
  for (int i = 0; i <= 8; ++i) {
    const double angle = (backward ? -1 : 1) * kPi / 4 * i;
    const double r = i % 2 == 0 ? 0.01 : 0.01 / w;
    const double weight = i % 2 == 0 ? 1 : w;
    const double off = i == 8 ? (backward ? gap : -gap) : 0;
    points.insert(points.end(),
                  {r * std::cos(angle) * weight, (r * std::sin(angle) + off) * weight, 0, weight});
  }
  return model.splineCurve(2, 4, true, points, {0, 1, 2, 3, 4}, {3, 2, 2, 2, 3});
}

TEST(NearlyClosedEdge, IsClosedWhenItsToleranceAllowsTheGap) {
  struct Case {
    double gap;
    double tolerance;
    bool comes;
  };
  for (const bool has_vertex : {false, true}) {
    for (const Case& c : {Case{5e-7, 0, true}, Case{5e-6, 0, false}, Case{5e-6, 1e-6, false},
                          Case{5e-6, 1e-5, true}, Case{2e-3, 1e-5, false}}) {
      SCOPED_TRACE(testing::Message() << "gap " << c.gap << ", tolerance " << c.tolerance
                                      << (has_vertex ? ", from a vertex" : ", a ring"));
      XtModel model;
      Rim rim;
      rim.curve = openCircle(model, c.gap, false);
      rim.has_vertex = has_vertex;
      rim.start = {0.01, 0, 0};
      addCylinder(model, rim);
      model.finish();
      setTolerance(model, kEdge, c.tolerance);
      const Outcome o = tessellated(model);
      if (c.comes) {
        expectCylinder(o);
      } else {
        // The side and the end are lost, and reported.
        EXPECT_EQ(o.made.losses.size(), 2U);
        EXPECT_TRUE(lostFor(o, "a closed edge on an open curve"));
        EXPECT_LE(o.measures.area, kPi * 100);
      }
    }
  }
}

TEST(NearlyClosedEdge, RunsAgainstItsCurveWhereTheCurveIsReversed) {
  for (const bool backward : {false, true}) {
    for (const bool reversed : {false, true}) {
      SCOPED_TRACE(testing::Message() << backward << reversed);
      XtModel model;
      Rim rim;
      rim.curve = openCircle(model, 5e-7, backward);
      if (reversed) model.nodes().number(rim.curve, "sense", '-');
      rim.reversed = backward != reversed;
      addCylinder(model, rim);
      model.finish();
      expectCylinder(tessellated(model));
    }
  }
}

TEST(NearlyClosedEdge, BeginsAtItsVertexOrIsLost) {
  XtModel model;
  Rim rim;
  rim.curve = openCircle(model, 5e-7, false);
  rim.has_vertex = true;
  rim.start = {-0.01, 0, 0};  // at the other side of the curve
  addCylinder(model, rim);
  model.finish();
  const Outcome o = tessellated(model);
  EXPECT_EQ(o.made.losses.size(), 2U);
  EXPECT_TRUE(lostFor(o, "a closed edge on an open curve"));
}

}  // namespace
}  // namespace jttk::brep
