// Simple solids and their meshes. A solid touches all sides of an axis-parallel box in its own coordinates; a
// rotation and a translation place it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "jttk/mesh/shape_geometry.h"

namespace jttk {

// Row-major; p' = rows * p.
using Rotation = std::array<double, 9>;

// `xyzw`: a quaternion of length about 1, its real part last.
Rotation rotationOf(const std::array<double, 4>& xyzw);

struct Solid {
  enum class Kind : std::uint8_t {
    Box,
    Frustum,    // along z; its ends are the ellipse of the box, scaled by end_scale
    Pyramid,    // its base is the box's lower side, its tip over the middle
    Ellipsoid,  // all round inside of the box
    Prism,      // a triangle pulled along an axis
  };
  Kind kind = Kind::Box;
  std::array<double, 3> low{};
  std::array<double, 3> high{};
  std::array<double, 2> end_scale = {1, 1};  // Frustum: of the lower and the upper end; > 0
  // Prism: one side of the triangle is the whole lower side of its rectangle. Position of the tip above that
  // side, as a share of its length.
  double tip = 0.5;
  // Prism: the triangle is in x and z and is pulled along y; else in x and y and pulled along z.
  bool pulled_along_y = true;

  Rotation rotation{};
  std::array<double, 3> origin{};
  std::array<float, 3> color{};
};

// How many sides approximate a circle: the sides keep within 0.1 percent of its diameter. A multiple of four,
// so that a solid touches its box.
inline constexpr std::size_t kFullCircleSides = 52;

// Corners of the polygons that a solid becomes.
std::size_t cornerCount(Solid::Kind kind, std::size_t circle_sides);

// Appends the solid's mesh to `mesh` (polygons): closed by shared positions, counter-clockwise seen from
// outside, with a normal per corner, smooth round curved sides, and the solid's colour where `with_color`.
void appendMesh(const Solid& solid, std::size_t circle_sides, bool with_color, ShapeGeometry& mesh);

}  // namespace jttk
