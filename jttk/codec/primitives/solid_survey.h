// Measures of the meshes of solids, by which solids are compared.
#pragma once

#include <array>
#include <limits>

#include "jttk/mesh/shape_geometry.h"
#include "jttk/mesh/vector3.h"

namespace jttk {

// Box, area and the moments of the volume up to the second order.
struct Survey {
  Vector3 low = {std::numeric_limits<double>::max(), std::numeric_limits<double>::max(),
                 std::numeric_limits<double>::max()};
  Vector3 high = {std::numeric_limits<double>::lowest(), std::numeric_limits<double>::lowest(),
                  std::numeric_limits<double>::lowest()};
  double area = 0;
  double volume = 0;
  Vector3 first{};                 // about the origin that measure() is given
  std::array<double, 6> second{};  // xx yy zz xy yz zx
};

// Adds a closed mesh of convex polygons to the survey.
void measure(const ShapeGeometry& mesh, const Vector3& origin, Survey& survey);

// Whether two surveys are of the same solids, `size` being about how large they are.
[[nodiscard]] bool areSame(const Survey& a, const Survey& b, double size);

}  // namespace jttk
