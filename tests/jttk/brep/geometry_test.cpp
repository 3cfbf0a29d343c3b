// Curves and surfaces against closed forms: points, derivatives, and inversion of points.
#include "jttk/brep/geometry.h"

#include <gtest/gtest.h>

#include "jttk/brep/tessellate.h"
#include "tests/jttk/brep/axes.h"
#include "tests/jttk/brep/read_bodies.h"

namespace jttk::brep {
namespace {

const double kHalf = std::sqrt(0.5);

void expectNear(const Vec3& a, const Vec3& b, double tolerance) {
  EXPECT_LE(distance(a, b), tolerance)
      << a.x << " " << a.y << " " << a.z << " against " << b.x << " " << b.y << " " << b.z;
}

// Derivatives against differences, and invert(at(uv)) against uv, on a grid of parameters.
void expectConsistent(const Bodies& bodies, Range u, Range v, double tolerance = 1e-9, bool exact_du = true) {
  Geometry geometry(bodies, 1e-9);
  const Surface& s = bodies.surfaces[static_cast<std::size_t>(bodies.faces[0].surface)];
  ASSERT_NE(s.kind, SurfaceKind::Unknown) << (s.usable ? "" : s.usable.error().text());
  const SurfaceDomain box = geometry.domain(s);
  for (int i = 1; i < 8; ++i) {
    for (int k = 1; k < 8; ++k) {
      const Vec2 uv{u.low + u.size() * i / 8, v.low + v.size() * k / 8};
      const SurfacePoint p = geometry.at(s, uv);
      const double h = 1e-6;
      const Vec3 du =
          (geometry.at(s, uv + Vec2{h * u.size(), 0}).p - geometry.at(s, uv - Vec2{h * u.size(), 0}).p) *
          (0.5 / (h * u.size()));
      const Vec3 dv =
          (geometry.at(s, uv + Vec2{0, h * v.size()}).p - geometry.at(s, uv - Vec2{0, h * v.size()}).p) *
          (0.5 / (h * v.size()));
      if (exact_du) expectNear(p.du, du, 1e-4 * (length(du) + 1e-6));
      expectNear(p.dv, dv, 1e-4 * (length(dv) + 1e-6));
      Vec2 back;
      EXPECT_LE(geometry.invert(s, p.p, nullptr, 1e-10, back), tolerance);
      expectNear(geometry.at(s, back).p, p.p, tolerance);
      EXPECT_NEAR(wrapNear(back.u, uv.u, box.period_u), uv.u, 1e-5 * u.size());
      EXPECT_NEAR(wrapNear(back.v, uv.v, box.period_v), uv.v, 1e-5 * v.size());
      // A point off the surface goes to its foot.
      const Vec3 normal = normalized(cross(p.du, p.dv));
      EXPECT_NEAR(geometry.invert(s, p.p + normal * 1e-5, &uv, 1, back), 1e-5, 1e-8);
    }
  }
}

TEST(Surface, PlaneCylinderConeSphereTorusInvertTheirPoints) {
  const Vec3 c{0.1, -0.2, 0.3};
  const Vec3 z{0, kHalf, kHalf};
  const Vec3 x{1, 0, 0};
  XtModel plane, cylinder, cone, sphere, torus;
  expectConsistent(bodiesOf(plane, plane.plane(c, z, x)), {-1, 1}, {-1, 1});
  expectConsistent(bodiesOf(cylinder, cylinder.cylinder(c, z, x, 0.02)), {-3, 3}, {-1, 1});
  expectConsistent(bodiesOf(cone, cone.cone(c, z, x, 0.02, 0.4)), {-3, 3}, {0, 0.1});
  expectConsistent(bodiesOf(sphere, sphere.sphere(c, z, x, 0.02)), {-3, 3}, {-1.5, 1.5});
  expectConsistent(bodiesOf(torus, torus.torus(c, z, x, 0.03, 0.01)), {-3, 3}, {-3, 3});
}

TEST(Surface, NaturalNormalsOfClosedFormsPointOutward) {
  XtModel model;
  const Bodies bodies = bodiesOf(model, model.cone({0, 0, 0}, {0, 0, 1}, {1, 0, 0}, 0.02, 0.5));
  Geometry geometry(bodies, 1e-9);
  const Vec3 n = normalAt(geometry, bodies.surfaces[0], {0, 0.01}, {0, 0});
  expectNear(n, {std::cos(0.5), 0, -std::sin(0.5)}, 1e-12);
}

// Three quarters of a circle cannot be told from a spline; a quarter as a rational parabola is exact.
TEST(Spline, RationalQuarterCircleIsRound) {
  CurveSpline arc;
  arc.degree = 2;
  arc.rational = true;
  arc.point_count = 3;
  arc.knots = {0, 0, 0, 1, 1, 1};
  arc.points = {1, 0, 0, 1, kHalf, kHalf, 0, kHalf, 0, 1, 0, 1};
  for (int i = 0; i <= 10; ++i) {
    const CurvePoint p = evaluateSpline(arc, i / 10.0);
    EXPECT_NEAR(length(p.p), 1, 1e-14);
    EXPECT_NEAR(dot(p.p, p.d), 0, 1e-14);
  }
  expectNear(evaluateSpline(arc, 0).d, {0, 2 * kHalf, 0}, 1e-14);
}

TEST(Spline, CubicOfOneSpanIsTheBezierPolynomial) {
  CurveSpline cubic;
  cubic.degree = 3;
  cubic.point_count = 4;
  cubic.knots = {2, 2, 2, 2, 4, 4, 4, 4};
  cubic.points = {0, 0, 0, 1, 2, 0, 3, 2, 1, 4, 0, 0};
  const auto bernstein = [&](double s, std::size_t k) {
    const double* p = cubic.points.data();
    return p[k] * std::pow(1 - s, 3) + 3 * p[3 + k] * s * (1 - s) * (1 - s) + 3 * p[6 + k] * s * s * (1 - s) +
           p[9 + k] * s * s * s;
  };
  for (int i = 0; i <= 8; ++i) {
    const double s = i / 8.0;
    expectNear(evaluateSpline(cubic, 2 + 2 * s).p, {bernstein(s, 0), bernstein(s, 1), bernstein(s, 2)},
               1e-14);
  }
}

TEST(Spline, PartitionOfUnityHoldsWithRepeatedKnots) {
  CurveSpline one;
  one.degree = 3;
  one.point_count = 8;
  one.knots = {0, 0, 0, 0, 1, 1, 1, 2, 3, 3, 3, 3};
  for (int i = 0; i < 8; ++i) one.points.insert(one.points.end(), {5, -3, 2});
  for (double t = 0; t <= 3; t += 0.125) {
    expectNear(evaluateSpline(one, t).p, {5, -3, 2}, 1e-13);
    expectNear(evaluateSpline(one, t).d, {0, 0, 0}, 1e-12);
  }
}

TEST(Spline, NetRunsFastestInV) {
  // n_u = 2 rows of n_v = 3 points: u along x, v along y.
  SurfaceSpline s;
  s.degree_u = 1;
  s.degree_v = 2;
  s.n_u = 2;
  s.n_v = 3;
  s.knots_u = {0, 0, 1, 1};
  s.knots_v = {0, 0, 0, 1, 1, 1};
  s.points = {0, 0, 0, 0, 1, 0, 0, 2, 0, 3, 0, 0, 3, 1, 0, 3, 2, 0};
  expectNear(evaluateSpline(s, 1, 0).p, {3, 0, 0}, 1e-15);
  expectNear(evaluateSpline(s, 0, 1).p, {0, 2, 0}, 1e-15);
  expectNear(evaluateSpline(s, 0.5, 0.5).p, {1.5, 1, 0}, 1e-15);
}

XtModel::Id bumpySurface(XtModel& model) {
  std::vector<double> net;
  for (int i = 0; i < 5; ++i) {
    for (int k = 0; k < 6; ++k) {
      net.insert(net.end(), {0.01 * i, 0.01 * k, 0.004 * std::sin(i * 1.3) * std::cos(k * 0.9)});
    }
  }
  return model.splineSurface(3, 2, 5, 6, false, net, {0, 0.4, 1}, {4, 1, 4}, {-2, 1, 2, 3, 7},
                             {3, 1, 1, 1, 3});
}

TEST(Surface, SplineInvertsItsPoints) {
  XtModel model;
  expectConsistent(bodiesOf(model, bumpySurface(model)), {0, 1}, {-2, 7});
}

TEST(Surface, OffsetOfASplineInvertsItsPoints) {
  XtModel model;
  expectConsistent(bodiesOf(model, model.offset(bumpySurface(model), -0.001)), {0, 1}, {-2, 7}, 1e-8);
}

TEST(Surface, OffsetsOfSimpleSurfacesAreSuchSurfaces) {
  XtModel model;
  const auto base = model.cone({0, 0, 0}, {0, 0, 1}, {1, 0, 0}, 0.02, 0.5);
  const Bodies bodies = bodiesOf(model, model.offset(base, 0.003));
  Geometry geometry(bodies, 1e-9);
  const Surface& s = bodies.surfaces[static_cast<std::size_t>(bodies.faces[0].surface)];
  EXPECT_EQ(s.kind, SurfaceKind::Cone);
  // The base's point moved along the base's normal.
  const Vec3 on_base{0.02 + 0.01 * std::tan(0.5), 0, 0.01};
  expectNear(geometry.at(s, {0, 0.01}).p, on_base + Vec3{std::cos(0.5), 0, -std::sin(0.5)} * 0.003, 1e-12);
}

TEST(Surface, SweptSpunAndBlendInvertTheirPoints) {
  XtModel swept, spun, blend;
  const auto ellipse = swept.ellipse({0, 0, 0}, {0, 0, 1}, {1, 0, 0}, 0.03, 0.01);
  expectConsistent(bodiesOf(swept, swept.swept(ellipse, {0.2, 0, 1})), {-3, 3}, {0, 0.1});
  const auto profile =
      spun.splineCurve(2, 3, false, {0.01, 0, 0, 0.03, 0, 0.01, 0.01, 0, 0.03}, {0, 1}, {3, 3});
  expectConsistent(bodiesOf(spun, spun.spun(profile, {0, 0, 0}, {0, 0, 1})), {0, 1}, {-3, 3});
  // Only the direction of du counts for a blend.
  const auto spine = blend.circle({0, 0, 0}, {0, 0, 1}, {1, 0, 0}, 0.03);
  expectConsistent(bodiesOf(blend, blend.blend(spine, 0, 0, 0.005)), {-3, 3}, {-3, 3}, 1e-9, false);
}

TEST(Curve, EllipseNearestPointIsAcross) {
  XtModel model;
  const auto ellipse = model.ellipse({0, 0, 0}, {0, 0, 1}, {1, 0, 0}, 0.03, 0.01);
  const Bodies bodies = bodiesOf(model, model.swept(ellipse, {0, 0, 1}));
  Geometry geometry(bodies, 1e-9);
  for (int i = 0; i < 12; ++i) {
    const double t = 2 * kPi * i / 12 + 0.1;
    const CurvePoint at = geometry.at(bodies.curves[0], t);
    const Vec3 out = normalized(Vec3{at.d.y, -at.d.x, 0});
    EXPECT_NEAR(
        wrapNear(geometry.nearest(bodies.curves[0], at.p + out * 0.01, std::nan(""), 1e-12), t, 2 * kPi), t,
        1e-7);
  }
}

// A wave that comes near itself many times: the nearest points of a coarse grid are on other crests.
TEST(Surface, ThoroughSearchFindsTheFootOnANarrowWave) {
  XtModel model;
  std::vector<double> net;
  std::vector<double> knots;
  std::vector<int> times;
  constexpr int kPoints = 40;
  for (int i = 0; i < kPoints; ++i) {
    for (const double y : {0.0, 0.01}) net.insert(net.end(), {4e-4 * i, y, i % 2 == 0 ? 0.01 : 0});
  }
  for (int i = 0; i <= kPoints - 3; ++i) {
    knots.push_back(i);
    times.push_back(i == 0 || i == kPoints - 3 ? 4 : 1);
  }
  const auto wave = model.splineSurface(3, 1, kPoints, 2, false, net, knots, times, {0, 1}, {2, 2});
  const Bodies bodies = bodiesOf(model, wave);
  Geometry geometry(bodies, 1e-9);
  const Surface& s = bodies.surfaces[static_cast<std::size_t>(bodies.faces[0].surface)];
  for (int i = 0; i < 300; ++i) {
    const Vec3 p = geometry.at(s, {(kPoints - 3) * (i + 0.37) / 300, 0.3}).p;
    Vec2 uv;
    EXPECT_LE(geometry.invertThoroughly(s, p, uv), 1e-9) << i;
    expectNear(geometry.at(s, uv).p, p, 1e-9);
  }
}

// Two cylinders of equal radius cross in two ellipses: the chart has few points, the curve is exact.
TEST(Curve, IntersectionFollowsItsSurfaces) {
  XtModel model;
  const auto a = model.cylinder({0, 0, 0}, {0, 0, 1}, {1, 0, 0}, 0.01);
  const auto b = model.cylinder({0, 0, 0}, {0, 1, 0}, {1, 0, 0}, 0.01);
  std::vector<loftbay::maker::Point> chart;
  for (int i = 0; i <= 3; ++i) {
    const double t = 0.5 + 2.0 * i / 3;
    chart.push_back({0.01 * std::cos(t), 0.01 * std::sin(t), 0.01 * std::sin(t)});
  }
  const Bodies bodies = bodiesOf(model, model.swept(model.intersection(a, b, chart), {1, 0, 0}));
  Geometry geometry(bodies, 1e-8);
  const auto intersection = std::find_if(bodies.curves.begin(), bodies.curves.end(),
                                         [](const Curve& c) { return c.kind == CurveKind::Intersection; });
  ASSERT_NE(intersection, bodies.curves.end());
  for (int i = 0; i <= 60; ++i) {
    const Vec3 p = geometry.at(*intersection, 3.0 * i / 60).p;
    EXPECT_NEAR(std::hypot(p.x, p.y), 0.01, 3e-8);
    EXPECT_NEAR(p.y, p.z, 3e-8);
  }
}

}  // namespace
}  // namespace jttk::brep
