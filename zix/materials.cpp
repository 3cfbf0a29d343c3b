#include "zix/materials.h"

#include <algorithm>
#include <cmath>

namespace Orb::Zix {

namespace {

double unit(float value) {
  return std::isfinite(value) ? std::clamp(static_cast<double>(value), 0.0, 1.0) : 0.0;
}

std::array<double, 3> colorOf(const float (&values)[4]) {
  return {unit(values[0]), unit(values[1]), unit(values[2])};
}

}  // namespace

Appearance appearanceOf(const format::MaterialRecord& material) {
  Appearance appearance{};
  appearance.color = colorOf(material.colors[0]);
  appearance.emission = colorOf(material.colors[2]);
  appearance.opacity = 1 - unit(material.colors[0][3]);
  // The width of a highlight of exponent n is about that of roughness sqrt(2 / (n + 2)); the specular colour
  // says how much of it there is. The exponent is stored in the ambient intensity.
  const auto specular = colorOf(material.colors[1]);
  const double strength = *std::max_element(specular.begin(), specular.end());
  const float shininess = material.ambient_intensity;
  const double exponent = std::isfinite(shininess) ? std::max(0.0, static_cast<double>(shininess)) : 0.0;
  appearance.roughness = 1 - strength * (1 - std::sqrt(2 / (exponent + 2)));
  return appearance;
}

Appearance defaultAppearance() { return {{0.7, 0.7, 0.7}, {0, 0, 0}, 1, 1}; }

// The C library's power may differ from host to host in the last bit. Here it may: what it gives goes into
// exported files only, whose readers take colours as floats. Nothing that a scene holds depends on it.
double linearFromDisplay(double value) {
  return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

}  // namespace Orb::Zix
