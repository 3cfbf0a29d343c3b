// The few operations on three coordinates that solids and polygons need, in double precision.
#pragma once

#include <array>
#include <cmath>

namespace jttk {

using Vector3 = std::array<double, 3>;

inline Vector3 minus(const Vector3& a, const Vector3& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
inline Vector3 cross(const Vector3& a, const Vector3& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
inline double dot(const Vector3& a, const Vector3& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
inline double length(const Vector3& a) { return std::sqrt(dot(a, a)); }

}  // namespace jttk
