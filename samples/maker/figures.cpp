#include "samples/maker/figures.h"

#include <algorithm>
#include <cmath>

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

}  // namespace loftbay::maker
