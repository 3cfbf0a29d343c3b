// The materials, the pose of the moving parts, and how parts and assemblies are put together.
#include "samples/maker/beam_engine.h"

#include <cmath>
#include <functional>
#include <utility>

#include "samples/maker/beam_engine_solids.h"

namespace loftbay::maker {
namespace {

using namespace engine;

constexpr double kPivotHeight = 335;
constexpr double kShaftX = 230;
constexpr double kShaftHeight = 175;
constexpr double kCrankAngle = 50;
constexpr double kLinkLength = 64;
constexpr double kCylinderX = -230;
constexpr double kPinionPhase = 6.5;  // so that its teeth meet the gaps of the gear

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
  // The target's own node is in the tree, without an instance node.
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
