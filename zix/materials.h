// How a scene's material looks on a display: shared by render and the exports that know colours.
#pragma once

#include <array>

#include "zix/format.h"

namespace Orb::Zix {

// All values between 0 and 1; what is not finite in the file counts as 0.
struct Appearance {
  std::array<double, 3> color;     // diffuse, display encoding (sRGB)
  std::array<double, 3> emission;  // display encoding
  double opacity;                  // one minus the fourth diffuse value
  double roughness;                // 1 without a specular colour; less the brighter and narrower it is
};

Appearance appearanceOf(const format::MaterialRecord& material);
// Of a mesh without a material: light grey, dull, opaque.
Appearance defaultAppearance();

// From the display's encoding to linear light.
double linearFromDisplay(double value);

}  // namespace Orb::Zix
