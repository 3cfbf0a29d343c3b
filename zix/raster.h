// The canvas of the renderer: a colour and a depth per sample, `kSamples` by `kSamples` of them per pixel.
// Coordinates are in samples, y downwards, depth away from the viewer.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace Orb::Zix {

using Vec3 = std::array<float, 3>;

struct ScreenVertex {
  float x;
  float y;
  float depth;
  Vec3 normal;
};

// How surfaces of one mesh are coloured.
struct Surface {
  Vec3 color;
  Vec3 emission;
  float gloss;    // strength of the highlight
  float opacity;  // below 1, that part of the samples is drawn, in a fixed pattern
};

class Canvas {
 public:
  static constexpr std::uint32_t kSamples = 2;

  Canvas(std::uint32_t width, std::uint32_t height);

  void triangle(const ScreenVertex& a, const ScreenVertex& b, const ScreenVertex& c, const Surface& surface);
  // One pixel wide, a little in front of surfaces at the same depth.
  void line(const ScreenVertex& a, const ScreenVertex& b, const Vec3& color);
  void point(const ScreenVertex& at, const Vec3& color);
  void setDepthBias(float bias) { depth_bias_ = bias; }

  // Averages the samples over the background.
  [[nodiscard]] std::vector<std::uint8_t> resolve() const;

 private:
  void dot(float x, float y, float depth, const Vec3& color);

  std::uint32_t width_;  // in samples
  std::uint32_t height_;
  float depth_bias_ = 0;
  std::vector<float> depth_;
  std::vector<std::uint32_t> color_;  // 0xFFBBGGRR; 0 where nothing was drawn
};

}  // namespace Orb::Zix
