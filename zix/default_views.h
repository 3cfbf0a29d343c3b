// The named cameras of a scene, fitted to its bounds.
#pragma once

#include <array>
#include <string_view>

#include "zix/bounds.h"

namespace Orb::Zix {

struct View {
  std::string_view name;
  std::array<double, 3> position;
  std::array<double, 3> target;
  std::array<double, 3> up;  // unit vector, at a right angle to the direction of view for all but iso
  double height;             // of the picture in a parallel projection, in the scene's unit
};

// front, back, left, right, top, bottom, iso: all look at the box's centre from twice its diagonal; z is up.
// An empty box counts as the point 0, and a box of no extent as one of diagonal 2.
std::array<View, 7> defaultViews(const BoxD& bounds);

}  // namespace Orb::Zix
