#include "samples/maker/beam_engine_solids.h"

#include <array>
#include <cmath>

namespace loftbay::maker::engine {
namespace {

constexpr double kBeamThickness = 22;

// Segments of half a circle.
std::size_t halved(std::size_t segments) { return segments / 2; }

// From drawing plane x, y and thickness z to x, z and thickness along y, centred.
Solid upright(Solid solid, double thickness) { return solid.turnX(90).move(0, thickness / 2, 0); }

Outline hole(double x, double y, double radius, std::size_t segments) {
  return reversed(circle(x, y, radius, segments));
}

Outline roundedRectangle(double half_x, double half_y, double radius, std::size_t per_corner) {
  Outline out;
  const Point2 centres[] = {{half_x - radius, half_y - radius},
                            {radius - half_x, half_y - radius},
                            {radius - half_x, radius - half_y},
                            {half_x - radius, radius - half_y}};
  for (std::size_t corner = 0; corner < 4; ++corner) {
    for (std::size_t i = 0; i <= per_corner; ++i) {
      const double angle_rad = radians(90 * (double(corner) + double(i) / double(per_corner)));
      out.push_back({centres[corner].x + radius * std::cos(angle_rad),
                     centres[corner].y + radius * std::sin(angle_rad)});
    }
  }
  return out;
}

}  // namespace

Solid crossBar(double radius, double length, std::size_t segments) {
  return upright(cylinder(radius, length, segments), length);
}

Solid basePlate(std::size_t n) {
  std::vector<Outline> holes;
  for (const double x : {-310.0, 310.0}) {
    for (const double y : {-105.0, 105.0}) holes.push_back(hole(x, y, 8, n / 2));
  }
  Solid solid = extruded(roundedRectangle(340, 130, 22, n / 4), holes, kBaseHeight - 6);
  solid.add(extruded(roundedRectangle(290, 112, 14, n / 4), {}, 8).move(0, 0, kBaseHeight - 8));
  return solid;
}

Solid column(std::size_t n) {
  return turned({{0, 0},
                 {20, 0},
                 {20, 8},
                 {15, 12},
                 {12, 18},
                 {11, 120},
                 {9.5, 230},
                 {12, 234},
                 {16, 240},
                 {16, 250},
                 {0, 250}},
                n);
}

Solid entablature(std::size_t n) {
  return extruded(roundedRectangle(70, 100, 10, n / 4), {reversed(roundedRectangle(45, 26, 8, n / 4))}, 18);
}

Solid bearing(double half_width, double height, double radius, double bore, double thickness, std::size_t n) {
  Outline outline = {{-half_width, 0}, {half_width, 0}, {half_width, 12}, {radius, 26}};
  for (std::size_t i = 0; i <= n / 2; ++i) {
    const double angle_rad = std::numbers::pi * double(i) / double(halved(n));
    outline.push_back({radius * std::cos(angle_rad), height + radius * std::sin(angle_rad)});
  }
  outline.push_back({-radius, 26});
  outline.push_back({-half_width, 12});
  return upright(extruded(outline, {hole(0, height, bore, n)}, thickness), thickness);
}

Solid beam(std::size_t n) {
  // Around the small circles at the ends and the large one at the pivot, along their tangents.
  constexpr double kMiddle = 42;
  constexpr double kEnd = 18;
  const double lean_deg = degrees(std::acos((kMiddle - kEnd) / kHalfBeam));
  Outline outline;
  const auto arc = [&](double x, double radius, double from_deg, double to_deg) {
    for (std::size_t i = 0; i <= n / 2; ++i) {
      const double angle_rad = radians(from_deg + (to_deg - from_deg) * double(i) / double(halved(n)));
      outline.push_back({x + radius * std::cos(angle_rad), radius * std::sin(angle_rad)});
    }
  };
  arc(kHalfBeam, kEnd, -lean_deg, lean_deg);
  arc(0, kMiddle, lean_deg, 180 - lean_deg);
  arc(-kHalfBeam, kEnd, 180 - lean_deg, 180 + lean_deg);
  arc(0, kMiddle, 180 + lean_deg, 360 - lean_deg);
  std::vector<Outline> holes = {hole(0, 0, 11, n), hole(kHalfBeam, 0, 7, n / 2),
                                hole(-kHalfBeam, 0, 7, n / 2)};
  for (const double side : {-1.0, 1.0}) {
    const Outline window = {{side * 50, -22}, {side * 50, 22}, {side * 185, 10}, {side * 185, -10}};
    holes.push_back(side < 0 ? reversed(window) : window);
  }
  Solid solid = upright(extruded(outline, holes, kBeamThickness), kBeamThickness);
  for (const double y : {-1.0, 1.0}) {  // bosses around the pivot
    solid.add(
        upright(turned({{11, 0}, {24, 0}, {24, 8}, {11, 8}}, n), 8).move(0, y * (kBeamThickness / 2 + 4), 0));
  }
  return solid;
}

Solid cylinderBody(std::size_t n) {
  return turned({{42, 0},
                 {70, 0},
                 {70, 10},
                 {54, 14},
                 {54, kCylinderHeight - 14},
                 {70, kCylinderHeight - 10},
                 {70, kCylinderHeight},
                 {42, kCylinderHeight}},
                n);
}

Solid cylinderCover(std::size_t n) {
  return turned({{8, 0}, {70, 0}, {70, 8}, {40, 10}, {22, 14}, {20, 30}, {16, 33}, {8, 33}}, n);
}

Solid valveChest(std::size_t n) {
  Solid solid = extruded(roundedRectangle(34, 20, 6, n / 4), {}, 96);
  solid.add(extruded(roundedRectangle(40, 26, 8, n / 4), {}, 8).move(0, 0, 96));
  solid.add(box(30, 20, 70).move(0, 26, 13));
  return solid;
}

Solid steamPipe(std::size_t n) {
  std::vector<std::array<double, 3>> path = {{0, 0, 0}, {0, 0, 40}};
  for (std::size_t i = 1; i <= n / 4; ++i) {
    const double angle_rad = radians(90.0 * double(i) / double(halved(halved(n))));
    path.push_back({-40 + 40 * std::cos(angle_rad), 0, 40 + 40 * std::sin(angle_rad)});
  }
  path.push_back({-110, 0, 80});
  Solid solid = pipe(path, 11, n / 2);
  solid.add(turned({{0, 0}, {20, 0}, {20, 6}, {0, 6}}, n));
  Solid flange = turned({{0, 0}, {20, 0}, {20, 6}, {0, 6}}, n);
  return solid.add(flange.turnY(-90).move(-108, 0, 80));
}

Solid pistonRod(std::size_t n) { return turned({{0, 0}, {41, 0}, {41, 24}, {8, 24}, {8, 150}, {0, 150}}, n); }

Solid crosshead(std::size_t n) {
  Solid solid = box(26, 30, 26).move(0, 0, -13);
  return solid.add(crossBar(6, 64, n / 2));
}

Solid eyedBar(double length, double radius_low, double radius_high, double bore, double thickness,
              std::size_t n) {
  const Outline outline = lever({0, 0}, radius_low, {0, length}, radius_high, n / 2);
  return upright(extruded(outline, {hole(0, 0, bore, n / 2), hole(0, length, bore, n / 2)}, thickness),
                 thickness);
}

Solid connectingRod(std::size_t n) {
  Solid solid = turned({{0, 14}, {7, 14}, {11, 70}, {11, 90}, {7, kRodLength - 14}, {0, kRodLength - 14}}, n);
  for (const double z : {0.0, kRodLength}) {
    solid.add(upright(turned({{7, 0}, {17, 0}, {17, 16}, {7, 16}}, n), 16).move(0, 0, z));
  }
  return solid;
}

Solid wheelRim(std::size_t n) {
  Outline profile = {{138, 0}, {156, 0}, {160, 4}, {160, 24}, {156, 28}, {138, 28}};
  return upright(turned(profile, 2 * n), 28);
}

Solid wheelSpokes(std::size_t n) {
  Solid solid = upright(turned({{12, 0}, {28, 0}, {28, 36}, {12, 36}}, n), 36);
  for (int spoke = 0; spoke < 6; ++spoke) {
    Solid arm = turned({{0, 24}, {9, 24}, {6.5, 140}, {0, 140}}, n / 2);
    solid.add(arm.turnY(60.0 * spoke + 15));
  }
  return solid;
}

Solid spurGear(std::size_t teeth, double root, double tip, double bore, std::size_t n) {
  return upright(extruded(gear(teeth, root, tip), {hole(0, 0, bore, n)}, 14), 14);
}

Solid hexBolt(std::size_t n) {
  Solid solid = cylinder(4, 22, n / 2).move(0, 0, -20);
  solid.add(turned({{0, 0}, {10, 0}, {10, 1.5}, {0, 1.5}}, n / 2));
  return solid.add(extruded(hexagon(8), {}, 6).move(0, 0, 1.5));
}

Solid governorStand(std::size_t n) {
  Solid solid = turned({{0, 0},
                        {26, 0},
                        {26, 6},
                        {12, 14},
                        {8, 40},
                        {8, 96},
                        {14, 100},
                        {14, 106},
                        {5, 108},
                        {4, 190},
                        {0, 190}},
                       n);
  return solid.add(ball(7, n / 2).move(0, 0, 194));
}

Solid governorSleeve(std::size_t n) {
  return turned({{5, 0}, {14, 0}, {14, 4}, {9, 7}, {9, 11}, {14, 14}, {14, 18}, {5, 18}}, n);
}

Solid governorArm(std::size_t n) {
  // Hangs from the origin, 35 degrees out towards +x, with its ball.
  Solid solid = cylinder(3, 62, n / 2).move(0, 0, -62);
  solid.add(ball(13, n).move(0, 0, -68));
  return solid.turnY(-35);
}

Solid pumpBody(std::size_t n) {
  Solid solid = extruded(roundedRectangle(26, 16, 5, n / 4), {}, 10);
  solid.add(extruded(roundedRectangle(16, 13, 5, n / 4), {}, 96).move(0, 0, 10));
  return solid.add(upright(turned({{7, 0}, {17, 0}, {17, 30}, {7, 30}}, n), 30).move(0, 0, 115));
}

}  // namespace loftbay::maker::engine
