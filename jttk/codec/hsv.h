// Colours that a file gives as hue, saturation and value.
#pragma once

#include <cmath>

namespace jttk {

// Hue in sextants of the colour circle, saturation and value 0 .. 1; in place.
inline void rgbFromHsv(float* color) {
  const float hue = color[0];
  const float saturation = color[1];
  const float value = color[2];
  const float sextant = std::floor(hue);
  const float along = hue - sextant;
  const float low = value * (1 - saturation);
  const float falling = value * (1 - saturation * along);
  const float rising = value * (1 - saturation * (1 - along));
  const auto set = [&](float r, float g, float b) { color[0] = r, color[1] = g, color[2] = b; };
  // The quantiser keeps the hue in 0 .. 6, and 6 is 0 again.
  switch (static_cast<int>(sextant) % 6) {
    case 0:
      return set(value, rising, low);
    case 1:
      return set(falling, value, low);
    case 2:
      return set(low, value, rising);
    case 3:
      return set(low, falling, value);
    case 4:
      return set(rising, low, value);
    default:
      return set(value, low, falling);
  }
}

}  // namespace jttk
