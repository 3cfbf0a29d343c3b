// Small solid modelling for samples: closed bodies with outward winding, made of profiles, put together to
// shapes with smooth and sharp edges. Lengths in the product's units, angles in degrees unless they end in
// `_rad`. Coordinates are rounded to 1/1024, so that a last bit of sine or cosine changes no file.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "samples/maker/product.h"

namespace loftbay::maker {

struct Point2 {
  double x = 0;
  double y = 0;
};
using Outline = std::vector<Point2>;

// A body under construction: positions and triangles, counter-clockwise seen from outside.
struct Solid {
  std::vector<std::array<double, 3>> positions;
  std::vector<std::array<std::uint32_t, 3>> triangles;

  Solid& move(double x, double y, double z);
  Solid& turnX(double angle_deg);
  Solid& turnY(double angle_deg);
  // Adds another body; bodies may touch or overlap, they stay separate.
  Solid& add(const Solid& other);
};

// A box with its centre in x and y at 0, from z = 0 up.
Solid box(double size_x, double size_y, double size_z);

// A closed outline in the half plane of radius (x >= 0) and height (y), turned around z. The outline is
// counter-clockwise; points with radius 0 are poles.
Solid turned(const Outline& profile, std::size_t segments);
inline Solid cylinder(double radius, double height, std::size_t segments) {
  return turned({{0, 0}, {radius, 0}, {radius, height}, {0, height}}, segments);
}
Solid ball(double radius, std::size_t segments);

// An outline (counter-clockwise) with holes (clockwise) in the plane z = 0, pulled up to z = height.
Solid extruded(const Outline& outline, const std::vector<Outline>& holes, double height);

// A circular section along a path in space, closed at both ends.
Solid pipe(const std::vector<std::array<double, 3>>& path, double radius, std::size_t segments);

Outline circle(double x, double y, double radius, std::size_t segments);
Outline rectangle(double x0, double y0, double x1, double y1);
Outline reversed(Outline outline);
// Around two circles of different radius, joined by their tangents (a lever).
Outline lever(const Point2& a, double radius_a, const Point2& b, double radius_b, std::size_t segments);
Outline gear(std::size_t teeth, double root_radius, double tip_radius);
inline Outline hexagon(double radius) { return circle(0, 0, radius, 6); }

// Triangles with normals: facets that meet at less than `crease_deg` share a smooth normal.
Shape toShape(const Solid& solid, double crease_deg = 35);

// Rotation about z, then a move.
Matrix placed(double x, double y, double z, double turn_z_deg = 0);
Matrix multiplied(const Matrix& first, const Matrix& second);
Matrix rotationY(double angle_deg);
Matrix rotationZ(double angle_deg);
Matrix translation(double x, double y, double z);

// The ears of a simple polygon with holes, as indices into outline followed by the holes.
std::vector<std::array<std::uint32_t, 3>> triangulated(const Outline& outline,
                                                       const std::vector<Outline>& holes);

}  // namespace loftbay::maker
