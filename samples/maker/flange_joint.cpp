// The flange is a profile turned about z, with holes parallel to z: planes, cylinders, a cone, two tori, and
// circles without vertices between them.
#include "samples/maker/flange_joint.h"

#include <cmath>
#include <numbers>

#include "samples/maker/solids.h"
#include "samples/maker/xt_model.h"

namespace loftbay::maker {
namespace {

constexpr Point kX{1, 0, 0};
constexpr Point kZ{0, 0, 1};

constexpr double kBore = 0.40;
constexpr double kFaceRadius = 0.55;  // of the raised face
constexpr double kFaceHeight = 0.02;
constexpr double kPlateRadius = 0.70;
constexpr double kPlateTop = 0.12;
constexpr double kRounding = 0.01;  // of the plate's upper edge
constexpr double kFillet = 0.03;    // between plate and neck
constexpr double kNeckRadius = 0.47;
constexpr double kNeckTop = 0.18;  // where the cone begins
constexpr double kTopRadius = 0.43;
constexpr double kTop = 0.35;
constexpr int kHoles = 16;
constexpr double kHoleRing = 0.63;
constexpr double kHoleRadius = 0.025;
constexpr double kSealRadius = 0.46;
constexpr double kSealThickness = 0.02;

// Rounded, so that the last bit of a sine or cosine changes no file.
double rounded(double value) { return std::round(value * 1073741824) / 1073741824; }

class Flange {
 public:
  Bytes stream() {
    // Rings along the profile, from the bore at the raised face outward and up.
    const int face_inner = ring(kBore, 0);
    const int face_outer = ring(kFaceRadius, 0);
    const int step = ring(kFaceRadius, kFaceHeight);
    const int rim_low = ring(kPlateRadius, kFaceHeight);
    const int rim_high = ring(kPlateRadius, kPlateTop - kRounding);
    const int plate_edge = ring(kPlateRadius - kRounding, kPlateTop);
    const int fillet_low = ring(kNeckRadius + kFillet, kPlateTop);
    const int fillet_high = ring(kNeckRadius, kPlateTop + kFillet);
    const int neck = ring(kNeckRadius, kNeckTop);
    const int top_outer = ring(kTopRadius, kTop);
    const int top_inner = ring(kBore, kTop);
    std::vector<XtModel::LoopSides> plate_below{{{rim_low, false}}, {{step, true}}};
    std::vector<XtModel::LoopSides> plate_above{{{plate_edge, true}}, {{fillet_low, false}}};
    for (int i = 0; i < kHoles; ++i) {
      const double angle = 2 * std::numbers::pi * (i + 0.5) / kHoles;
      const Point center{rounded(kHoleRing * std::cos(angle)), rounded(kHoleRing * std::sin(angle)), 0};
      const int low = ring(kHoleRadius, kFaceHeight, center);
      const int high = ring(kHoleRadius, kPlateTop, center);
      band(model_.cylinder(center, kZ, kX, kHoleRadius), true, true, low, high);
      plate_below.push_back({{low, true}});
      plate_above.push_back({{high, false}});
    }
    model_.face(plane(0, false), false, {{{face_outer, false}}, {{face_inner, true}}});
    band(model_.cylinder({}, kZ, kX, kFaceRadius), false, false, face_outer, step);
    model_.face(plane(kFaceHeight, false), false, plate_below);
    band(model_.cylinder({}, kZ, kX, kPlateRadius), false, false, rim_low, rim_high);
    const Point rounding_center{0, 0, kPlateTop - kRounding};
    band(model_.torus(rounding_center, kZ, kX, kPlateRadius - kRounding, kRounding), false, false, rim_high,
         plate_edge);
    model_.face(plane(kPlateTop, true), false, plate_above);
    const Point fillet_center{0, 0, kPlateTop + kFillet};
    // Hollow: the material is outside of the tube.
    band(model_.torus(fillet_center, kZ, kX, kNeckRadius + kFillet, kFillet), true, false, fillet_low,
         fillet_high);
    band(model_.cylinder({}, kZ, kX, kNeckRadius), false, false, fillet_high, neck);
    const double inward = kTopRadius - kNeckRadius;
    const double upward = kTop - kNeckTop;
    const double length = std::sqrt(inward * inward + upward * upward);
    const auto cone = model_.cone({0, 0, kNeckTop}, kZ, kX, kNeckRadius, 0);
    model_.nodes().number(cone, "sin_half_angle", inward / length);
    model_.nodes().number(cone, "cos_half_angle", upward / length);
    band(cone, false, false, neck, top_outer);
    model_.face(plane(kTop, true), false, {{{top_outer, true}}, {{top_inner, false}}});
    band(model_.cylinder({}, kZ, kX, kBore), true, true, face_inner, top_inner);
    model_.finish();
    return model_.stream();
  }

 private:
  int ring(double radius, double z, const Point& center = {}) {
    return model_.edge(model_.circle({center.x, center.y, z}, kZ, kX, radius), -1, -1);
  }
  XtWriter::Id plane(double z, bool up) { return model_.plane({0, 0, z}, up ? kZ : -kZ, kX); }
  // Between two rings round z; `inward`: the face is seen from the axis, not from outside. `reversed`: the
  // face's outside is the back of the surface.
  void band(XtWriter::Id surface, bool reversed, bool inward, int low, int high) {
    model_.face(surface, reversed, {{{low, !inward}}, {{high, inward}}});
  }

  XtModel model_;
};

Bytes seal() {
  XtModel model;
  model.face(model.torus({}, kZ, kX, kSealRadius, kSealThickness / 2), false, {});
  model.finish();
  return model.stream();
}

Material paint(float red, float green, float blue) {
  Material material;
  material.diffuse = {red, green, blue, 1};
  return material;
}

}  // namespace

Product flangeJoint() {
  Product product;
  product.name = "Flange joint";
  constexpr auto kReach = static_cast<float>(kPlateRadius);
  constexpr auto kSealReach = static_cast<float>(kSealRadius + kSealThickness / 2);
  constexpr auto kHalf = static_cast<float>(kSealThickness / 2);
  Part flange{"Flange", "Meters", paint(0.62F, 0.66F, 0.70F), {}, {}};
  flange.exact =
      ExactGeometry{Flange().stream(), {-kReach, -kReach, 0}, {kReach, kReach, static_cast<float>(kTop)}};
  Part ring{"Seal", "Meters", paint(0.75F, 0.22F, 0.12F), {}, {}};
  ring.exact = ExactGeometry{seal(), {-kSealReach, -kSealReach, -kHalf}, {kSealReach, kSealReach, kHalf}};
  product.parts = {std::move(flange), std::move(ring)};
  Assembly root{"Flange joint", "Meters", std::nullopt, {}};
  root.children.push_back({partRef(0), "Upper flange", translation(0, 0, kSealThickness / 2), std::nullopt});
  Matrix turned = kIdentity;  // half a turn about x
  turned[5] = turned[10] = -1;
  turned[14] = -kSealThickness / 2;
  root.children.push_back({partRef(0), "Lower flange", turned, std::nullopt});
  root.children.push_back({partRef(1), "", std::nullopt, std::nullopt, true});
  product.assemblies.push_back(std::move(root));
  product.root = assemblyRef(0);
  return product;
}

}  // namespace loftbay::maker
