#include "convert/decomposition.h"

#include <cmath>
#include <cstddef>

#include "host/portable_math.h"

namespace loftbay::convert {

namespace {

float dot(const Vector3& a, const Vector3& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

// Root and reciprocal in double precision: a quarter turn about z then has the axis (0, 0, 1) exactly.
float reciprocalRoot(float square) {
  return static_cast<float>(1.0 / std::sqrt(static_cast<double>(square)));
}

Vector3 normalized(const Vector3& v) {
  const float factor = reciprocalRoot(dot(v, v));
  return {v[0] * factor, v[1] * factor, v[2] * factor};
}

Vector3 column(const Matrix3& m, std::size_t c) { return {m[0][c], m[1][c], m[2][c]}; }

float determinant(const Matrix3& m) {
  return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
         m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
         m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
}

}  // namespace

Decomposition decompose(const Matrix3& linear) {
  const Vector3 a0 = column(linear, 0);
  const Vector3 a1 = column(linear, 1);
  const Vector3 a2 = column(linear, 2);

  const Vector3 q0 = normalized(a0);
  const float d = dot(q0, a1);
  const Vector3 q1 = normalized({a1[0] - d * q0[0], a1[1] - d * q0[1], a1[2] - d * q0[2]});
  const float d0 = dot(q0, a2);
  const float d1 = dot(q1, a2);
  const Vector3 q2 = normalized(
      {a2[0] - d0 * q0[0] - d1 * q1[0], a2[1] - d0 * q0[1] - d1 * q1[1], a2[2] - d0 * q0[2] - d1 * q1[2]});

  Decomposition result;
  Matrix3& q = result.rotation;
  for (std::size_t row = 0; row < 3; ++row) q[row] = {q0[row], q1[row], q2[row]};
  // The whole matrix, not one column: a mirror becomes a scale that is negative on all three axes.
  if (determinant(q) < 0.0F) {
    for (auto& row : q) {
      for (float& entry : row) entry = -entry;
    }
  }
  const Vector3 c0 = column(q, 0);
  const Vector3 c1 = column(q, 1);
  const Vector3 c2 = column(q, 2);
  result.scale = {dot(c0, a0), dot(c1, a1), dot(c2, a2)};
  result.shear = {dot(c0, a1) / result.scale[0], dot(c0, a2) / result.scale[0],
                  dot(c1, a2) / result.scale[1]};
  return result;
}

AxisAngle axisAngle(const Matrix3& rotation) {
  const Matrix3& q = rotation;
  Vector3 v{};
  float w = 0.0F;
  const float trace = q[0][0] + q[1][1] + q[2][2];
  if (trace > 0.0F) {
    const auto s = static_cast<float>(std::sqrt(static_cast<double>(trace + 1.0F)));
    w = s * 0.5F;
    const float f = 0.5F / s;
    v = {(q[2][1] - q[1][2]) * f, (q[0][2] - q[2][0]) * f, (q[1][0] - q[0][1]) * f};
  } else {
    constexpr std::array<std::size_t, 3> kNext = {1, 2, 0};
    std::size_t i = q[1][1] > q[0][0] ? 1 : 0;
    if (q[2][2] > q[i][i]) i = 2;
    const std::size_t j = kNext[i];
    const std::size_t k = kNext[j];
    const auto s = static_cast<float>(std::sqrt(static_cast<double>(q[i][i] - q[j][j] - q[k][k] + 1.0F)));
    v[i] = s * 0.5F;
    const float f = 0.5F / s;
    w = (q[k][j] - q[j][k]) * f;
    v[j] = (q[i][j] + q[j][i]) * f;
    v[k] = (q[i][k] + q[k][i]) * f;
  }
  const float n = v[1] * v[1] + v[0] * v[0] + v[2] * v[2];
  if (!(n > 0.0F)) return {{1.0F, 0.0F, 0.0F}, 0.0F};
  const float factor = reciprocalRoot(n);
  // In double and then narrowed: the same bits on every host.
  const auto half_angle = static_cast<float>(portable::acos(static_cast<double>(w)));
  return {{v[0] * factor, v[1] * factor, v[2] * factor}, 2.0F * half_angle};
}

}  // namespace loftbay::convert
