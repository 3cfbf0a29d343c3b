#include "samples/maker/survey.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

namespace loftbay::maker {
namespace {

constexpr int kSide = 40;  // cells of the grid, one metre each
constexpr float kContourStep = 1.5F;

// Two hills, rounded so that a last bit of the exponential changes no file.
float height(float x, float y) {
  const auto hill = [&](double cx, double cy, double width, double top) {
    return top * std::exp(-((x - cx) * (x - cx) + (y - cy) * (y - cy)) / (2 * width * width));
  };
  return static_cast<float>(std::round((hill(14, 16, 6, 11) + hill(28, 26, 4.5, 7)) * 1024) / 1024);
}

Rgba colorOf(float z) {
  const float share = std::min(1.0F, z / 11);
  return {0.2F + 0.6F * share, 0.55F - 0.15F * share, 0.2F + 0.1F * share, 1};
}

std::uint32_t count(const Shape& shape) { return static_cast<std::uint32_t>(shape.positions.size()); }

Shape surface() {
  Shape shape;
  for (int y = 0; y <= kSide; ++y) {
    for (int x = 0; x <= kSide; ++x) {
      const auto fx = static_cast<float>(x);
      const auto fy = static_cast<float>(y);
      shape.positions.push_back({fx, fy, height(fx, fy)});
      const float slope_x = (height(fx + 0.5F, fy) - height(fx - 0.5F, fy));
      const float slope_y = (height(fx, fy + 0.5F) - height(fx, fy - 0.5F));
      const float length = std::sqrt(slope_x * slope_x + slope_y * slope_y + 1);
      shape.normals.push_back({-slope_x / length, -slope_y / length, 1 / length});
      shape.colors.push_back(colorOf(shape.positions.back().z));
    }
  }
  const auto at = [](int x, int y) { return static_cast<std::uint32_t>(y * (kSide + 1) + x); };
  for (int y = 0; y < kSide; ++y) {
    for (int x = 0; x < kSide; ++x) {
      shape.addQuad(at(x, y), at(x + 1, y), at(x + 1, y + 1), at(x, y + 1));
    }
  }
  shape.corner_records = shape.corner_positions;
  return shape;
}

// Lines of equal height: where a level crosses the edges of the grid's triangles, joined to runs.
class Contour {
 public:
  Contour(const Shape& surface, float level, Shape& out) : surface_(surface), level_(level), out_(out) {
    for (std::size_t t = 0; t < surface.primitiveCount(); ++t) addTriangle(t);
  }

  void run() {
    // Open lines first, from their ends; then the closed ones, whose last point repeats the first.
    for (const bool open : {true, false}) {
      for (const auto& [start, neighbours] : links_) {
        if (!used_[start] && (!open || neighbours.second == kNone)) follow(start, !open);
      }
    }
  }

 private:
  using Edge = std::pair<std::uint32_t, std::uint32_t>;
  static constexpr std::uint32_t kNone = 0xffffffffU;

  void addTriangle(std::size_t t) {
    std::uint32_t crossings[2] = {kNone, kNone};
    int found = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      const std::uint32_t a = surface_.corner_positions[3 * t + k];
      const std::uint32_t b = surface_.corner_positions[3 * t + (k + 1) % 3];
      if ((surface_.positions[a].z < level_) == (surface_.positions[b].z < level_)) continue;
      crossings[found++] = pointOn(std::min(a, b), std::max(a, b));
    }
    if (found != 2) return;
    link(crossings[0], crossings[1]);
    link(crossings[1], crossings[0]);
  }

  std::uint32_t pointOn(std::uint32_t a, std::uint32_t b) {
    const auto [entry, added] = points_.try_emplace(Edge{a, b}, count(out_));
    if (added) {
      const Vec3& p = surface_.positions[a];
      const Vec3& q = surface_.positions[b];
      const float share = (level_ - p.z) / (q.z - p.z);
      out_.positions.push_back({p.x + share * (q.x - p.x), p.y + share * (q.y - p.y), level_});
      out_.colors.push_back(colorOf(level_));
    }
    return entry->second;
  }

  void link(std::uint32_t from, std::uint32_t to) {
    auto& [first, second] = links_.try_emplace(from, kNone, kNone).first->second;
    (first == kNone ? first : second) = to;
  }

  void follow(std::uint32_t start, bool closed) {
    std::uint32_t before = kNone;
    std::uint32_t here = start;
    while (here != kNone && !used_[here]) {
      used_[here] = true;
      out_.corner_positions.push_back(here);
      const auto [first, second] = links_.at(here);
      const std::uint32_t next = first != before ? first : second;
      before = here;
      here = next;
    }
    if (closed) out_.corner_positions.push_back(start);
    out_.primitive_starts.push_back(static_cast<std::uint32_t>(out_.corner_positions.size()));
  }

  const Shape& surface_;
  float level_;
  Shape& out_;
  std::map<Edge, std::uint32_t> points_;
  std::map<std::uint32_t, std::pair<std::uint32_t, std::uint32_t>> links_;
  std::map<std::uint32_t, bool> used_;
};

Shape contours(const Shape& surface) {
  Shape shape;
  shape.kind = ShapeKind::Polylines;
  for (int i = 0; i < 7; ++i) Contour(surface, 0.75F + kContourStep * static_cast<float>(i), shape).run();
  shape.corner_records = shape.corner_positions;
  return shape;
}

Shape marks() {
  Shape shape;
  shape.kind = ShapeKind::Points;
  for (int y = 4; y < kSide; y += 8) {
    for (int x = 4; x < kSide; x += 8) {
      const auto fx = static_cast<float>(x);
      const auto fy = static_cast<float>(y);
      shape.corner_positions.push_back(count(shape));
      shape.positions.push_back({fx, fy, height(fx, fy)});
    }
    shape.primitive_starts.push_back(count(shape));
  }
  return shape;
}

}  // namespace

Product survey() {
  Product product;
  product.name = "Survey";
  Material line;
  line.diffuse = {0.1F, 0.1F, 0.1F, 1};
  const Shape ground = surface();
  product.parts.push_back({"Surface", "Meters", Material{}, {{ground}}, {}});
  product.parts.push_back({"Contours", "Meters", line, {{contours(ground)}}, {}});
  product.parts.push_back({"Marks", "Meters", line, {{marks()}}, {}});
  Assembly root{"Survey", "Meters", std::nullopt, {}};
  for (std::size_t i = 0; i < product.parts.size(); ++i) {
    root.children.push_back({partRef(i), "", std::nullopt, std::nullopt, true});
  }
  product.assemblies.push_back(std::move(root));
  product.root = assemblyRef(0);
  return product;
}

}  // namespace loftbay::maker
