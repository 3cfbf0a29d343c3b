#include "zix/raster.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace Orb::Zix {

namespace {

constexpr std::uint32_t kOpaque = 0xFF000000;  // also of black, so that 0 is no colour

std::uint32_t pack(const Vec3& color) {
  std::uint32_t packed = kOpaque;
  for (std::size_t k = 0; k < 3; ++k) {
    const float value = std::min(std::max(color[k], 0.0F), 1.0F) * 255.0F + 0.5F;
    packed |= static_cast<std::uint32_t>(value) << (8 * k);
  }
  return packed;
}

float inverseLength(const Vec3& n) {
  const float square = n[0] * n[0] + n[1] * n[1] + n[2] * n[2];
  return square > 0 ? 1.0F / std::sqrt(square) : 0.0F;
}

// Light comes from the viewer, from a little above and to the left of the line of sight. `side` is 1 where
// the triangle's front is seen, and -1 where its back is, which is lit as if it faced the viewer: so open
// shells show their inside. It is the triangle's: at a silhouette, normals between its corners lean to the
// far side.
std::uint32_t shade(const Vec3& n, float side, const Surface& surface) {
  constexpr Vec3 kLight = {-0.30F, 0.45F, 0.84F};
  const float facing = (n[0] * kLight[0] + n[1] * kLight[1] + n[2] * kLight[2]) * inverseLength(n) * side;
  const float diffuse = 0.28F + 0.72F * std::max(facing, 0.0F);
  const float f2 = facing * facing;
  const float f8 = f2 * f2 * f2 * f2;
  const float highlight = facing > 0 ? surface.gloss * f8 * f8 : 0.0F;
  Vec3 color{};
  for (std::size_t k = 0; k < 3; ++k) {
    // Light adds up in linear light, for which squares of display values are near enough.
    const float lit = surface.color[k] * diffuse;
    const float glow = surface.emission[k];
    color[k] = (glow > 0 ? std::sqrt(lit * lit + glow * glow) : lit) + highlight;
  }
  return pack(color);
}

struct Range {
  std::uint32_t begin;
  std::uint32_t end;
};

// Samples whose centres lie between both values, cut to those from `first` to `last`.
Range samplesBetween(float low, float high, std::uint32_t first, std::uint32_t last) {
  const float least = static_cast<float>(first);
  const float most = static_cast<float>(last);
  const float begin = std::ceil(std::clamp(low, least, most) - 0.5F);
  const float end = std::floor(std::clamp(high, least, most) - 0.5F) + 1.0F;
  return {static_cast<std::uint32_t>(std::max(begin, least)),
          static_cast<std::uint32_t>(std::max(end, least))};
}

}  // namespace

Canvas::Canvas(std::uint32_t width, std::uint32_t height, const Rows& rows)
    : width_(width * kSamples),
      height_(height * kSamples),
      begin_(rows.begin * kSamples),
      end_(rows.end * kSamples),
      depth_(std::size_t{width_} * (end_ - begin_), std::numeric_limits<float>::infinity()),
      color_(depth_.size(), 0) {}

bool Canvas::reaches(float top, float bottom) const {
  // Lines and points are a little wider than they are high.
  return top - 4 <= static_cast<float>(end_) && bottom + 4 >= static_cast<float>(begin_);
}

namespace {

// One side of a triangle: which samples are on the triangle's side of it, those on the side included. Two
// triangles that share a side must agree about every sample, else some would belong to neither of them. So
// the value is always worked out from the same end, whichever the triangle has first.
class Side {
 public:
  // `turn`: 1, or -1 where the triangle's corners go round the other way.
  Side(const ScreenVertex& from, const ScreenVertex& to, double turn) {
    const bool swaps = std::pair(from.x, from.y) > std::pair(to.x, to.y);
    const ScreenVertex& first = swaps ? to : from;
    const ScreenVertex& second = swaps ? from : to;
    x_ = first.x;
    y_ = first.y;
    const double sign = swaps ? -turn : turn;
    dx_ = sign * (double{second.x} - double{first.x});
    dy_ = sign * (double{second.y} - double{first.y});
  }
  // Twice the area of the triangle of side and sample; negative beyond the side.
  [[nodiscard]] double at(double x, double y) const { return dx_ * (y - y_) - dy_ * (x - x_); }

 private:
  double x_;
  double y_;
  double dx_;
  double dy_;
};

// Twice the triangle's; negative where its corners go round against the clock, as those of a front do.
double areaOf(const ScreenVertex& a, const ScreenVertex& b, const ScreenVertex& c) {
  return (double{b.x} - double{a.x}) * (double{c.y} - double{a.y}) -
         (double{b.y} - double{a.y}) * (double{c.x} - double{a.x});
}

}  // namespace

// Calls `write(sample, depth, u, v)`: u and v are the shares of b and c.
template <typename Write>
void Canvas::forEachSample(const ScreenVertex& a, const ScreenVertex& b, const ScreenVertex& c, Write write) {
  const Range columns = samplesBetween(std::min({a.x, b.x, c.x}), std::max({a.x, b.x, c.x}), 0, width_);
  const Range rows = samplesBetween(std::min({a.y, b.y, c.y}), std::max({a.y, b.y, c.y}), begin_, end_);
  if (columns.begin >= columns.end || rows.begin >= rows.end) return;
  const double area = areaOf(a, b, c);
  if (!(area != 0) || !std::isfinite(area)) return;
  const double turn = area < 0 ? -1 : 1;
  const Side ab(a, b, turn);
  const Side bc(b, c, turn);
  const Side ca(c, a, turn);
  const double inverse_area = turn / area;
  for (std::uint32_t y = rows.begin; y < rows.end; ++y) {
    const double sample_y = y + 0.5;
    const std::size_t row = std::size_t{y - begin_} * width_;
    for (std::uint32_t x = columns.begin; x < columns.end; ++x) {
      const double sample_x = x + 0.5;
      const double beside_ab = ab.at(sample_x, sample_y);
      const double beside_ca = ca.at(sample_x, sample_y);
      if (!(beside_ab >= 0 && beside_ca >= 0 && bc.at(sample_x, sample_y) >= 0)) continue;
      const auto u = static_cast<float>(beside_ca * inverse_area);
      const auto v = static_cast<float>(beside_ab * inverse_area);
      write(row + x, a.depth + u * (b.depth - a.depth) + v * (c.depth - a.depth), u, v);
    }
  }
}

void Canvas::triangle(const ScreenVertex& a, const ScreenVertex& b, const ScreenVertex& c,
                      const Surface& surface) {
  const bool smooth = a.normal != b.normal || a.normal != c.normal;
  const float side = areaOf(a, b, c) < 0 ? 1.0F : -1.0F;
  const std::uint32_t flat = smooth ? 0 : shade(a.normal, side, surface);
  const auto colorAt = [&](float u, float v) {
    if (!smooth) return flat;
    Vec3 normal{};
    for (std::size_t k = 0; k < 3; ++k) {
      normal[k] = a.normal[k] + u * (b.normal[k] - a.normal[k]) + v * (c.normal[k] - a.normal[k]);
    }
    return shade(normal, side, surface);
  };
  if (layers_.empty()) {
    forEachSample(a, b, c, [&](std::size_t sample, float depth, float u, float v) {
      if (!(depth < depth_[sample])) return;
      depth_[sample] = depth;
      color_[sample] = colorAt(u, v);
    });
    return;
  }
  const auto opacity = static_cast<std::uint32_t>(std::clamp(surface.opacity, 0.0F, 1.0F) * 255.0F + 0.5F);
  if (opacity == 0) return;
  forEachSample(a, b, c, [&](std::size_t sample, float depth, float u, float v) {
    Layer& layer = layers_[sample];
    if (!(depth > layer.peeled && depth < layer.depth)) return;
    layer.depth = depth;
    layer.color = (colorAt(u, v) & 0xFFFFFFU) | opacity << 24;
  });
}

void Canvas::blank(const ScreenVertex& a, const ScreenVertex& b, const ScreenVertex& c) {
  forEachSample(a, b, c, [&](std::size_t sample, float depth, float, float) {
    if (!(depth < depth_[sample])) return;
    depth_[sample] = depth;
    color_[sample] = 0;
  });
}

void Canvas::beginLayers() {
  layers_.resize(depth_.size());
  for (std::size_t i = 0; i < layers_.size(); ++i)
    layers_[i] = {-std::numeric_limits<float>::infinity(), depth_[i], 0, 1, {}};
}

bool Canvas::endLayer() {
  constexpr float kDark = 1.0F / 512;  // what no display shows
  bool more = false;
  for (std::size_t i = 0; i < layers_.size(); ++i) {
    Layer& layer = layers_[i];
    if (layer.color == 0) continue;
    const float opacity = static_cast<float>(layer.color >> 24) / 255.0F;
    for (std::size_t k = 0; k < 3; ++k)
      layer.sum[k] += layer.through * opacity * static_cast<float>(layer.color >> (8 * k) & 0xFFU);
    layer.through *= 1 - opacity;
    layer.color = 0;
    layer.peeled = layer.through < kDark ? std::numeric_limits<float>::infinity() : layer.depth;
    layer.depth = depth_[i];
    more = true;
  }
  return more && ++layer_count_ < kMostLayers;
}

void Canvas::dot(float x, float y, float depth, const Vec3& color) {
  constexpr float kHalf = static_cast<float>(kSamples) / 2;
  const Range columns = samplesBetween(x - kHalf, x + kHalf, 0, width_);
  const Range rows = samplesBetween(y - kHalf, y + kHalf, begin_, end_);
  for (std::uint32_t row = rows.begin; row < rows.end; ++row) {
    for (std::uint32_t column = columns.begin; column < columns.end; ++column) {
      const std::size_t i = std::size_t{row - begin_} * width_ + column;
      if (!(depth - depth_bias_ < depth_[i])) continue;
      depth_[i] = depth - depth_bias_;
      color_[i] = pack(color);
    }
  }
}

void Canvas::line(const ScreenVertex& a, const ScreenVertex& b, const Vec3& color) {
  // Only the part inside the canvas is stepped along, else a line of 10^30 samples would take for ever.
  float from = 0;
  float to = 1;
  const auto clip = [&](float start, float delta, float limit) {
    const float low = -2.0F;
    const float high = limit + 2.0F;
    if (delta == 0) {
      if (start < low || start > high) to = -1;
      return;
    }
    const float first = (low - start) / delta;
    const float second = (high - start) / delta;
    from = std::max(from, std::min(first, second));
    to = std::min(to, std::max(first, second));
  };
  clip(a.x, b.x - a.x, static_cast<float>(width_));
  clip(a.y, b.y - a.y, static_cast<float>(height_));
  if (!(from <= to)) return;
  const float length = std::max(std::abs(b.x - a.x), std::abs(b.y - a.y)) * (to - from);
  const float most_steps = 2 * static_cast<float>(width_ + height_ + 8);
  const auto steps =
      static_cast<std::uint32_t>(std::min(std::isfinite(length) ? length : 0.0F, most_steps)) + 1;
  for (std::uint32_t i = 0; i <= steps; ++i) {
    const float t = from + (to - from) * static_cast<float>(i) / static_cast<float>(steps);
    dot(a.x + t * (b.x - a.x), a.y + t * (b.y - a.y), a.depth + t * (b.depth - a.depth), color);
  }
}

void Canvas::point(const ScreenVertex& at, const Vec3& color) {
  for (const float offset : {-1.0F, 1.0F}) {
    dot(at.x + offset, at.y, at.depth, color);
    dot(at.x, at.y + offset, at.depth, color);
  }
}

std::vector<std::uint8_t> Canvas::resolve(const std::optional<Color4>& background) const {
  const std::uint32_t width = width_ / kSamples;
  const std::uint32_t height = height_ / kSamples;
  const std::uint32_t first_row = begin_ / kSamples;
  const std::uint32_t row_count = (end_ - begin_) / kSamples;
  constexpr std::uint32_t kCount = kSamples * kSamples;
  std::vector<std::uint8_t> rgba(std::size_t{4} * width * row_count);
  for (std::uint32_t y = 0; y < row_count; ++y) {
    const auto grey = static_cast<std::uint8_t>(0xF4 - (y + first_row) * 0x28 / height);
    const Color4 behind =
        background.value_or(Color4{grey, grey, static_cast<std::uint8_t>(std::min(grey + 6, 0xFF)), 0xFF});
    const float behind_opacity = static_cast<float>(behind[3]) / 255.0F;
    for (std::uint32_t x = 0; x < width; ++x) {
      float sum[3] = {0, 0, 0};  // by opacity
      float opacity_sum = 0;
      for (std::uint32_t s = 0; s < kCount; ++s) {
        const std::size_t i =
            (std::size_t{y} * kSamples + s / kSamples) * width_ + std::size_t{x} * kSamples + s % kSamples;
        const std::uint32_t color = color_[i];
        const float through = layers_.empty() ? 1.0F : layers_[i].through;
        const float seen = through * (color != 0 ? 1.0F : behind_opacity);
        opacity_sum += seen + (1 - through);
        for (std::uint32_t k = 0; k < 3; ++k) {
          const std::uint32_t own = color != 0 ? color >> (8 * k) & 0xFFU : behind[k];
          sum[k] += seen * static_cast<float>(own) + (layers_.empty() ? 0.0F : layers_[i].sum[k]);
        }
      }
      std::uint8_t* pixel = &rgba[4 * (std::size_t{y} * width + x)];
      for (std::size_t k = 0; k < 3; ++k) {
        const float mean = opacity_sum > 0 ? sum[k] / opacity_sum : 0.0F;
        pixel[k] = static_cast<std::uint8_t>(std::min(mean + 0.5F, 255.0F));
      }
      pixel[3] = static_cast<std::uint8_t>(std::min(opacity_sum * (255.0F / kCount) + 0.5F, 255.0F));
    }
  }
  return rgba;
}

}  // namespace Orb::Zix
