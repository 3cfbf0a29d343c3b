#include "zix/raster.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Orb::Zix {

namespace {

constexpr std::uint32_t kOpaque = 0xFF000000;

std::uint32_t pack(const Vec3& color) {
  std::uint32_t packed = kOpaque;
  for (std::size_t k = 0; k < 3; ++k) {
    const float value = std::min(std::max(color[k], 0.0F), 1.0F) * 255.0F + 0.5F;
    packed |= static_cast<std::uint32_t>(value) << (8 * k);
  }
  return packed;
}

// Light comes from the viewer, from a little above and to the left of the line of sight; back faces are lit
// as if they faced the viewer, so that open shells show their inside.
std::uint32_t shade(const Vec3& n, float inverse_length, const Surface& surface) {
  constexpr Vec3 kLight = {-0.30F, 0.45F, 0.84F};
  float facing = (n[0] * kLight[0] + n[1] * kLight[1] + n[2] * kLight[2]) * inverse_length;
  if (n[2] < 0) facing = -facing;
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

// A threshold between 0 and 1 for every sample of a 4 by 4 pattern (ordered dithering), so that opacity
// becomes a share of the samples without any sorting.
float ditherThreshold(std::uint32_t x, std::uint32_t y) {
  constexpr std::uint8_t kPattern[16] = {0, 8, 2, 10, 12, 4, 14, 6, 3, 11, 1, 9, 15, 7, 13, 5};
  return (static_cast<float>(kPattern[(y % 4) * 4 + x % 4]) + 0.5F) / 16.0F;
}

struct Range {
  std::uint32_t begin;
  std::uint32_t end;
};

// Samples whose centres lie between both values, cut to the canvas.
Range samplesBetween(float low, float high, std::uint32_t size) {
  const float limit = static_cast<float>(size);
  const float begin = std::ceil(std::clamp(low, 0.0F, limit) - 0.5F);
  const float end = std::floor(std::clamp(high, 0.0F, limit) - 0.5F) + 1.0F;
  return {static_cast<std::uint32_t>(std::max(begin, 0.0F)), static_cast<std::uint32_t>(std::max(end, 0.0F))};
}

}  // namespace

Canvas::Canvas(std::uint32_t width, std::uint32_t height)
    : width_(width * kSamples),
      height_(height * kSamples),
      depth_(std::size_t{width_} * height_, std::numeric_limits<float>::infinity()),
      color_(std::size_t{width_} * height_, 0) {}

void Canvas::triangle(const ScreenVertex& a, const ScreenVertex& b, const ScreenVertex& c,
                      const Surface& surface) {
  const Range columns = samplesBetween(std::min({a.x, b.x, c.x}), std::max({a.x, b.x, c.x}), width_);
  const Range rows = samplesBetween(std::min({a.y, b.y, c.y}), std::max({a.y, b.y, c.y}), height_);
  if (columns.begin >= columns.end || rows.begin >= rows.end) return;
  const float area = (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
  if (!(area != 0.0F) || !std::isfinite(area)) return;
  const float inverse_area = 1.0F / area;
  // Share of b and c at a sample: u = ((p - a) x (c - a)) / area, v = ((b - a) x (p - a)) / area.
  const float u_step = (c.y - a.y) * inverse_area;
  const float v_step = -(b.y - a.y) * inverse_area;
  const bool smooth = a.normal != b.normal || a.normal != c.normal;
  const auto inverseLength = [](const Vec3& n) {
    const float square = n[0] * n[0] + n[1] * n[1] + n[2] * n[2];
    return square > 0 ? 1.0F / std::sqrt(square) : 0.0F;
  };
  const std::uint32_t flat = smooth ? 0 : shade(a.normal, inverseLength(a.normal), surface);
  const bool transparent = surface.opacity < 1.0F;
  for (std::uint32_t y = rows.begin; y < rows.end; ++y) {
    const float dy = static_cast<float>(y) + 0.5F - a.y;
    const std::size_t row = std::size_t{y} * width_;
    for (std::uint32_t x = columns.begin; x < columns.end; ++x) {
      const float dx = static_cast<float>(x) + 0.5F - a.x;
      const float u = dx * u_step - dy * (c.x - a.x) * inverse_area;
      const float v = dx * v_step + dy * (b.x - a.x) * inverse_area;
      if (u < 0 || v < 0 || u + v > 1) continue;
      const float depth = a.depth + u * (b.depth - a.depth) + v * (c.depth - a.depth);
      if (!(depth < depth_[row + x])) continue;
      if (transparent && ditherThreshold(x, y) >= surface.opacity) continue;
      depth_[row + x] = depth;
      if (!smooth) {
        color_[row + x] = flat;
        continue;
      }
      Vec3 normal{};
      for (std::size_t k = 0; k < 3; ++k) {
        normal[k] = a.normal[k] + u * (b.normal[k] - a.normal[k]) + v * (c.normal[k] - a.normal[k]);
      }
      color_[row + x] = shade(normal, inverseLength(normal), surface);
    }
  }
}

void Canvas::dot(float x, float y, float depth, const Vec3& color) {
  constexpr float kHalf = static_cast<float>(kSamples) / 2;
  const Range columns = samplesBetween(x - kHalf, x + kHalf, width_);
  const Range rows = samplesBetween(y - kHalf, y + kHalf, height_);
  for (std::uint32_t row = rows.begin; row < rows.end; ++row) {
    for (std::uint32_t column = columns.begin; column < columns.end; ++column) {
      const std::size_t i = std::size_t{row} * width_ + column;
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

std::vector<std::uint8_t> Canvas::resolve() const {
  const std::uint32_t width = width_ / kSamples;
  const std::uint32_t height = height_ / kSamples;
  std::vector<std::uint8_t> rgb(std::size_t{3} * width * height);
  for (std::uint32_t y = 0; y < height; ++y) {
    // Background: light above, darker below.
    const std::uint32_t grey = 0xF4 - (y * 0x28) / height;
    const std::uint32_t background = kOpaque | grey | grey << 8 | std::min(grey + 6, 0xFFU) << 16;
    for (std::uint32_t x = 0; x < width; ++x) {
      std::uint32_t sum[3] = {0, 0, 0};
      for (std::uint32_t s = 0; s < kSamples * kSamples; ++s) {
        const std::size_t i =
            (std::size_t{y} * kSamples + s / kSamples) * width_ + std::size_t{x} * kSamples + s % kSamples;
        const std::uint32_t color = color_[i] != 0 ? color_[i] : background;
        for (std::uint32_t k = 0; k < 3; ++k) sum[k] += color >> (8 * k) & 0xFFU;
      }
      std::uint8_t* pixel = &rgb[3 * (std::size_t{y} * width + x)];
      for (std::size_t k = 0; k < 3; ++k) {
        pixel[k] = static_cast<std::uint8_t>((sum[k] + kSamples * kSamples / 2) / (kSamples * kSamples));
      }
    }
  }
  return rgb;
}

}  // namespace Orb::Zix
