// The canvas of the renderer: a colour and a depth per sample, `kSamples` by `kSamples` of them per pixel.
// Coordinates are in samples of the whole picture, y downwards, depth away from the viewer. A canvas may hold
// some rows of the picture only, so that a large picture needs no more memory than a small one; its pixels
// are the same then.
//
// Surfaces that let light through come after everything else, in layers: each round of drawing all of them
// finds, for every sample, the nearest one behind those of the rounds before.
//
//   for (…) canvas.triangle(…, opaque);
//   canvas.beginLayers();
//   do { for (…) canvas.triangle(…, transparent); } while (canvas.endLayer());
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace Orb::Zix {

using Vec3 = std::array<float, 3>;

struct ScreenVertex {
  float x;
  float y;
  float depth;
  Vec3 normal;  // of the side from which a triangle's corners go round against the clock; y up, z to the
                // viewer
};

// How surfaces of one mesh are coloured.
struct Surface {
  Vec3 color;
  Vec3 emission;
  float gloss;    // strength of the highlight
  float opacity;  // share of the light from behind that it keeps away
};

using Color4 = std::array<std::uint8_t, 4>;  // red, green, blue, opacity

class Canvas {
 public:
  static constexpr std::uint32_t kSamples = 2;
  // What is behind this many transparent surfaces is not seen through them.
  static constexpr std::uint32_t kMostLayers = 32;

  // In pixels.
  struct Rows {
    std::uint32_t begin;
    std::uint32_t end;
  };

  Canvas(std::uint32_t width, std::uint32_t height) : Canvas(width, height, Rows{0, height}) {}
  Canvas(std::uint32_t width, std::uint32_t height, const Rows& rows);

  void triangle(const ScreenVertex& a, const ScreenVertex& b, const ScreenVertex& c, const Surface& surface);
  // Hides what is behind it and leaves the background as it is.
  void blank(const ScreenVertex& a, const ScreenVertex& b, const ScreenVertex& c);
  // One pixel wide, a little in front of surfaces at the same depth.
  void line(const ScreenVertex& a, const ScreenVertex& b, const Vec3& color);
  void point(const ScreenVertex& at, const Vec3& color);
  void setDepthBias(float bias) { depth_bias_ = bias; }

  // From now on only triangles that are transparent are drawn.
  void beginLayers();
  // False when the layer was empty, or when no further one is wanted.
  bool endLayer();

  // Averages the samples over the background: four bytes per pixel (red, green, blue, opacity), colours as
  // they are without it. Without a colour the background is light above and darker below.
  [[nodiscard]] std::vector<std::uint8_t> resolve(const std::optional<Color4>& background = {}) const;

  // Whether anything at that height can be on this canvas.
  [[nodiscard]] bool reaches(float top, float bottom) const;

 private:
  struct Layer {
    float peeled;         // depth of the nearest surface that is done
    float depth;          // of the nearest one behind it
    std::uint32_t color;  // its; the opacity in the upper byte
    float through = 1;    // share of the light that all that are done let pass
    Vec3 sum{};           // of their colours, by what is seen of each
  };

  template <typename Write>
  void forEachSample(const ScreenVertex& a, const ScreenVertex& b, const ScreenVertex& c, Write write);
  void dot(float x, float y, float depth, const Vec3& color);

  std::uint32_t width_;  // in samples
  std::uint32_t height_;
  std::uint32_t begin_;  // of the rows that are held, in samples
  std::uint32_t end_;
  float depth_bias_ = 0;
  std::vector<float> depth_;
  std::vector<std::uint32_t> color_;  // 0xFFBBGGRR; 0 where nothing was drawn
  std::vector<Layer> layers_;
  std::uint32_t layer_count_ = 0;
};

}  // namespace Orb::Zix
