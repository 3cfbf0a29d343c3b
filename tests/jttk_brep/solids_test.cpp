// Small solids from bytes to triangles: closed, the right way round, of the right size.
#include <gtest/gtest.h>

#include <numbers>

#include "jttk/brep/tessellate.h"
#include "tests/jttk_brep/mesh_measures.h"
#include "tests/jttk_brep/read_bodies.h"

namespace jttk::brep {
namespace {

constexpr double kPi = std::numbers::pi;

struct Outcome {
  Bodies bodies;
  TessellatedBodies made;
  MeshMeasures measures;
};

Outcome run(XtModel model, const TessellationOptions& options = {}) {
  model.finish();
  Outcome outcome;
  const auto bodies = readBodies(model);
  EXPECT_TRUE(bodies) << bodies.error().text();
  if (!bodies) return outcome;
  outcome.bodies = *bodies;
  outcome.made = tessellate(outcome.bodies, options);
  for (const TessellationLoss& loss : outcome.made.losses)
    ADD_FAILURE() << "face " << loss.face << ": " << loss.reason;
  EXPECT_EQ(outcome.made.bodies.size(), 1U);
  if (!outcome.made.bodies.empty()) outcome.measures = measure(outcome.made.bodies[0].shape);
  return outcome;
}

// In mm; `share` is the allowed relative difference.
void expectClosed(const Outcome& outcome, double volume, double area, double share = 0.005) {
  EXPECT_GT(outcome.measures.triangles, 0U);
  EXPECT_EQ(outcome.measures.open_edges, 0U);
  EXPECT_EQ(outcome.measures.bad_normals, 0U);
  EXPECT_EQ(outcome.measures.against_normals, 0U);
  EXPECT_NEAR(outcome.measures.volume, volume, volume * share);
  EXPECT_NEAR(outcome.measures.area, area, area * share);
}

// The greatest distance of points all over the triangles from what `distance` measures, in mm.
template <typename Distance>
double farthest(const ShapeGeometry& shape, const Distance& distance) {
  double worst = 0;
  for (std::size_t t = 0; t + 1 < shape.primitive_starts.size(); ++t) {
    Vec3 p[3];
    for (std::size_t k = 0; k < 3; ++k) {
      const std::uint32_t q = shape.corner_positions[shape.primitive_starts[t] + k];
      p[k] = {double{shape.positions[3 * q]}, double{shape.positions[3 * q + 1]},
              double{shape.positions[3 * q + 2]}};
    }
    for (int i = 0; i <= 6; ++i) {
      for (int k = 0; i + k <= 6; ++k) {
        worst = std::max(worst, distance((p[0] * i + p[1] * k + p[2] * (6 - i - k)) * (1.0 / 6)));
      }
    }
  }
  return worst;
}

TEST(Solid, BoxHasTwelveTriangles) {
  const Outcome o = run(models::box(0.03, 0.02, 0.01));
  EXPECT_EQ(o.measures.triangles, 12U);
  expectClosed(o, 6000, 2 * (600 + 300 + 200), 1e-6);
  EXPECT_EQ(o.made.bodies[0].shape.positions.size(), 8U * 3);
  EXPECT_NEAR(o.made.diagonal, std::sqrt(900 + 400 + 100), 1e-9);
}

TEST(Solid, CylinderBetweenRings) {
  expectClosed(run(models::cylinder(0.01, 0.03, false)), kPi * 100 * 30, 2 * kPi * 10 * 30 + 2 * kPi * 100);
}

TEST(Solid, CylinderWithSeamEdge) {
  expectClosed(run(models::cylinder(0.01, 0.03, true)), kPi * 100 * 30, 2 * kPi * 10 * 30 + 2 * kPi * 100);
}

TEST(Solid, SphereWithoutLoops) {
  const Outcome o = run(models::wholeSphere(0.01));
  expectClosed(o, 4.0 / 3 * kPi * 1000, 4 * kPi * 100);
  EXPECT_LE(farthest(o.made.bodies[0].shape, [](const Vec3& p) { return std::abs(length(p) - 10); }),
            o.made.chord_tolerance);
}

TEST(Solid, SpheresCutAtAllHeights) {
  for (const double h : {-0.0098, -0.007, -0.002, 0.0, 0.003, 0.0085, 0.00995}) {
    for (const bool cap : {true, false}) {
      SCOPED_TRACE(testing::Message() << "height " << h << (cap ? " cap" : " below"));
      const double mm = h * 1000;
      const double tall = cap ? 10 - mm : 10 + mm;
      const double ring = 100 - mm * mm;
      // Small caps are within a few tolerances of flat.
      expectClosed(run(models::cutSphere(0.01, h, cap)), kPi * tall * tall * (30 - tall) / 3,
                   2 * kPi * 10 * tall + kPi * ring, tall < 1 ? 0.05 : 0.005);
    }
  }
}

TEST(Solid, TorusWithoutLoops) {
  const Outcome o = run(models::wholeTorus(0.02, 0.005));
  expectClosed(o, 2 * kPi * kPi * 20 * 25, 4 * kPi * kPi * 20 * 5);
  EXPECT_LE(farthest(o.made.bodies[0].shape,
                     [](const Vec3& p) { return std::abs(std::hypot(std::hypot(p.x, p.y) - 20, p.z) - 5); }),
            o.made.chord_tolerance);
}

TEST(Solid, HalfTorusBetweenTwoSections) {
  expectClosed(run(models::halfTorus(0.02, 0.005)), kPi * kPi * 20 * 25,
               2 * kPi * kPi * 20 * 5 + 2 * kPi * 25);
}

TEST(Solid, ConeWithApex) {
  const Outcome o = run(models::cone(0.01, 0.02));
  expectClosed(o, kPi * 100 * 20 / 3, kPi * 100 + kPi * 10 * std::hypot(10, 20));
  // Exactly one position at the apex.
  int apexes = 0;
  const auto& positions = o.made.bodies[0].shape.positions;
  for (std::size_t i = 0; i < positions.size(); i += 3) {
    if (std::abs(positions[i + 2] - 20) < 1e-4) ++apexes;
  }
  EXPECT_EQ(apexes, 1);
}

TEST(Solid, PlateWithHoles) {
  const Outcome o = run(models::plateWithHoles(0.1, 0.03, 0.005, 0.008, 5));
  expectClosed(o, 100 * 30 * 5 - 5 * kPi * 64 * 5,
               2 * (3000 - 5 * kPi * 64) + 2 * 5 * (100 + 30) + 5 * 2 * kPi * 8 * 5);
}

TEST(Solid, HoleInTheSideOfACylinder) {
  const Outcome o = run(models::drilledCylinder(0.01, 0.03, 0.004));
  // The pocket: from x = 0 to the side, over a disk.
  double pocket = 0;
  const int n = 2000;
  for (int i = 0; i < n; ++i) {
    const double y = 4 * (2 * (i + 0.5) / n - 1);
    pocket += std::sqrt(100 - y * y) * 2 * std::sqrt(16 - y * y) * 8 / n;
  }
  expectClosed(o, kPi * 100 * 30 - pocket, o.measures.area);
}

TEST(Solid, SplinePatchKeepsItsTolerance) {
  const Outcome o = run(models::splinePatch(0.02, 0.01));
  EXPECT_EQ(o.measures.against_normals, 0U);
  // Open only along its border, which is straight.
  EXPECT_EQ(o.measures.open_edges, 4U);
  EXPECT_GT(o.measures.triangles, 50U);
  EXPECT_GT(o.measures.area, 1600);
}

TEST(Solid, SpunFaceFromPoleToPole) {
  const Outcome o = run(models::spunSpindle(0.01, 0.02));
  // x = 3 r t (1 - t), z = h (3 t^2 - 2 t^3).
  double volume = 0;
  double area = 0;
  const int n = 4000;
  for (int i = 0; i < n; ++i) {
    const double t = (i + 0.5) / n;
    const double x = 30 * t * (1 - t);
    const double dz = 20 * 6 * t * (1 - t);
    volume += kPi * x * x * dz / n;
    area += 2 * kPi * x * std::hypot(30 * (1 - 2 * t), dz) / n;
  }
  expectClosed(o, volume, area);
}

TEST(Solid, TolerantEdgesTakeTheCurveOfOneSide) {
  expectClosed(run(models::tolerantCylinder(0.01, 0.03)), kPi * 100 * 30, 2 * kPi * 10 * 30 + 2 * kPi * 100);
}

TEST(Solid, EllipticRod) {
  const Outcome o = run(models::ellipticRod(0.02, 0.005, 0.01));
  expectClosed(o, kPi * 20 * 5 * 10, o.measures.area);
}

TEST(Solid, SplineCylinderClosedInU) {
  expectClosed(run(models::splineCylinder(0.01, 0.03)), kPi * 100 * 30, 2 * kPi * 10 * 30 + 2 * kPi * 100);
}

TEST(Solid, AllModelsStayClosedAtEveryTolerance) {
  for (const double percent : {5.0, 1.0, 0.2, 0.02}) {
    for (const double minimum_edge : {0.0, 0.02, 2.0}) {
      SCOPED_TRACE(testing::Message() << percent << " % " << minimum_edge);
      TessellationOptions options;
      options.chord_tolerance_percent = percent;
      options.minimum_edge_length = minimum_edge;
      for (const auto& make :
           {+[] { return models::cylinder(0.01, 0.03, false); },
            +[] { return models::drilledCylinder(0.01, 0.03, 0.004); },
            +[] { return models::cone(0.01, 0.02); }, +[] { return models::wholeSphere(0.01); },
            +[] { return models::wholeTorus(0.02, 0.005); }, +[] { return models::spunSpindle(0.01, 0.02); },
            +[] { return models::plateWithHoles(0.1, 0.03, 0.005, 0.008, 5); }}) {
        const Outcome o = run(make(), options);
        EXPECT_EQ(o.measures.open_edges, 0U);
        EXPECT_GT(o.measures.volume, 0);
      }
    }
  }
}

TEST(Solid, UnitScaleOfTheDataIsUsed) {
  XtModel model = models::box(0.0254, 0.0254, 0.0254);
  model.unitScale(0.0254);
  model.finish();
  const auto bodies = readBodies(model);
  ASSERT_TRUE(bodies);
  TessellationOptions options;
  options.units_per_metre = *unitsPerMetre(*bodies, "Millimeters");
  EXPECT_NEAR(measure(tessellate(*bodies, options).bodies[0].shape).volume, 1, 1e-6);
}

TEST(Solid, LongPointersChangeNothing) {
  XtModel model = models::box(0.03, 0.02, 0.01);
  model.nodes().shiftIndices(40000);
  EXPECT_EQ(run(std::move(model)).measures.triangles, 12U);
}

TEST(Solid, MergedShapeHoldsAllTriangles) {
  Outcome o = run(models::box(0.03, 0.02, 0.01));
  o.made.bodies.push_back(o.made.bodies[0]);
  const ShapeGeometry merged = mergedShape(o.made);
  EXPECT_EQ(merged.primitiveCount(), 24U);
  EXPECT_EQ(merged.corner_positions.size(), 72U);
  EXPECT_EQ(merged.primitive_starts.back(), 72U);
}

TEST(Solid, ResultIsTheSameEveryTime) {
  const Outcome a = run(models::drilledCylinder(0.01, 0.03, 0.004));
  const Outcome b = run(models::drilledCylinder(0.01, 0.03, 0.004));
  EXPECT_EQ(a.made.bodies[0].shape.positions, b.made.bodies[0].shape.positions);
  EXPECT_EQ(a.made.bodies[0].shape.corner_positions, b.made.bodies[0].shape.corner_positions);
}

}  // namespace
}  // namespace jttk::brep
