#include "jttk/codec/primitives/primitive_readings.h"

#include <algorithm>

namespace jttk {

namespace {

using Kind = Solid::Kind;

bool arePositive(const std::array<float, 3>& size) { return size[0] > 0 && size[1] > 0 && size[2] > 0; }

// From (-left * x, -left * y, -below * z) on.
std::optional<Solid> standing(Kind kind, const std::array<float, 3>& size, double left, double below) {
  if (!arePositive(size)) return std::nullopt;
  Solid solid;
  solid.kind = kind;
  const double share[] = {left, left, below};
  for (std::size_t k = 0; k < 3; ++k) {
    solid.low[k] = -share[k] * size[k];
    solid.high[k] = (1 - share[k]) * size[k];
  }
  return solid;
}

std::optional<Solid> boxFromCorner(const std::array<float, 3>& size) {
  return standing(Kind::Box, size, 0, 0);
}
std::optional<Solid> boxAroundMiddle(const std::array<float, 3>& size) {
  return standing(Kind::Box, size, 0.5, 0.5);
}
std::optional<Solid> boxOfHalves(const std::array<float, 3>& size) {
  return standing(Kind::Box, {2 * size[0], 2 * size[1], 2 * size[2]}, 0.5, 0.5);
}

std::optional<Solid> ellipticCylinder(const std::array<float, 3>& size, double below) {
  return standing(Kind::Frustum, {2 * size[0], 2 * size[1], size[2]}, 0.5, below);
}
std::optional<Solid> coneFrustum(const std::array<float, 3>& size, double below) {
  if (!arePositive(size)) return std::nullopt;
  const float widest = std::max(size[0], size[1]);
  auto solid = standing(Kind::Frustum, {2 * widest, 2 * widest, size[2]}, 0.5, below);
  if (solid) solid->end_scale = {double{size[0]} / widest, double{size[1]} / widest};
  return solid;
}
// The third number is not used.
std::optional<Solid> plainCylinder(const std::array<float, 3>& size, double below) {
  if (size[2] != 0) return std::nullopt;
  return standing(Kind::Frustum, {2 * size[0], 2 * size[0], size[1]}, 0.5, below);
}

std::optional<Solid> prism(const std::array<float, 3>& size, double left, double tip, bool pulled_along_y) {
  auto solid = standing(Kind::Prism, size, left, left);
  if (!solid) return solid;
  solid->tip = tip;
  solid->pulled_along_y = pulled_along_y;
  return solid;
}

std::optional<Solid> ball(const std::array<float, 3>& size) {
  if (size[1] != 0 || size[2] != 0) return std::nullopt;
  return standing(Kind::Ellipsoid, {2 * size[0], 2 * size[0], 2 * size[0]}, 0.5, 0.5);
}
std::optional<Solid> ellipsoid(const std::array<float, 3>& size) {
  return standing(Kind::Ellipsoid, {2 * size[0], 2 * size[1], 2 * size[2]}, 0.5, 0.5);
}

constexpr Reading kBoxes[] = {boxFromCorner, boxAroundMiddle, boxOfHalves};
constexpr Reading kCylinders[] = {
    [](const std::array<float, 3>& s) { return ellipticCylinder(s, 0); },
    [](const std::array<float, 3>& s) { return coneFrustum(s, 0); },
    [](const std::array<float, 3>& s) { return plainCylinder(s, 0); },
    [](const std::array<float, 3>& s) { return ellipticCylinder(s, 0.5); },
    [](const std::array<float, 3>& s) { return coneFrustum(s, 0.5); },
    [](const std::array<float, 3>& s) { return plainCylinder(s, 0.5); },
};
constexpr Reading kPyramids[] = {
    [](const std::array<float, 3>& s) { return standing(Kind::Pyramid, s, 0.5, 0); },
    [](const std::array<float, 3>& s) { return standing(Kind::Pyramid, s, 0, 0); },
};
constexpr Reading kSpheres[] = {ball, ellipsoid};
constexpr Reading kPrisms[] = {
    [](const std::array<float, 3>& s) { return prism(s, 0, 0, true); },
    [](const std::array<float, 3>& s) { return prism(s, 0, 0.5, true); },
    [](const std::array<float, 3>& s) { return prism(s, 0, 0, false); },
    [](const std::array<float, 3>& s) { return prism(s, 0, 0.5, false); },
    [](const std::array<float, 3>& s) { return prism(s, 0.5, 0, true); },
    [](const std::array<float, 3>& s) { return prism(s, 0.5, 0.5, true); },
    [](const std::array<float, 3>& s) { return prism(s, 0.5, 0, false); },
    [](const std::array<float, 3>& s) { return prism(s, 0.5, 0.5, false); },
};
constexpr std::array<std::span<const Reading>, kPrimitiveTypes> kOfType = {kBoxes, kCylinders, kPyramids,
                                                                           kSpheres, kPrisms};

}  // namespace

std::span<const Reading> readingsOf(PrimitiveType type) { return kOfType[static_cast<std::size_t>(type)]; }

std::optional<Solid> solidOf(const Primitive& primitive, Reading reading, RealPart real_part) {
  std::optional<Solid> solid = reading(primitive.size);
  if (!solid) return solid;
  const auto& q = primitive.rotation;
  solid->rotation = real_part == RealPart::Last ? rotationOf({q[0], q[1], q[2], q[3]})
                                                : rotationOf({q[1], q[2], q[3], q[0]});
  solid->origin = {primitive.origin[0], primitive.origin[1], primitive.origin[2]};
  solid->color = primitive.color;
  return solid;
}

}  // namespace jttk
