#include "samples/maker/beam_engine.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <utility>

#include "samples/maker/solids.h"

namespace loftbay::maker {
namespace {

// The engine's main dimensions.
constexpr double kBaseHeight = 24;
constexpr double kPivotHeight = 335;
constexpr double kHalfBeam = 230;  // from the pivot to either end pin
constexpr double kShaftX = 230;
constexpr double kShaftHeight = 175;
constexpr double kCrankRadius = 45;
constexpr double kCrankAngle = 50;
constexpr double kRodLength = 160;
constexpr double kLinkLength = 64;
constexpr double kCylinderX = -230;
constexpr double kCylinderHeight = 140;
constexpr double kBeamThickness = 22;
constexpr double kPinionPhase = 6.5;  // so that its teeth meet the gaps of the gear

double radians(double degrees) { return degrees * std::numbers::pi / 180; }
double degrees(double radians) { return radians * 180 / std::numbers::pi; }

// Segments of half a circle.
std::size_t halved(std::size_t segments) { return segments / 2; }

// So that the last bit of a sine changes no file.
double tidy(double value) { return std::round(value * 65536) / 65536; }

// Where the moving parts stand at kCrankAngle.
struct Pose {
  double beam_deg = 0;  // the right end up
  Point2 crank_pin, right_end, left_end, crosshead;
  double rod_deg = 0;
  double link_deg = 0;
};

Pose pose() {
  Pose out;
  out.crank_pin = {kShaftX + kCrankRadius * std::cos(radians(kCrankAngle)),
                   kShaftHeight + kCrankRadius * std::sin(radians(kCrankAngle))};
  double low = -20;
  double high = 20;
  for (int i = 0; i < 40; ++i) {  // the rod's length decides the beam's angle
    const double middle = (low + high) / 2;
    const Point2 end = {kHalfBeam * std::cos(radians(middle)),
                        kPivotHeight + kHalfBeam * std::sin(radians(middle))};
    const double length = std::hypot(end.x - out.crank_pin.x, end.y - out.crank_pin.y);
    (length < kRodLength ? low : high) = middle;
  }
  out.beam_deg = tidy(low);
  const double c = kHalfBeam * std::cos(radians(out.beam_deg));
  const double s = kHalfBeam * std::sin(radians(out.beam_deg));
  out.right_end = {c, kPivotHeight + s};
  out.left_end = {-c, kPivotHeight - s};
  const double aside = out.left_end.x - kCylinderX;
  out.crosshead = {kCylinderX, out.left_end.y - std::sqrt(kLinkLength * kLinkLength - aside * aside)};
  out.rod_deg =
      tidy(degrees(std::atan2(out.right_end.x - out.crank_pin.x, out.right_end.y - out.crank_pin.y)));
  out.link_deg = tidy(degrees(std::atan2(aside, out.left_end.y - out.crosshead.y)));
  return out;
}

Matrix tidied(Matrix m) {
  for (auto& value : m) value = std::round(value * 1073741824) / 1073741824 + 0.0;
  return m;
}
Matrix at(double x, double y, double z) { return tidied(translation(x, y, z)); }
// Turned in the plane of the beam (positive: its +z end towards +x), then moved.
Matrix swung(double angle_deg, double x, double y, double z) {
  return tidied(multiplied(rotationY(angle_deg), translation(x, y, z)));
}

// From drawing plane x, y and thickness z to x, z and thickness along y, centred.
Solid upright(Solid solid, double thickness) { return solid.turnX(90).move(0, thickness / 2, 0); }
Solid crossBar(double radius, double length, std::size_t segments) {
  return upright(cylinder(radius, length, segments), length);
}

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

// `n` is the number of segments of a full circle: the level of detail.
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

// A pedestal with a round top and a bore.
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

// A flat bar with an eye at either end; the lower eye is the origin, the upper one straight above.
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

Material painted(float r, float g, float b, float gloss) {
  Material m;
  m.diffuse = {r, g, b, 1};
  m.ambient = {r * 0.3F, g * 0.3F, b * 0.3F, 1};
  m.specular = {gloss, gloss, gloss, 1};
  m.shininess = 8 + 48 * gloss;
  return m;
}

const Material kGreen = painted(0.08F, 0.32F, 0.20F, 0.35F);
const Material kRed = painted(0.62F, 0.09F, 0.07F, 0.35F);
const Material kIron = painted(0.24F, 0.25F, 0.27F, 0.2F);
const Material kSteel = painted(0.72F, 0.74F, 0.77F, 0.8F);
const Material kBrass = painted(0.80F, 0.62F, 0.22F, 0.7F);
const Material kCopper = painted(0.72F, 0.38F, 0.22F, 0.6F);
const Material kStone = painted(0.55F, 0.52F, 0.47F, 0.05F);

class Builder {
 public:
  using Make = std::function<Solid(std::size_t)>;

  Ref part(std::string name, const std::optional<Material>& material, const Make& make,
           std::string description = {}) {
    Part part;
    part.name = std::move(name);
    part.units = "Millimeters";
    part.material = material;
    for (const std::size_t segments : {std::size_t{24}, std::size_t{12}}) {
      part.lods.push_back({ShapeSource(toShape(make(segments)))});
    }
    if (!description.empty()) part.properties.push_back({"Description::", std::move(description)});
    product.parts.push_back(std::move(part));
    return partRef(product.parts.size() - 1);
  }

  // A second shape in every level of the part made last, with a material of its own.
  void addShape(const Material& material, const Make& make) {
    std::size_t segments = 24;
    for (auto& lod : product.parts.back().lods) {
      Shape shape = toShape(make(segments));
      shape.material = material;
      lod.emplace_back(std::move(shape));
      segments = 12;
    }
  }

  Ref assembly(std::string name, std::vector<Child> children) {
    product.assemblies.push_back({std::move(name), "Millimeters", std::nullopt, std::move(children)});
    return assemblyRef(product.assemblies.size() - 1);
  }

  [[nodiscard]] Child use(Ref target, const Matrix& matrix) const {
    const auto& name = target.kind == Ref::Kind::Part ? product.parts[target.index].name
                                                      : product.assemblies[target.index].name;
    return {target, name, matrix, std::nullopt, false};
  }
  // The target's own node stands in the tree.
  [[nodiscard]] Child own(Ref target, const Matrix& matrix) const {
    Child child = use(target, matrix);
    child.name.clear();
    child.direct = true;
    return child;
  }

  Product product;
};

Ref frame(Builder& b, Ref bolt) {
  const Ref base = b.part("Base plate", kStone, basePlate);
  const Ref post = b.part("Column", kGreen, column);
  const Ref top = b.part("Entablature", kGreen, entablature);
  const Ref block =
      b.part("Beam bearing", kIron, [](std::size_t n) { return bearing(34, 43, 22, 11, 20, n); });
  const Ref pedestal = b.part("Main bearing", kIron, [](std::size_t n) {
    return bearing(40, kShaftHeight - kBaseHeight, 24, 12, 24, n);
  });
  std::vector<Child> children = {b.own(base, kIdentity)};
  for (const double x : {-48.0, 48.0}) {
    for (const double y : {-76.0, 76.0}) children.push_back(b.use(post, at(x, y, kBaseHeight)));
  }
  children.push_back(b.own(top, at(0, 0, kBaseHeight + 250)));
  for (const double y : {-44.0, 44.0}) children.push_back(b.use(block, at(0, y, kBaseHeight + 268)));
  for (const double y : {20.0, 110.0}) children.push_back(b.use(pedestal, at(kShaftX, y, kBaseHeight)));
  for (const double x : {-310.0, 310.0}) {
    for (const double y : {-105.0, 105.0}) {
      children.push_back(b.use(bolt, at(x, y, kBaseHeight - 6)));
      children.back().material = kIron;
    }
  }
  return b.assembly("Frame", std::move(children));
}

Ref cylinderUnit(Builder& b, Ref bolt, const Pose& now) {
  const Ref body = b.part("Cylinder", kGreen, cylinderBody, "Bore 84 mm");
  const Ref cover = b.part("Cylinder cover", kBrass, cylinderCover);
  const Ref chest = b.part("Valve chest", kGreen, valveChest);
  const Ref steam = b.part("Steam pipe", kCopper, steamPipe);
  const Ref rod = b.part("Piston rod", kSteel, pistonRod);
  const Ref head = b.part("Crosshead", kIron, crosshead);
  const double head_height = now.crosshead.y - kBaseHeight;
  const Ref piston = b.assembly("Piston", {b.own(rod, at(0, 0, -150)), b.own(head, kIdentity)});
  std::vector<Child> children = {b.own(body, kIdentity), b.own(cover, at(0, 0, kCylinderHeight)),
                                 b.own(chest, tidied(placed(0, -82, 20, 0))), b.own(steam, at(0, -82, 124))};
  for (int i = 0; i < 8; ++i) {
    const double angle_rad = radians(45.0 * i + 22.5);
    children.push_back(
        b.use(bolt, at(62 * std::cos(angle_rad), 62 * std::sin(angle_rad), kCylinderHeight + 8)));
    children.back().material = kSteel;
  }
  children.push_back(b.use(piston, at(0, 0, head_height)));
  return b.assembly("Cylinder unit", std::move(children));
}

// Around the beam's pivot, before it tilts.
Ref beamUnit(Builder& b, Ref pin) {
  const Ref body = b.part("Beam", kGreen, beam);
  const Ref shaft = b.part("Beam shaft", kSteel, [](std::size_t n) { return crossBar(11, 124, n); });
  return b.assembly("Beam unit", {b.own(body, kIdentity), b.own(shaft, kIdentity),
                                  b.use(pin, at(-kHalfBeam, 0, 0)), b.use(pin, at(kHalfBeam, 0, 0))});
}

// Around the crankshaft; the crank points to +z before it turns.
Ref crankUnit(Builder& b) {
  const Ref shaft =
      b.part("Crankshaft", kSteel, [](std::size_t n) { return crossBar(12, 192, n).move(0, 84, 0); });
  const Ref crank =
      b.part("Crank", kIron, [](std::size_t n) { return eyedBar(kCrankRadius, 24, 16, 7, 16, n); });
  const Ref pin = b.part("Crank pin", kSteel, [](std::size_t n) { return crossBar(7, 40, n / 2); });
  const Ref wheel = b.part("Flywheel", kRed, wheelRim, "Diameter 320 mm");
  b.addShape(kIron, wheelSpokes);
  const Ref gear_wheel =
      b.part("Crankshaft gear", kBrass, [](std::size_t n) { return spurGear(28, 37, 43, 12, n); });
  return b.assembly("Crank unit", {b.own(shaft, kIdentity), b.own(crank, at(0, -4, 0)),
                                   b.own(pin, at(0, -18, kCrankRadius)), b.own(wheel, at(0, 150, 0)),
                                   b.own(gear_wheel, at(0, 60, 0))});
}

Ref governor(Builder& b) {
  const Ref stand = b.part("Governor stand", kGreen, governorStand);
  const Ref sleeve = b.part("Governor sleeve", kBrass, governorSleeve);
  const Ref arm = b.part("Governor arm", kBrass, governorArm);
  return b.assembly("Governor", {b.own(stand, kIdentity), b.own(sleeve, at(0, 0, 128)),
                                 b.use(arm, at(5, 0, 184)), b.use(arm, tidied(placed(-5, 0, 184, 180)))});
}

Ref feedPump(Builder& b) {
  const Ref body = b.part("Pump body", kGreen, pumpBody);
  const Ref pinion = b.part("Pump pinion", kBrass, [](std::size_t n) { return spurGear(14, 17, 23, 7, n); });
  const Ref shaft = b.part("Pump shaft", kSteel, [](std::size_t n) { return crossBar(7, 60, n / 2); });
  return b.assembly("Feed pump", {b.own(body, at(0, 26, -115)), b.own(pinion, swung(kPinionPhase, 0, 0, 0)),
                                  b.own(shaft, at(0, 18, 0))});
}

}  // namespace

Product beamEngine() {
  const Pose now = pose();
  Builder b;
  const Ref bolt = b.part("Hex bolt M8", std::nullopt, hexBolt);
  const Ref pin = b.part("End pin", kSteel, [](std::size_t n) { return crossBar(7, 70, n / 2); });
  const Ref link =
      b.part("Link", kSteel, [](std::size_t n) { return eyedBar(kLinkLength, 12, 12, 6, 8, n); });
  const Ref rod = b.part("Connecting rod", kSteel, connectingRod);
  std::vector<Child> children;
  children.push_back(b.use(frame(b, bolt), kIdentity));
  children.push_back(b.use(cylinderUnit(b, bolt, now), at(kCylinderX, 0, kBaseHeight)));
  children.push_back(b.use(beamUnit(b, pin), swung(-now.beam_deg, 0, 0, kPivotHeight)));
  for (const double y : {-18.0, 18.0}) {
    children.push_back(b.use(link, swung(now.link_deg, now.crosshead.x, y, now.crosshead.y)));
  }
  children.push_back(b.own(rod, swung(now.rod_deg, now.crank_pin.x, -22, now.crank_pin.y)));
  children.push_back(b.use(crankUnit(b), swung(90 - kCrankAngle, kShaftX, 0, kShaftHeight)));
  children.push_back(b.use(governor(b), at(130, -70, kBaseHeight)));
  children.push_back(b.use(feedPump(b), at(kShaftX - 48, 60, kShaftHeight - 36)));
  const Ref root = b.assembly("Beam engine", std::move(children));
  b.product.name = "Beam engine";
  b.product.root = root;
  return std::move(b.product);
}

}  // namespace loftbay::maker
