#include "tests/jttk/brep/drilled_models.h"
#include "tests/jttk/brep/axes.h"

#include <functional>

namespace jttk::brep::models {
namespace {

constexpr double kRadius = 0.01;
constexpr double kHeight = 0.02;      // of cylinder and cone
constexpr double kTopRadius = 0.007;  // of the cone
constexpr double kTube = 0.004;       // of the torus
constexpr double kBottom = 0.0075;    // the pocket ends at this distance from the axis

double square(double x) { return x * x; }

// How far out the surface is over a point of the pocket's plane.
using Reach = std::function<double(double y, double z)>;

struct Base {
  XtWriter::Id surface = 0;
  Reach reach;
  double hole_height = 0;
  double volume = 0;  // m^3
};

Base makeBase(XtModel& model, Round kind) {
  Base base;
  const double slope = (kTopRadius - kRadius) / kHeight;
  switch (kind) {
    case Round::Cylinder:
      base.surface = model.cylinder({}, kZ, kX, kRadius);
      base.reach = [](double y, double) { return std::sqrt(square(kRadius) - y * y); };
      base.hole_height = kHeight / 2;
      base.volume = kPi * square(kRadius) * kHeight;
      break;
    case Round::Cone:
      base.surface = model.cone({}, kZ, kX, kRadius, std::atan(slope));
      base.reach = [slope](double y, double z) { return std::sqrt(square(kRadius + slope * z) - y * y); };
      base.hole_height = kHeight / 2;
      base.volume = kPi * kHeight / 3 * (square(kRadius) + kRadius * kTopRadius + square(kTopRadius));
      break;
    case Round::Sphere:
      base.surface = model.sphere({}, kZ, kX, kRadius);
      base.reach = [](double y, double z) { return std::sqrt(square(kRadius) - y * y - z * z); };
      base.volume = 4.0 / 3 * kPi * std::pow(kRadius, 3);
      break;
    case Round::Torus:
      base.surface = model.torus({}, kZ, kX, kRadius, kTube);
      base.reach = [](double y, double z) {
        return std::sqrt(square(kRadius + std::sqrt(square(kTube) - z * z)) - y * y);
      };
      base.volume = 2 * square(kPi) * kRadius * square(kTube);
      break;
  }
  return base;
}

// Volume between the pocket's bottom and the surface.
double pocketVolume(const Base& base, double radius, double bottom) {
  constexpr int kSteps = 600;
  double sum = 0;
  for (int i = 0; i < kSteps; ++i) {
    const double y = radius * (2 * (i + 0.5) / kSteps - 1);
    const double half = std::sqrt(square(radius) - y * y);
    for (int k = 0; k < kSteps; ++k) {
      const double z = half * (2 * (k + 0.5) / kSteps - 1);
      sum += (base.reach(y, base.hole_height + z) - bottom) * (2 * radius / kSteps) * (2 * half / kSteps);
    }
  }
  return sum;
}

// Points of the pocket's mouth; the angle turns from y to z.
std::vector<loftbay::maker::Point> mouth(const Base& base, double radius, double from, double to, int steps) {
  std::vector<loftbay::maker::Point> chart;
  for (int i = 0; i <= steps; ++i) {
    const double angle = from + (to - from) * i / steps;
    const double y = radius * std::cos(angle);
    const double z = base.hole_height + radius * std::sin(angle);
    chart.push_back({-base.reach(y, z), y, z});
  }
  return chart;
}

struct Seams {
  int low = -1;     // from the vertex below up to the mouth, or to the vertex above
  int high = -1;    // from the mouth up
  int half_a = -1;  // of the mouth, over y > 0
  int half_b = -1;  // over y < 0, upward too
};

class Driller {
 public:
  Driller(XtModel& model, Round kind, double hole_radius)
      : model_(model), kind_(kind), hole_radius_(hole_radius), base_(makeBase(model, kind)) {}

  double run(bool seam_edges) {
    const bool open = kind_ == Round::Cylinder || kind_ == Round::Cone;
    if (hole_radius_ > 0) drill_ = model_.cylinder({0, 0, base_.hole_height}, kX, kY, hole_radius_);
    if (seam_edges) {
      open ? openWithSeams() : kind_ == Round::Sphere ? sphereWithSeam() : torusWithSeams();
    } else {
      withoutSeams(open);
    }
    if (hole_radius_ > 0) addPocket();
    model_.finish();
    return (base_.volume - (hole_radius_ > 0 ? pocketVolume(base_, hole_radius_, kBottom) : 0)) * 1e9;
  }

 private:
  void withoutSeams(bool open) {
    std::vector<XtModel::LoopSides> loops;
    if (open) {
      const int low = model_.edge(model_.circle({}, kZ, kX, kRadius), -1, -1);
      const int high = model_.edge(model_.circle({0, 0, kHeight}, kZ, kX, topRadius()), -1, -1);
      loops = {{{low, true}}, {{high, false}}};
      addEnds({{low, false}}, {{high, true}});
    }
    if (hole_radius_ > 0) {
      std::vector<loftbay::maker::Point> chart = mouth(base_, hole_radius_, 0, 2 * kPi, 8);
      chart.back() = chart.front();
      const int ring = model_.edge(model_.intersection(base_.surface, drill_, chart), -1, -1);
      loops.push_back({{ring, true}});
      mouth_ = {{ring, false}};
    }
    model_.face(base_.surface, false, loops);
  }

  [[nodiscard]] double topRadius() const { return kind_ == Round::Cone ? kTopRadius : kRadius; }

  void addEnds(const XtModel::LoopSides& low, const XtModel::LoopSides& high) {
    model_.face(model_.plane({}, -kZ, kX), false, {low});
    model_.face(model_.plane({0, 0, kHeight}, kZ, kX), false, {high});
  }

  // The seam from `low` to `high`, along `curve`, broken where the pocket is.
  Seams addSeam(XtWriter::Id curve, int low, int high) {
    Seams seams;
    if (hole_radius_ <= 0) {
      seams.low = model_.edge(curve, low, high);
      return seams;
    }
    const auto chart_a = mouth(base_, hole_radius_, -kPi / 2, kPi / 2, 4);
    const auto chart_b = mouth(base_, hole_radius_, -kPi / 2, -3 * kPi / 2, 4);
    const int below = model_.vertex(chart_a.front());
    const int above = model_.vertex(chart_a.back());
    seams.low = model_.edge(curve, low, below);
    seams.high = model_.edge(curve, above, high);
    seams.half_a = model_.edge(model_.intersection(base_.surface, drill_, chart_a), below, above);
    seams.half_b = model_.edge(model_.intersection(base_.surface, drill_, chart_b), below, above);
    mouth_ = {{seams.half_a, false}, {seams.half_b, true}};
    return seams;
  }

  static void addUp(const Seams& seams, XtModel::LoopSides& loop) {
    loop.push_back({seams.low, true});
    if (seams.high < 0) return;
    loop.push_back({seams.half_a, true});
    loop.push_back({seams.high, true});
  }
  static void addDown(const Seams& seams, XtModel::LoopSides& loop) {
    if (seams.high >= 0) {
      loop.push_back({seams.high, false});
      loop.push_back({seams.half_b, false});
    }
    loop.push_back({seams.low, false});
  }

  void openWithSeams() {
    const Vec3 a{-kRadius, 0, 0};
    const Vec3 b{-topRadius(), 0, kHeight};
    const int low_vertex = model_.vertex(a);
    const int high_vertex = model_.vertex(b);
    const int low = model_.edge(model_.circle({}, kZ, kX, kRadius), low_vertex, low_vertex);
    const int high =
        model_.edge(model_.circle({0, 0, kHeight}, kZ, kX, topRadius()), high_vertex, high_vertex);
    const Seams seams = addSeam(model_.line(a, b - a), low_vertex, high_vertex);
    XtModel::LoopSides loop{{low, true}};
    addUp(seams, loop);
    loop.push_back({high, false});
    addDown(seams, loop);
    model_.face(base_.surface, false, {loop});
    addEnds({{low, false}}, {{high, true}});
  }

  void sphereWithSeam() {
    const int south = model_.vertex({0, 0, -kRadius});
    const int north = model_.vertex({0, 0, kRadius});
    // From the south pole over -x to the north pole.
    const Seams seams = addSeam(model_.circle({}, kY, -kZ, kRadius), south, north);
    XtModel::LoopSides loop;
    addUp(seams, loop);
    addDown(seams, loop);
    model_.face(base_.surface, false, {loop});
  }

  void torusWithSeams() {
    // Both seams begin and end at the inner side of the tube.
    const int corner = model_.vertex({-(kRadius - kTube), 0, 0});
    const int around = model_.edge(model_.circle({}, kZ, kX, kRadius - kTube), corner, corner);
    const Seams seams = addSeam(model_.circle({-kRadius, 0, 0}, kY, kX, kTube), corner, corner);
    XtModel::LoopSides loop{{around, true}};
    addUp(seams, loop);
    loop.push_back({around, false});
    addDown(seams, loop);
    model_.face(base_.surface, false, {loop});
  }

  void addPocket() {
    const Vec3 center{-kBottom, 0, base_.hole_height};
    const int ring = model_.edge(model_.circle(center, -kX, kY, hole_radius_), -1, -1);
    model_.face(drill_, true, {mouth_, {{ring, false}}});
    model_.face(model_.plane(center, -kX, kY), false, {{{ring, true}}});
  }

  XtModel& model_;
  Round kind_;
  double hole_radius_;
  Base base_;
  XtWriter::Id drill_ = 0;
  XtModel::LoopSides mouth_;
};

}  // namespace

Drilled drilled(Round kind, double hole_radius, bool seam_edges) {
  Drilled made;
  made.volume = Driller(made.model, kind, hole_radius).run(seam_edges);
  return made;
}

Drilled perforatedCylinder(double radius, double height, double hole_radius, int rows, int per_row) {
  Drilled made;
  XtModel& model = made.model;
  Base base;
  base.reach = [radius](double y, double) { return std::sqrt(square(radius) - y * y); };
  const auto side = model.cylinder({}, kZ, kX, radius);
  const int low = model.edge(model.circle({}, kZ, kX, radius), -1, -1);
  const int high = model.edge(model.circle({0, 0, height}, kZ, kX, radius), -1, -1);
  std::vector<XtModel::LoopSides> loops{{{low, true}}, {{high, false}}};
  const double bottom = 0.8 * radius;
  const double pockets = rows * per_row * pocketVolume(base, hole_radius, bottom);
  for (int row = 0; row < rows; ++row) {
    for (int i = 0; i < per_row; ++i) {
      const double angle = 2 * kPi * (i + 0.38 * row) / per_row;
      const double z = height * (row + 0.5) / rows;
      const Vec3 out{std::cos(angle), std::sin(angle), 0};
      const Vec3 aside = cross(kZ, out);
      std::vector<loftbay::maker::Point> chart;
      for (int k = 0; k < 8; ++k) {
        const double y = hole_radius * std::cos(kPi / 4 * k);
        chart.push_back(out * base.reach(y, 0) + aside * y + kZ * (z + hole_radius * std::sin(kPi / 4 * k)));
      }
      chart.push_back(chart.front());
      const auto drill = model.cylinder(kZ * z, out, aside, hole_radius);
      const int rim = model.edge(model.intersection(side, drill, chart), -1, -1);
      const Vec3 center = out * bottom + kZ * z;
      const int ring = model.edge(model.circle(center, out, aside, hole_radius), -1, -1);
      // The rim turns counter-clockwise seen from outside.
      loops.push_back({{rim, false}});
      model.face(drill, true, {{{rim, true}}, {{ring, false}}});
      model.face(model.plane(center, out, aside), false, {{{ring, true}}});
    }
  }
  model.face(side, false, loops);
  model.face(model.plane({}, -kZ, kX), false, {{{low, false}}});
  model.face(model.plane({0, 0, height}, kZ, kX), false, {{{high, true}}});
  model.finish();
  made.volume = (kPi * square(radius) * height - pockets) * 1e9;
  return made;
}

}  // namespace jttk::brep::models
