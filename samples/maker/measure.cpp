#include "samples/maker/measure.h"

#include <cmath>

#include "samples/maker/primitives.h"

namespace loftbay::maker {

Figures measure(const Shape& shape) {
  if (shape.kind == ShapeKind::Solids) return measureSolids(shape.solids);
  Figures out;
  out.nodes = 1;
  for (const auto p : shape.corner_positions) out.include(shape.positions[p]);
  const bool polygons = shape.kind == ShapeKind::Triangles || shape.kind == ShapeKind::Polygons;
  out.vertices = shape.corner_positions.size();
  if (!polygons) return out;
  out.polygons = shape.primitiveCount();
  for (std::size_t i = 0; i < shape.primitiveCount(); ++i) {
    const auto at = [&](std::size_t c) { return shape.positions[shape.corner_positions[c]]; };
    const std::size_t first = shape.primitive_starts[i];
    for (std::size_t c = first + 1; c + 1 < shape.primitive_starts[i + 1]; ++c) {
      const Vec3 a = at(first);
      const double u[3] = {double(at(c).x) - a.x, double(at(c).y) - a.y, double(at(c).z) - a.z};
      const double v[3] = {double(at(c + 1).x) - a.x, double(at(c + 1).y) - a.y, double(at(c + 1).z) - a.z};
      const double n[3] = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
      out.area += 0.5 * std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
    }
  }
  return out;
}

}  // namespace loftbay::maker
