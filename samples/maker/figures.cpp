#include "samples/maker/figures.h"

#include <algorithm>
#include <cmath>

#include "samples/maker/primitives.h"

namespace loftbay::maker {

void Figures::include(const Vec3& point) {
  if (empty) min = max = point;
  empty = false;
  min = {std::min(min.x, point.x), std::min(min.y, point.y), std::min(min.z, point.z)};
  max = {std::max(max.x, point.x), std::max(max.y, point.y), std::max(max.z, point.z)};
}

void Figures::add(const Figures& other) {
  if (!other.empty) {
    include(other.min);
    include(other.max);
  }
  area += other.area;
  vertices += other.vertices;
  nodes += other.nodes;
  polygons += other.polygons;
}

Figures Figures::placed(const Matrix& m) const {
  Figures out = *this;
  out.empty = true;
  if (!empty) {
    for (int corner = 0; corner < 8; ++corner) {
      const double p[3] = {corner & 1 ? max.x : min.x, corner & 2 ? max.y : min.y,
                           corner & 4 ? max.z : min.z};
      float q[3];
      for (std::size_t k = 0; k < 3; ++k) {
        q[k] = static_cast<float>(p[0] * m[k] + p[1] * m[4 + k] + p[2] * m[8 + k] + m[12 + k]);
      }
      out.include({q[0], q[1], q[2]});
    }
  }
  const double determinant = m[0] * (m[5] * m[10] - m[6] * m[9]) - m[1] * (m[4] * m[10] - m[6] * m[8]) +
                             m[2] * (m[4] * m[9] - m[5] * m[8]);
  out.area = area * std::pow(std::fabs(determinant), 2.0 / 3.0);
  return out;
}

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
