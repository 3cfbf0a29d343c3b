#include "tests/jttk/brep/models.h"
#include "tests/jttk/brep/axes.h"

#include <span>

#include "samples/maker/xt_brep.h"

namespace jttk::brep {
namespace {

std::vector<std::byte> toBytes(const loftbay::maker::Bytes& values) {
  const auto view = std::as_bytes(std::span(values));
  return {view.begin(), view.end()};
}

}  // namespace

std::vector<std::byte> streamOf(const XtModel& model) { return toBytes(model.stream()); }

std::vector<std::byte> segmentOf(const XtModel& model) {
  return toBytes(loftbay::maker::xtBrepSegment(model.stream(), {}));
}

std::vector<std::byte> segmentAround(const std::vector<std::byte>& stream) {
  loftbay::maker::Bytes values;
  for (const std::byte b : stream) values.push_back(std::to_integer<std::uint8_t>(b));
  return toBytes(loftbay::maker::xtBrepSegment(values, {}));
}

std::vector<double> turnedNet(const std::vector<ProfilePoint>& profile) {
  const double w = std::sqrt(0.5);
  std::vector<double> net;
  for (int i = 0; i <= 8; ++i) {
    const bool is_corner = i % 2 != 0;  // where two tangents of the circle meet
    for (const ProfilePoint& p : profile) {
      const double r = is_corner ? p.radius / w : p.radius;
      const double weight = is_corner ? p.weight * w : p.weight;
      net.insert(net.end(), {r * std::cos(kPi / 4 * i) * weight, r * std::sin(kPi / 4 * i) * weight,
                             p.height * weight, weight});
    }
  }
  return net;
}

}  // namespace jttk::brep

namespace jttk::brep::models {
namespace {

using Sides = XtModel::LoopSides;

// Eight corners, twelve edges; faces by their corners, counter-clockwise from outside.
struct BoxParts {
  int corner[8];
  std::vector<std::pair<std::pair<int, int>, int>> edges;

  int edge(XtModel& model, int a, int b, bool& forward) {
    for (const auto& [ends, number] : edges) {
      if (ends == std::pair{a, b}) {
        forward = true;
        return number;
      }
      if (ends == std::pair{b, a}) {
        forward = false;
        return number;
      }
    }
    forward = true;
    edges.push_back({{a, b}, model.straight(corner[a], corner[b])});
    return edges.back().second;
  }
  Sides loop(XtModel& model, const std::vector<int>& corners) {
    Sides sides;
    for (std::size_t i = 0; i < corners.size(); ++i) {
      bool forward = true;
      const int e = edge(model, corners[i], corners[(i + 1) % corners.size()], forward);
      sides.push_back({e, forward});
    }
    return sides;
  }
};

BoxParts boxCorners(XtModel& model, double x, double y, double z) {
  BoxParts parts;
  for (int i = 0; i < 8; ++i) {
    parts.corner[i] = model.vertex({(i & 1) != 0 ? x : 0, (i & 2) != 0 ? y : 0, (i & 4) != 0 ? z : 0});
  }
  return parts;
}

}  // namespace

XtModel box(double x, double y, double z) {
  XtModel model;
  BoxParts parts = boxCorners(model, x, y, z);
  model.face(model.plane({0, 0, 0}, -kZ, kX), false, {parts.loop(model, {0, 2, 3, 1})});
  model.face(model.plane({0, 0, z}, kZ, kX), false, {parts.loop(model, {4, 5, 7, 6})});
  // This face's sense is opposite to its surface's, to test that, too.
  model.face(model.plane({0, 0, 0}, kY, kX), true, {parts.loop(model, {0, 1, 5, 4})});
  model.face(model.plane({0, y, 0}, kY, kX), false, {parts.loop(model, {2, 6, 7, 3})});
  model.face(model.plane({0, 0, 0}, -kX, kY), false, {parts.loop(model, {0, 4, 6, 2})});
  model.face(model.plane({x, 0, 0}, kX, kY), false, {parts.loop(model, {1, 3, 7, 5})});
  return model;
}

XtModel cylinder(double radius, double height, bool with_seam) {
  XtModel model;
  const auto side = model.cylinder({0, 0, 0}, kZ, kX, radius);
  const auto low = model.circle({0, 0, 0}, kZ, kX, radius);
  const auto high = model.circle({0, 0, height}, kZ, kX, radius);
  const auto bottom = model.plane({0, 0, 0}, -kZ, kX);
  const auto top = model.plane({0, 0, height}, kZ, kX);
  if (with_seam) {
    const int a = model.vertex({radius, 0, 0});
    const int b = model.vertex({radius, 0, height});
    const int ring_low = model.edge(low, a, a);
    const int ring_high = model.edge(high, b, b);
    const int seam = model.straight(a, b);
    model.face(side, false, {{{ring_low, true}, {seam, true}, {ring_high, false}, {seam, false}}});
    model.face(bottom, false, {{{ring_low, false}}});
    model.face(top, false, {{{ring_high, true}}});
  } else {
    const int ring_low = model.edge(low, -1, -1);
    const int ring_high = model.edge(high, -1, -1);
    model.face(side, false, {{{ring_low, true}}, {{ring_high, false}}});
    model.face(bottom, false, {{{ring_low, false}}});
    model.face(top, false, {{{ring_high, true}}});
  }
  return model;
}

XtModel wholeSphere(double radius) {
  XtModel model;
  model.face(model.sphere({0, 0, 0}, kZ, kX, radius), false, {});
  return model;
}

XtModel cutSphere(double radius, double height, bool cap) {
  XtModel model;
  const auto ball = model.sphere({0, 0, 0}, kZ, kX, radius);
  const int ring =
      model.edge(model.circle({0, 0, height}, kZ, kX, std::sqrt(radius * radius - height * height)), -1, -1);
  // Above the ring the face is to its left, seen from outside.
  model.face(ball, false, {{{ring, cap}}});
  model.face(model.plane({0, 0, height}, cap ? -kZ : kZ, kX), false, {{{ring, !cap}}});
  return model;
}

XtModel wholeTorus(double major, double minor) {
  XtModel model;
  model.face(model.torus({0, 0, 0}, kZ, kX, major, minor), false, {});
  return model;
}

XtModel cone(double radius, double height) {
  XtModel model;
  // Narrowing upward: a negative angle.
  const auto side = model.cone({0, 0, 0}, kZ, kX, radius, -std::atan(radius / height));
  const int ring = model.edge(model.circle({0, 0, 0}, kZ, kX, radius), -1, -1);
  model.face(side, false, {{{ring, true}}});
  model.face(model.plane({0, 0, 0}, -kZ, kX), false, {{{ring, false}}});
  return model;
}

XtModel plateWithHoles(double x, double y, double z, double radius, int count) {
  XtModel model;
  BoxParts parts = boxCorners(model, x, y, z);
  std::vector<Sides> below{parts.loop(model, {0, 2, 3, 1})};
  std::vector<Sides> above{parts.loop(model, {4, 5, 7, 6})};
  for (int i = 0; i < count; ++i) {
    const Vec3 c{x * (i + 0.5) / count, y / 2, 0};
    const int low = model.edge(model.circle(c, kZ, kX, radius), -1, -1);
    const int high = model.edge(model.circle(c + kZ * z, kZ, kX, radius), -1, -1);
    // The plate is outside of the cylinder: its face looks inward.
    model.face(model.cylinder(c, kZ, kX, radius), true, {{{low, false}}, {{high, true}}});
    below.push_back({{low, true}});
    above.push_back({{high, false}});
  }
  model.face(model.plane({0, 0, 0}, -kZ, kX), false, below);
  model.face(model.plane({0, 0, z}, kZ, kX), false, above);
  model.face(model.plane({0, 0, 0}, -kY, kX), false, {parts.loop(model, {0, 1, 5, 4})});
  model.face(model.plane({0, y, 0}, kY, kX), false, {parts.loop(model, {2, 6, 7, 3})});
  model.face(model.plane({0, 0, 0}, -kX, kY), false, {parts.loop(model, {0, 4, 6, 2})});
  model.face(model.plane({x, 0, 0}, kX, kY), false, {parts.loop(model, {1, 3, 7, 5})});
  return model;
}

XtModel drilledCylinder(double radius, double height, double hole_radius) {
  XtModel model;
  const auto side = model.cylinder({0, 0, 0}, kZ, kX, radius);
  // The hole goes along x from outside to x = 0, at half the height.
  const auto drill = model.cylinder({0, 0, height / 2}, kX, kY, hole_radius);
  const int ring_low = model.edge(model.circle({0, 0, 0}, kZ, kX, radius), -1, -1);
  const int ring_high = model.edge(model.circle({0, 0, height}, kZ, kX, radius), -1, -1);
  std::vector<loftbay::maker::Point> chart;
  for (int i = 0; i <= 8; ++i) {
    const double t = i == 8 ? 0 : 2 * kPi * i / 8;
    const double y = hole_radius * std::cos(t);
    chart.push_back({std::sqrt(radius * radius - y * y), y, height / 2 + hole_radius * std::sin(t)});
  }
  const int mouth = model.edge(model.intersection(side, drill, chart), -1, -1);
  const int bottom = model.edge(model.circle({0, 0, height / 2}, kX, kY, hole_radius), -1, -1);
  // The chart turns from y to z, counter-clockwise seen from +x: the material of the side is on its right.
  model.face(side, false, {{{ring_low, true}}, {{ring_high, false}}, {{mouth, false}}});
  model.face(drill, true, {{{mouth, true}}, {{bottom, false}}});
  model.face(model.plane({0, 0, height / 2}, kX, kY), false, {{{bottom, true}}});
  model.face(model.plane({0, 0, 0}, -kZ, kX), false, {{{ring_low, false}}});
  model.face(model.plane({0, 0, height}, kZ, kX), false, {{{ring_high, true}}});
  return model;
}

XtModel splinePatch(double half, double bump) {
  XtModel model;
  model.asSheet();
  std::vector<double> net;
  constexpr int kSize = 7;
  const auto coordinate = [&](int i) { return half * (2.0 * i / (kSize - 1) - 1); };
  for (int i = 0; i < kSize; ++i) {
    for (int k = 0; k < kSize; ++k) {
      const bool border = i == 0 || k == 0 || i == kSize - 1 || k == kSize - 1;
      net.insert(net.end(),
                 {coordinate(i), coordinate(k),
                  border ? 0 : bump * std::cos(coordinate(i) / half) * std::cos(coordinate(k) / half)});
    }
  }
  const std::vector<double> knots{0, 1, 2, 3, 4};
  const std::vector<int> times{4, 1, 1, 1, 4};
  const auto surface = model.splineSurface(3, 3, kSize, kSize, false, net, knots, times, knots, times);
  const int a = model.vertex({-half, -half, 0});
  const int b = model.vertex({half, -half, 0});
  const int c = model.vertex({half, half, 0});
  const int d = model.vertex({-half, half, 0});
  model.face(surface, false,
             {{{model.straight(a, b), true},
               {model.straight(b, c), true},
               {model.straight(c, d), true},
               {model.straight(d, a), true}}});
  return model;
}

XtModel spunSpindle(double radius, double height) {
  XtModel model;
  const auto profile = model.splineCurve(
      3, 3, false, {0, 0, 0, radius, 0, 0, radius, 0, height, 0, 0, height}, {0, 1}, {4, 4});
  // u runs up, v round: Pu x Pv points inward.
  model.face(model.spun(profile, {0, 0, 0}, kZ), true, {});
  return model;
}

XtModel tolerantCylinder(double radius, double height) {
  XtModel model;
  const auto side = model.cylinder({0, 0, 0}, kZ, kX, radius);
  const auto bottom = model.plane({0, 0, 0}, -kZ, kX);
  const auto top = model.plane({0, 0, height}, kZ, kX);
  const int a = model.vertex({radius, 0, 0});
  const int b = model.vertex({radius, 0, height});
  const int ring_low = model.edge(0, a, a);
  const int ring_high = model.edge(0, b, b);
  const Vec3 pa{radius, 0, 0};
  const Vec3 pb{radius, 0, height};
  const auto alongSide = [&](double v, bool forward, const Vec3& p) {
    const auto uv = model.splineCurve(1, 2, false, {0, v, 2 * kPi, v}, {0, 1}, {2, 2});
    return model.trimmed(model.onSurface(side, uv), forward ? 0 : 1, forward ? 1 : 0, p, p);
  };
  // A circle of four rational arcs in the plane's own coordinates; y of the bottom plane is -y.
  const auto onPlane = [&](XtModel::Id plane, bool forward, const Vec3& p) {
    const double w = std::sqrt(0.5);
    std::vector<double> points;
    for (int i = 0; i <= 8; ++i) {
      const double angle = kPi / 4 * i;
      const double r = i % 2 == 0 ? radius : radius / w;
      const double weight = i % 2 == 0 ? 1 : w;
      points.insert(points.end(), {r * std::cos(angle) * weight, r * std::sin(angle) * weight, weight});
    }
    const auto uv = model.splineCurve(2, 3, true, points, {0, 1, 2, 3, 4}, {3, 2, 2, 2, 3});
    return model.trimmed(model.onSurface(plane, uv), forward ? 0 : 4, forward ? 4 : 0, p, p);
  };
  model.face(
      side, false,
      {{{ring_low, true, alongSide(0, true, pa)}}, {{ring_high, false, alongSide(height, false, pb)}}});
  // On the bottom, seen from below, going against the ring is forward in the plane's coordinates.
  model.face(bottom, false, {{{ring_low, false, onPlane(bottom, true, pa)}}});
  model.face(top, false, {{{ring_high, true, onPlane(top, true, pb)}}});
  return model;
}

XtModel ellipticRod(double major, double minor, double height) {
  XtModel model;
  const auto low = model.ellipse({0, 0, 0}, kZ, kX, major, minor);
  const auto high = model.ellipse({0, 0, height}, kZ, kX, major, minor);
  const auto side = model.swept(model.ellipse({0, 0, 0}, kZ, kX, major, minor), kZ);
  const int ring_low = model.edge(low, -1, -1);
  const int ring_high = model.edge(high, -1, -1);
  model.face(side, false, {{{ring_low, true}}, {{ring_high, false}}});
  model.face(model.plane({0, 0, 0}, -kZ, kX), false, {{{ring_low, false}}});
  model.face(model.plane({0, 0, height}, kZ, kX), false, {{{ring_high, true}}});
  return model;
}

XtModel splineCylinder(double radius, double height) {
  XtModel model;
  const std::vector<double> net = turnedNet({{radius, 0}, {radius, height}});
  const auto side =
      model.splineSurface(2, 1, 9, 2, true, net, {0, 1, 2, 3, 4}, {3, 2, 2, 2, 3}, {0, 1}, {2, 2});
  const int ring_low = model.edge(model.circle({0, 0, 0}, kZ, kY, radius), -1, -1);
  const int ring_high = model.edge(model.circle({0, 0, height}, kZ, -kX, radius), -1, -1);
  model.face(side, false, {{{ring_low, true}}, {{ring_high, false}}});
  model.face(model.plane({0, 0, 0}, -kZ, kX), false, {{{ring_low, false}}});
  model.face(model.plane({0, 0, height}, kZ, kX), false, {{{ring_high, true}}});
  return model;
}

XtModel halfTorus(double major, double minor) {
  XtModel model;
  const auto tube = model.torus({0, 0, 0}, kZ, kX, major, minor);
  // Tube sections in the plane y = 0, turning about y: x = +-major.
  const int right = model.edge(model.circle({major, 0, 0}, -kY, kX, minor), -1, -1);
  const int left = model.edge(model.circle({-major, 0, 0}, -kY, kX, minor), -1, -1);
  // Ring `right` runs up on the outside; the tube goes on to +y, on its right seen from outside.
  model.face(tube, false, {{{right, false}}, {{left, false}}});
  model.face(model.plane({0, 0, 0}, -kY, kX), false, {{{right, true}}});
  model.face(model.plane({0, 0, 0}, -kY, kX), false, {{{left, true}}});
  return model;
}

}  // namespace jttk::brep::models
