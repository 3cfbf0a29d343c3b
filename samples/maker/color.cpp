#include "samples/maker/color.h"

#include <algorithm>

namespace loftbay::maker {

Rgba toHsv(const Rgba& rgba) {
  const auto [r, g, b, alpha] = rgba;
  const float most = std::max({r, g, b});
  const float span = most - std::min({r, g, b});
  float hue = 0;
  if (span > 0) {
    if (most == r) {
      hue = (g - b) / span;
    } else if (most == g) {
      hue = 2 + (b - r) / span;
    } else {
      hue = 4 + (r - g) / span;
    }
    if (hue < 0) hue += 6;
  }
  return {hue, most > 0 ? span / most : 0, most, alpha};
}

std::array<UniformQuantiser, 4> colorQuantisers(const Options& options) {
  std::array<UniformQuantiser, 4> out;
  for (auto& quantiser : out) quantiser = {0, 1, options.color_bits};
  if (options.hsv_colors) out[0].max = 6;
  return out;
}

void writeColorQuantisers(ByteWriter& out, const Options& options) {
  out.u8(options.hsv_colors ? 1 : 0);
  for (const auto& quantiser : colorQuantisers(options)) {
    if (!options.hsv_colors) {
      out.f32(quantiser.min);
      out.f32(quantiser.max);
    }
    out.u8(quantiser.bits);
  }
}

std::array<UniformQuantiser, 2> textureQuantisers(const Shape& shape, std::uint8_t bits) {
  std::array<UniformQuantiser, 2> out;
  for (std::size_t k = 0; k < 2; ++k) {
    out[k].bits = bits;
    for (std::size_t i = 0; i < shape.texture_coordinates.size(); ++i) {
      const float value = shape.texture_coordinates[i][k];
      out[k].min = i == 0 ? value : std::min(out[k].min, value);
      out[k].max = i == 0 ? value : std::max(out[k].max, value);
    }
  }
  return out;
}

}  // namespace loftbay::maker
