// Directions and angles that solids of the tests are made with.
#pragma once

#include <numbers>

#include "jttk/brep/vec.h"

namespace jttk::brep {

inline constexpr double kPi = std::numbers::pi;
inline constexpr Vec3 kX{1, 0, 0};
inline constexpr Vec3 kY{0, 1, 0};
inline constexpr Vec3 kZ{0, 0, 1};

}  // namespace jttk::brep
