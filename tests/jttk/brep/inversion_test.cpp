// The nearest point of a surface against a search over a fine grid of it: near its borders, its poles and
// where it comes near itself.
#include <gtest/gtest.h>

#include <functional>
#include <random>

#include "jttk/brep/geometry.h"
#include "tests/jttk/brep/axes.h"
#include "tests/jttk/brep/solid_checks.h"

namespace jttk::brep {
namespace {

class Nearest {
 public:
  explicit Nearest(const Bodies& bodies)
      : geometry_(bodies, 1e-9),
        surface_(bodies.surfaces[static_cast<std::size_t>(bodies.faces[0].surface)]) {}

  [[nodiscard]] Geometry& geometry() { return geometry_; }
  [[nodiscard]] const Surface& surface() const { return surface_; }

  Vec3 at(Vec2 uv) { return geometry_.at(surface_, uv).p; }

  // The points of a grid over the domain.
  void makeGrid(Range u, Range v, int steps) {
    for (int i = 0; i <= steps; ++i) {
      for (int k = 0; k <= steps; ++k) {
        grid_.push_back(at({u.low + u.size() * i / steps, v.low + v.size() * k / steps}));
      }
    }
  }

  // No point of the grid is nearer than what was found, and what was found is where it is said to be.
  void expectBest(const Vec3& p, const Vec2* guess, double accept = 0) {
    Vec2 uv;
    const double found = geometry_.invert(surface_, p, guess, accept, uv);
    EXPECT_NEAR(distance(at(uv), p), found, 1e-12);
    double best = std::numeric_limits<double>::infinity();
    for (const Vec3& q : grid_) best = std::min(best, distance(p, q));
    EXPECT_LE(found, best + 1e-9) << "for " << p.x << " " << p.y << " " << p.z;
    const SurfaceDomain box = geometry_.domain(surface_);
    if (!(box.period_u > 0)) {
      EXPECT_GE(uv.u, box.u.low);
      EXPECT_LE(uv.u, box.u.high);
    }
    if (!(box.period_v > 0)) {
      EXPECT_GE(uv.v, box.v.low);
      EXPECT_LE(uv.v, box.v.high);
    }
  }

 private:
  Geometry geometry_;
  const Surface& surface_;
  std::vector<Vec3> grid_;
};

// A sheet of 40 x 50 mm whose waves differ in height.
XtModel::Id waves(XtModel& model) {
  std::vector<double> net;
  for (int i = 0; i < 5; ++i) {
    for (int k = 0; k < 6; ++k) {
      net.insert(net.end(), {0.01 * i, 0.01 * k, 0.012 * std::sin(i * 2.1) * std::cos(k * 1.7)});
    }
  }
  return model.splineSurface(3, 2, 5, 6, false, net, {0, 0.4, 1}, {4, 1, 4}, {-2, 1, 2, 3, 7},
                             {3, 1, 1, 1, 3});
}

// Points in the sheet's box and somewhat outside of it: many have their foot on a border or in a corner.
void expectFeet(const Bodies& bodies, bool from_a_guess) {
  Nearest nearest(bodies);
  nearest.makeGrid({0, 1}, {-2, 7}, 200);
  std::mt19937_64 engine{3};
  const auto number = [&](double low, double high) {
    return low + (high - low) * static_cast<double>(engine() >> 11) * 0x1p-53;
  };
  for (int i = 0; i < 400; ++i) {
    const Vec3 p{number(-0.01, 0.05), number(-0.01, 0.06), number(-0.004, 0.004)};
    const Vec2 guess{number(0, 1), number(-2, 7)};
    nearest.expectBest(p, from_a_guess ? &guess : nullptr);
  }
}

TEST(Inversion, FindsTheNearestPointOfASheetWithBorders) {
  XtModel model;
  expectFeet(bodiesOf(model, waves(model)), false);
}

TEST(Inversion, ABadGuessDoesNotMislead) {
  XtModel model;
  expectFeet(bodiesOf(model, waves(model)), true);
}

TEST(Inversion, AGuessThatLeadsNearEnoughIsTaken) {
  XtModel model;
  const Bodies bodies = bodiesOf(model, waves(model));
  Nearest nearest(bodies);
  for (int i = 1; i < 20; ++i) {
    const Vec2 there{i / 20.0, -2 + 9 * i / 20.0};
    const Vec2 guess{there.u + 0.01, there.v - 0.05};
    Vec2 uv;
    EXPECT_LE(nearest.geometry().invert(nearest.surface(), nearest.at(there), &guess, 1e-9, uv), 1e-9);
    EXPECT_NEAR(uv.u, there.u, 1e-5);
    EXPECT_NEAR(uv.v, there.v, 1e-5);
  }
}

// The sheet moved along its normals, bent sharper by that.
TEST(Inversion, FindsTheNearestPointOfAnOffset) {
  for (const double offset : {0.001, -0.001}) {
    XtModel model;
    const Bodies bodies = bodiesOf(model, model.offset(waves(model), offset));
    Nearest nearest(bodies);
    for (int i = 0; i <= 30; ++i) {
      for (int k = 0; k <= 30; ++k) {
        const Vec2 there{i / 30.0, -2 + 9 * k / 30.0};
        const Vec2 far{1 - there.u, 5 - there.v};
        for (const Vec2* guess : {static_cast<const Vec2*>(nullptr), &far}) {
          Vec2 uv;
          EXPECT_LE(nearest.geometry().invert(nearest.surface(), nearest.at(there), guess, 1e-9, uv), 1e-8)
              << there.u << " " << there.v;
        }
      }
    }
  }
}

// Far off the convex side of a sharp ridge a full step leads away from the foot: shorter ones must lead
// there.
TEST(Inversion, FindsTheFootOnASharpRidgeFromFarOff) {
  XtModel model;
  const auto ridge = model.splineSurface(
      2, 1, 3, 2, false, {-0.01, 0, 0, -0.01, 0.01, 0, 0, 0, 0.04, 0, 0.01, 0.04, 0.01, 0, 0, 0.01, 0.01, 0},
      {0, 1}, {3, 3}, {0, 1}, {2, 2});
  const Bodies bodies = bodiesOf(model, ridge);
  Nearest nearest(bodies);
  std::vector<Vec3> section;
  for (int i = 0; i <= 20000; ++i) section.push_back(nearest.at({i / 20000.0, 0.5}));
  for (const double height : {0.03, 0.04, 0.05}) {
    for (int i = -8; i <= 8; ++i) {
      const Vec3 p{0.0031 * i, 0.005, height};
      double best = std::numeric_limits<double>::infinity();
      for (const Vec3& q : section) best = std::min(best, distance(p, q));
      Vec2 uv;
      EXPECT_NEAR(nearest.geometry().invert(nearest.surface(), p, nullptr, 0, uv), best, 1e-6)
          << p.x << " " << height;
    }
  }
}

enum class Asked : std::uint8_t { WithAGoodGuess, WithoutAGuess, ForTheVeryBest };

// Evaluations that the inversion of 200 points of the surface takes.
std::uint64_t workFor(const Bodies& bodies, Asked asked) {
  Nearest nearest(bodies);
  Vec2 uv;
  (void)nearest.geometry().invert(nearest.surface(), {}, nullptr, 0, uv);  // prepares what is kept
  constexpr std::uint64_t kAllowed = 1'000'000'000;
  std::uint64_t used = 0;
  for (int i = 1; i < 200; ++i) {
    const Vec2 there{i / 200.0, -2 + 9 * std::fmod(i * 0.618, 1.0)};
    const Vec2 guess{there.u + 0.002, there.v - 0.01};
    const Vec3 p = nearest.at(there);
    nearest.geometry().allowWork(kAllowed);
    const Vec2* const given = asked == Asked::WithAGoodGuess ? &guess : nullptr;
    const double accept = asked == Asked::ForTheVeryBest ? 0 : 1e-9;
    EXPECT_LE(nearest.geometry().invert(nearest.surface(), p, given, accept, uv), 1e-9);
    used += kAllowed - nearest.geometry().workLeft();
  }
  return used;
}

// What is found at once is not looked for again: neither after a good guess, nor from the next start.
TEST(Inversion, SearchesNoLongerThanNeeded) {
  XtModel sheet, offset, blend;
  const auto spine =
      blend.splineCurve(3, 3, false, {0, 0, 0, 0.06, 0, 0, 0.06, 0.02, 0, 0, 0.02, 0}, {0, 1}, {4, 4});
  const Bodies of_sheet = bodiesOf(sheet, waves(sheet));
  const Bodies of_offset = bodiesOf(offset, offset.offset(waves(offset), 0.001));
  const Bodies of_blend = bodiesOf(blend, blend.blend(spine, 0, 0, 0.001));
  for (const Bodies* bodies : {&of_sheet, &of_offset, &of_blend}) {
    EXPECT_LT(2 * workFor(*bodies, Asked::WithAGoodGuess), workFor(*bodies, Asked::WithoutAGuess));
  }
  EXPECT_LT(5 * workFor(of_sheet, Asked::WithoutAGuess), 4 * workFor(of_sheet, Asked::ForTheVeryBest));
}

// Sines of 300 by 300 points, between which lines are drawn: the grid of starts is thinned, and still leads
// to each point.
TEST(Inversion, OfALargeNetKeepsItsGridSmall) {
  constexpr int kPoints = 300;
  XtModel model;
  std::vector<double> net;
  std::vector<double> knots;
  for (int i = 0; i < kPoints; ++i) {
    knots.push_back(i);
    for (int k = 0; k < kPoints; ++k) {
      net.insert(net.end(), {1e-4 * i, 1e-4 * k, 3e-3 * std::sin(i / 6.0) * std::sin(k / 6.0)});
    }
  }
  std::vector<int> times(kPoints, 1);
  times.front() = times.back() = 2;
  const auto sheet = model.splineSurface(1, 1, kPoints, kPoints, false, net, knots, times, knots, times);
  const Bodies bodies = bodiesOf(model, sheet);
  Nearest nearest(bodies);
  constexpr std::uint64_t kAllowed = 1'000'000;
  nearest.geometry().allowWork(kAllowed);
  Vec2 uv;
  (void)nearest.geometry().invert(nearest.surface(), {}, nullptr, 0, uv);
  EXPECT_LT(kAllowed - nearest.geometry().workLeft(), 60'000U);
  nearest.geometry().allowWork(kAllowed);
  for (int i = 1; i < 100; ++i) {
    const Vec2 there{2.99 * i, 299 * std::fmod(i * 0.618, 1.0)};
    EXPECT_LE(nearest.geometry().invert(nearest.surface(), nearest.at(there), nullptr, 1e-9, uv), 1e-6) << i;
  }
}

// The nearest points of the grid are all the pole, where one parameter has no effect: only the other one
// leads away.
TEST(Inversion, LeavesAPole) {
  XtModel model;
  // From the pole over an eighth of a turn to the equator.
  const std::vector<double> net = turnedNet({{0, 0.01}, {0.01, 0.01, std::sqrt(0.5)}, {0.01, 0}});
  const auto cap =
      model.splineSurface(2, 2, 9, 3, true, net, {0, 1, 2, 3, 4}, {3, 2, 2, 2, 3}, {0, 1}, {3, 3});
  const Bodies bodies = bodiesOf(model, cap);
  Nearest nearest(bodies);
  for (const double tilt : {1e-4, 1e-3, 1e-2}) {
    for (int i = 0; i < 40; ++i) {
      const double angle = kPi / 20 * i + 0.03;
      const Vec3 p =
          Vec3{std::sin(tilt) * std::cos(angle), std::sin(tilt) * std::sin(angle), std::cos(tilt)} * 0.01;
      Vec2 uv;
      EXPECT_LE(nearest.geometry().invert(nearest.surface(), p, nullptr, 1e-12, uv), 1e-8)
          << tilt << " " << i;
    }
  }
}

// The search from a few starts misses the point on an offset surface, that from many finds it.
TEST(Inversion, IsThoroughOnAnOffsetToo) {
  constexpr int kPoints = 12;
  XtModel model;
  std::vector<double> net;
  std::vector<double> knots;
  std::vector<int> times;
  for (int i = 0; i < kPoints; ++i) {
    for (const double y : {0.0, 0.01}) net.insert(net.end(), {1e-3 * i, y, i % 2 == 0 ? 0.01 : 0});
  }
  for (int i = 0; i <= kPoints - 3; ++i) {
    knots.push_back(i);
    times.push_back(i == 0 || i == kPoints - 3 ? 4 : 1);
  }
  const auto wave = model.splineSurface(3, 1, kPoints, 2, false, net, knots, times, {0, 1}, {2, 2});
  const Bodies bodies = bodiesOf(model, model.offset(wave, 1e-6));
  Nearest nearest(bodies);
  for (int i = 0; i < 100; ++i) {
    for (const double v : {0.1, 0.5, 0.8}) {
      const Vec3 p = nearest.at({(kPoints - 3) * (i + 0.37) / 100, v});
      Vec2 uv;
      EXPECT_LE(nearest.geometry().invertThoroughly(nearest.surface(), p, uv), 1e-9) << i << " " << v;
    }
  }
}

// Where a surface has no knots, the points that searches start from lie on 25 by 25 lines: enough for waves
// of a dozen spans (above), and few enough that a small file cannot make them costly.
TEST(Inversion, StartsOnAnOffsetLieOn25By25Lines) {
  XtModel model;
  const auto wave =
      model.splineSurface(1, 1, 3, 2, false, {0, 0, 0, 0, 1, 0, 1, 0, 0.5, 1, 1, 0.5, 2, 0, 0, 2, 1, 0},
                          {0, 1, 2}, {2, 1, 2}, {0, 1}, {2, 2});
  const Bodies bodies = bodiesOf(model, model.offset(wave, 1e-6));
  Nearest nearest(bodies);
  const auto costOf = [&](const auto& action) {
    constexpr std::uint64_t kAllowed = 1'000'000;
    nearest.geometry().allowWork(kAllowed);
    action();
    return kAllowed - nearest.geometry().workLeft();
  };
  const auto search = [&] {
    Vec2 found;
    EXPECT_LE(nearest.geometry().invertThoroughly(nearest.surface(), {0.3, 0.4, 0.15}, found), 1e-5);
  };
  Vec2 uv;
  (void)nearest.geometry().invert(nearest.surface(), {}, nullptr, 0, uv);  // what else is made once
  const auto first_search = costOf(search);                                // makes the grid
  const auto later_search = costOf(search);
  const auto of_the_lines = costOf([&] {
    for (int i = 0; i <= 24; ++i) {
      for (int k = 0; k <= 24; ++k) (void)nearest.at({2 * i / 24.0, k / 24.0});
    }
  });
  ASSERT_GT(of_the_lines, 25U * 25U);
  EXPECT_NEAR(static_cast<double>(first_search - later_search), static_cast<double>(of_the_lines), 1)
      << "parts of an evaluation are rounded";
}

// A wave so steep that the search from the nearest points of its grid misses a point of its border by
// millimetres: the loop that begins there is still found.
TEST(Inversion, OfALoopThatBeginsOnASteepWaveIsThorough) {
  constexpr int kPoints = 12;
  constexpr double kStart = 8.9125;
  constexpr double kWidth = 0.01;
  XtModel model;
  model.asSheet();
  std::vector<double> net;
  std::vector<double> border[2];
  std::vector<double> knots;
  std::vector<int> times;
  for (int i = 0; i < kPoints; ++i) {
    for (const bool far : {false, true}) {
      const Vec3 p{1e-3 * i, far ? kWidth : 0, i % 2 == 0 ? 0.03 : 0};
      net.insert(net.end(), {p.x, p.y, p.z});
      border[far ? 1 : 0].insert(border[far ? 1 : 0].end(), {p.x, p.y, p.z});
    }
  }
  CurveSpline wave{3, 3, false, kPoints, {0, 0, 0}, border[0]};
  for (int i = 0; i <= kPoints - 3; ++i) {
    knots.push_back(i);
    times.push_back(i == 0 || i == kPoints - 3 ? 4 : 1);
    wave.knots.push_back(i);
  }
  wave.knots.insert(wave.knots.end(), 3, kPoints - 3);
  const auto sheet = model.splineSurface(3, 1, kPoints, 2, false, net, knots, times, {0, 1}, {2, 2});
  const auto curve = model.splineCurve(3, 3, false, border[0], knots, times);
  const auto far_curve = model.splineCurve(3, 3, false, border[1], knots, times);
  const auto corner = [&](std::size_t i, double y) {
    return model.vertex({border[0][3 * i], y, border[0][3 * i + 2]});
  };
  const int start = model.vertex(evaluateSpline(wave, kStart).p);
  const int a = corner(0, 0);
  const int b = corner(kPoints - 1, 0);
  const int far_a = corner(0, kWidth);
  const int far_b = corner(kPoints - 1, kWidth);
  model.face(sheet, false,
             {{{model.edge(curve, start, b), true},
               {model.straight(b, far_b), true},
               {model.edge(far_curve, far_a, far_b), false},
               {model.straight(far_a, a), true},
               {model.edge(curve, a, start), true}}});
  double arc_length = 0;
  for (int i = 0; i < 9000; ++i)
    arc_length += distance(evaluateSpline(wave, i / 1000.0).p, evaluateSpline(wave, (i + 1) / 1000.0).p);
  const Outcome o = run(std::move(model));
  EXPECT_GT(o.measures.triangles, 0U);
  EXPECT_NEAR(o.measures.area, 1e6 * arc_length * kWidth, 5e3 * arc_length * kWidth);
}

// On the axis any angle is right: the one of the guess is kept, so that a loop through a pole does not jump.
TEST(Inversion, KeepsTheAngleOfTheGuessOnTheAxis) {
  XtModel model;
  const auto profile = model.splineCurve(2, 3, false, {0, 0, 0, 0.01, 0, 0.01, 0, 0, 0.03}, {0, 1}, {3, 3});
  const Bodies bodies = bodiesOf(model, model.spun(profile, {}, kZ));
  Nearest nearest(bodies);
  for (int i = 0; i < 12; ++i) {
    const Vec2 guess{0.9, 0.5 * i};
    Vec2 uv;
    EXPECT_LE(nearest.geometry().invert(nearest.surface(), {0, 0, 0.03}, &guess, 1e-9, uv), 1e-9);
    EXPECT_NEAR(uv.u, 1, 1e-6);
    EXPECT_NEAR(uv.v, guess.v, 1e-12);
  }
}

// A half angle beyond 90 degrees has a cosine below zero: the same cone with the opposite slope.
TEST(Inversion, OfConesWhoseCosineIsBelowZero) {
  for (const double angle : {0.4, -0.4, kPi - 0.4, 0.4 - kPi}) {
    SCOPED_TRACE(angle);
    XtModel model;
    const Bodies bodies = bodiesOf(model, model.cone({0.1, 0.2, 0.3}, kZ, kX, 0.02, angle));
    Nearest nearest(bodies);
    for (int i = 0; i < 12; ++i) {
      for (const double v : {-0.01, 0.0, 0.015}) {
        const Vec2 there{0.5 * i, v};
        const double r = 0.02 + v * std::tan(angle);
        const Vec3 out{std::cos(there.u), std::sin(there.u), 0};
        const Vec3 p = Vec3{0.1, 0.2, 0.3} + out * r + kZ * v;
        const Vec3 normal = normalized(out - kZ * std::tan(angle));
        for (const double off : {0.0, 0.001, -0.001}) {
          Vec2 uv;
          EXPECT_NEAR(nearest.geometry().invert(nearest.surface(), p + normal * off, nullptr, 0, uv),
                      std::abs(off), 1e-12);
          EXPECT_NEAR(wrapNear(uv.u, there.u, 2 * kPi), there.u, 1e-9);
          EXPECT_NEAR(uv.v, there.v, 1e-9);
        }
      }
    }
  }
}

// A spine that comes near itself: the point on the tube belongs to the arm that is one radius away, not to
// the one where a guess leads.
TEST(Inversion, OfABlendIsOnTheTubeAroundTheNearestArmOfItsSpine) {
  XtModel model;
  constexpr double kTube = 0.001;
  const auto spine =
      model.splineCurve(3, 3, false, {0, 0, 0, 0.06, 0, 0, 0.06, 0.02, 0, 0, 0.02, 0}, {0, 1}, {4, 4});
  const Bodies bodies = bodiesOf(model, model.blend(spine, 0, 0, kTube));
  Nearest nearest(bodies);
  const Curve& curve = bodies.curves[static_cast<std::size_t>(nearest.surface().curve)];
  for (int i = 1; i < 20; ++i) {
    const double t = i / 20.0;
    const Vec3 center = nearest.geometry().at(curve, t).p;
    for (int k = 0; k < 8; ++k) {
      const Vec3 p = nearest.at({t, kPi / 4 * k});
      EXPECT_NEAR(distance(p, center), kTube, 1e-12);
      for (const double guess_u : {1 - t, t, 0.0, 1.0}) {
        const Vec2 guess{guess_u, 0};
        Vec2 uv;
        EXPECT_LE(nearest.geometry().invert(nearest.surface(), p, &guess, 1e-9, uv), 1e-8) << t << " " << k;
        EXPECT_NEAR(uv.u, t, 1e-6) << guess_u;
      }
    }
  }
}

}  // namespace
}  // namespace jttk::brep
