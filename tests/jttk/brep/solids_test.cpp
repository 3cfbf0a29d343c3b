// Small solids from bytes to triangles: closed, with the right winding, of the right size.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "tests/jttk/brep/axes.h"
#include "tests/jttk/brep/solid_checks.h"

namespace jttk::brep {
namespace {

// The mean of `f` over 0 to 1, by a fine sum.
template <typename Function>
double mean(const Function& f) {
  constexpr int kSteps = 20000;
  double sum = 0;
  for (int i = 0; i < kSteps; ++i) sum += f((i + 0.5) / kSteps);
  return sum / kSteps;
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
  // The pocket goes from x = 0 to the side, over a disk of radius 4.
  const double pocket = mean([](double t) {
    const double y = 4 * (2 * t - 1);
    return 8 * std::sqrt(100 - y * y) * 2 * std::sqrt(16 - y * y);
  });
  const double window = mean([](double t) {
    const double y = 4 * (2 * t - 1);
    return 8 * 10 / std::sqrt(100 - y * y) * 2 * std::sqrt(16 - y * y);
  });
  const double wall = mean([](double t) {
    const double y = 4 * std::cos(2 * kPi * t);
    return 2 * kPi * 4 * std::sqrt(100 - y * y);
  });
  const double ends = 2 * kPi * 100 + kPi * 16;
  expectClosed(o, kPi * 100 * 30 - pocket, 2 * kPi * 10 * 30 - window + wall + ends, 0.002);
}

// Basis function i of degree 3 over the knots 0 0 0 0 1 2 3 4 4 4 4, by its definition.
double basis(int i, int degree, double t) {
  const auto knot = [](int k) { return std::clamp(k - 3.0, 0.0, 4.0); };
  if (degree == 0) return t >= knot(i) && t < knot(i + 1) ? 1 : 0;
  double sum = 0;
  if (knot(i + degree) > knot(i))
    sum += (t - knot(i)) / (knot(i + degree) - knot(i)) * basis(i, degree - 1, t);
  if (knot(i + degree + 1) > knot(i + 1)) {
    sum += (knot(i + degree + 1) - t) / (knot(i + degree + 1) - knot(i + 1)) * basis(i + 1, degree - 1, t);
  }
  return sum;
}

// The patch of 40 x 40 mm as a height over x and y: both depend on one parameter each.
class Patch {
 public:
  Patch() {
    for (int s = 0; s <= kSteps; ++s) {
      Weights& w = table_[static_cast<std::size_t>(s)];
      for (int i = 0; i < 7; ++i) {
        w.of[static_cast<std::size_t>(i)] = basis(i, 3, (4 - 1e-12) * s / kSteps);
        w.x += w.of[static_cast<std::size_t>(i)] * coordinate(i);
      }
    }
  }
  [[nodiscard]] double height(double x, double y) const {
    const auto across = weightsAt(x);
    const auto along = weightsAt(y);
    double z = 0;
    for (int i = 1; i < 6; ++i) {
      for (int k = 1; k < 6; ++k) {
        z += across[static_cast<std::size_t>(i)] * along[static_cast<std::size_t>(k)] *
             bump_[static_cast<std::size_t>(i)] * bump_[static_cast<std::size_t>(k)];
      }
    }
    return z;
  }
  // A distance along z by this is the distance from the surface.
  [[nodiscard]] double steepness(double x, double y) const {
    constexpr double kStep = 0.05;
    const double dx = (height(x + kStep, y) - height(x - kStep, y)) / (2 * kStep);
    const double dy = (height(x, y + kStep) - height(x, y - kStep)) / (2 * kStep);
    return std::sqrt(1 + dx * dx + dy * dy);
  }

 private:
  static constexpr int kSteps = 4000;
  struct Weights {
    double x = 0;
    std::array<double, 7> of{};
  };

  static double coordinate(int i) { return 20 * (i / 3.0 - 1); }

  [[nodiscard]] std::array<double, 7> weightsAt(double x) const {
    auto above = std::upper_bound(table_.begin(), table_.end(), x,
                                  [](double value, const Weights& w) { return value < w.x; });
    above = std::clamp(above, table_.begin() + 1, table_.end() - 1);
    const Weights& low = *(above - 1);
    const double share = (x - low.x) / (above->x - low.x);
    std::array<double, 7> between{};
    for (std::size_t i = 0; i < 7; ++i) between[i] = low.of[i] * (1 - share) + above->of[i] * share;
    return between;
  }

  std::vector<Weights> table_ = std::vector<Weights>(kSteps + 1);
  // Roots of the bump's 10 mm, so that two of them make a height.
  std::array<double, 7> bump_ = [] {
    std::array<double, 7> made{};
    for (int i = 0; i < 7; ++i)
      made[static_cast<std::size_t>(i)] = std::sqrt(10.0) * std::cos(coordinate(i) / 20);
    return made;
  }();
};

TEST(Solid, SplinePatchKeepsItsTolerance) {
  const Patch patch;
  double area = 0;
  constexpr int kSteps = 100;
  for (int i = 0; i < kSteps; ++i) {
    for (int k = 0; k < kSteps; ++k) {
      area += patch.steepness(40 * (i + 0.5) / kSteps - 20, 40 * (k + 0.5) / kSteps - 20) * 1600 /
              (kSteps * kSteps);
    }
  }
  for (const double percent : {0.3, 0.08}) {
    SCOPED_TRACE(percent);
    TessellationOptions options;
    options.chord_tolerance_percent = percent;
    const Outcome o = run(models::splinePatch(0.02, 0.01), options);
    EXPECT_EQ(o.measures.against_normals, 0U);
    // Open only along its border, which is straight.
    EXPECT_EQ(o.measures.open_edges, 4U);
    EXPECT_NEAR(o.measures.area, area, 0.002 * area);
    const ShapeGeometry& shape = o.made.bodies[0].shape;
    EXPECT_LE(farthest(shape,
                       [&](const Vec3& p) {
                         return std::abs(p.z - patch.height(p.x, p.y)) / patch.steepness(p.x, p.y);
                       }),
              o.made.chord_tolerance);
    // It covers its square once.
    ShapeGeometry shadow = shape;
    for (std::size_t i = 2; i < shadow.positions.size(); i += 3) shadow.positions[i] = 0;
    EXPECT_NEAR(measure(shadow).area, 1600, 1e-2);
  }
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
  const double around = mean(
      [](double t) { return 2 * kPi * std::hypot(20 * std::sin(2 * kPi * t), 5 * std::cos(2 * kPi * t)); });
  expectClosed(o, kPi * 20 * 5 * 10, around * 10 + 2 * kPi * 20 * 5, 0.002);
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
      const std::vector<std::pair<XtModel (*)(), double>> solids{
          {+[] { return models::cylinder(0.01, 0.03, false); }, kPi * 3000},
          {+[] { return models::cone(0.01, 0.02); }, kPi * 2000 / 3},
          {+[] { return models::wholeSphere(0.01); }, kPi * 4000 / 3},
          {+[] { return models::wholeTorus(0.02, 0.005); }, kPi * kPi * 1000},
          {+[] { return models::plateWithHoles(0.1, 0.03, 0.005, 0.008, 5); }, 15000 - kPi * 1600},
          {+[] { return models::drilledCylinder(0.01, 0.03, 0.004); }, 8932.39},
          {+[] { return models::spunSpindle(0.01, 0.02); }, kPi * 5400 / 7}};
      for (const auto& [make, volume] : solids) {
        const Outcome o = run(make(), options);
        EXPECT_EQ(o.measures.open_edges, 0U);
        // All of the surface may be off by the chord at most.
        EXPECT_NEAR(o.measures.volume, volume, o.measures.area * o.made.chord_tolerance + 1e-4 * volume);
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
