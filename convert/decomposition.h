// Splits the linear part of a placement matrix into rotation and scale, and a rotation into axis and angle.
// Where single and where double precision is used is fixed, so that every host gives the same bits.
#pragma once

#include <array>

namespace loftbay::convert {

// Three rows of three, m[row][column].
using Matrix3 = std::array<std::array<float, 3>, 3>;
using Vector3 = std::array<float, 3>;

struct Decomposition {
  Matrix3 rotation{};  // determinant +1
  Vector3 scale{};     // negative on all three axes where `linear` mirrors
  Vector3 shear{};
};

// Classical Gram-Schmidt on the columns. Columns of length zero or dependent ones give infinities and NaNs.
Decomposition decompose(const Matrix3& linear);

struct AxisAngle {
  Vector3 axis{};  // unit vector
  float angle_rad = 0.0F;
};

// Through the quaternion by the largest diagonal entry. (1, 0, 0) and 0 where there is no rotation; the
// angle may exceed pi.
AxisAngle axisAngle(const Matrix3& rotation);

}  // namespace loftbay::convert
