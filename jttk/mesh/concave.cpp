// Ear cutting: a corner whose triangle holds no inward corner of the polygon is cut off, until a triangle is
// left. Polygons that touch themselves (a hole joined to the outline by a double edge) have coinciding
// corners; such corners do not block each other's ears.
#include "jttk/mesh/concave.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>
#include <utility>

#include "jttk/mesh/vector3.h"

namespace jttk {

namespace {

// Sines of smaller angles count as straight.
constexpr double kStraight = 1e-9;
// Tests of a point against a triangle: what a shape may take altogether, and for each of its corners.
constexpr std::uint64_t kFreeTests = 20'000'000;
constexpr std::uint64_t kTestsPerCorner = 64;

struct Point {
  double x = 0;
  double y = 0;
  friend bool operator==(const Point&, const Point&) = default;
};

// Twice the area, positive when counter-clockwise.
double area(const Point& a, const Point& b, const Point& c) {
  return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

class EarCutter {
 public:
  EarCutter(const ShapeGeometry& shape, std::uint64_t tests) : shape_(shape), tests_(tests) {}

  // Whether the polygon of these corners has an inward corner; afterwards cut() may be called.
  bool look(std::span<const std::uint32_t> corner_positions) {
    points_.clear();
    places_.clear();
    for (const std::uint32_t position : corner_positions) {
      const float* const p = &shape_.positions[std::size_t{position} * 3];
      places_.push_back({p[0], p[1], p[2]});
    }
    Vector3 normal{};
    for (std::size_t i = 2; i < places_.size(); ++i) {
      const Vector3 c = cross(minus(places_[i - 1], places_[0]), minus(places_[i], places_[0]));
      for (std::size_t k = 0; k < 3; ++k) normal[k] += c[k];
    }
    const double size = length(normal);
    if (!(size > 0) || !std::isfinite(size)) return false;
    for (double& value : normal) value /= size;
    if (!hasInwardCorner(normal)) return false;
    project(normal);
    return true;
  }

  // Calls `triangle(a, b, c)` with corners of the polygon, counted from 0. False when there were too many
  // tests; `triangle` may have been called for some then.
  template <typename Triangle>
  bool cut(Triangle triangle) {
    const auto count = static_cast<std::uint32_t>(points_.size());
    next_.resize(count);
    previous_.resize(count);
    inward_.clear();
    for (std::uint32_t i = 0; i < count; ++i) {
      next_[i] = i + 1 == count ? 0 : i + 1;
      previous_[i] = (i == 0 ? count : i) - 1;
    }
    for (std::uint32_t i = 0; i < count; ++i) {
      if (areaAt(i) <= 0) inward_.push_back(i);
    }
    std::uint32_t left = count;
    std::uint32_t corner = 0;
    std::uint32_t refused = 0;  // corners in a row that were no ears
    while (left > 3) {
      // Where nothing is an ear the polygon crosses itself; any corner is as good as another.
      const bool is_ear = refused == left || isEar(corner);
      if (tests_ == 0) return false;
      if (!is_ear) {
        corner = next_[corner];
        ++refused;
        continue;
      }
      triangle(previous_[corner], corner, next_[corner]);
      next_[previous_[corner]] = next_[corner];
      previous_[next_[corner]] = previous_[corner];
      // Going on two corners further gives compact triangles and not a fan.
      const std::uint32_t behind = next_[corner];
      dropInward(corner, behind);
      corner = next_[behind];
      refused = 0;
      --left;
    }
    triangle(previous_[corner], corner, next_[corner]);
    return true;
  }

 private:
  [[nodiscard]] bool hasInwardCorner(const Vector3& normal) const {
    const std::size_t count = places_.size();
    for (std::size_t i = 0; i < count; ++i) {
      const Vector3 in = minus(places_[i], places_[(i + count - 1) % count]);
      const Vector3 out = minus(places_[(i + 1) % count], places_[i]);
      const double turn = dot(cross(in, out), normal);
      if (turn < -kStraight * std::sqrt(dot(in, in) * dot(out, out))) return true;
    }
    return false;
  }

  // Seen from where the normal points, so that the outline stays counter-clockwise.
  void project(const Vector3& normal) {
    const auto largest = std::max_element(normal.begin(), normal.end(),
                                          [](double a, double b) { return std::abs(a) < std::abs(b); });
    auto u = static_cast<std::size_t>(largest - normal.begin() + 1) % 3;
    auto v = (u + 1) % 3;
    if (*largest < 0) std::swap(u, v);
    for (const Vector3& where : places_) points_.push_back({where[u], where[v]});
  }

  [[nodiscard]] double areaAt(std::uint32_t i) const {
    return area(points_[previous_[i]], points_[i], points_[next_[i]]);
  }

  [[nodiscard]] bool isEar(std::uint32_t i) {
    const Point& a = points_[previous_[i]];
    const Point& b = points_[i];
    const Point& c = points_[next_[i]];
    if (area(a, b, c) <= 0) return false;
    for (const std::uint32_t other : inward_) {
      if (tests_ == 0) return false;
      --tests_;
      const Point& p = points_[other];
      if (p == a || p == b || p == c) continue;
      if (area(a, b, p) >= 0 && area(b, c, p) >= 0 && area(c, a, p) >= 0) return false;
    }
    return true;
  }

  // Cutting a corner can only straighten its neighbours.
  void dropInward(std::uint32_t cut, std::uint32_t behind) {
    const std::uint32_t before = previous_[behind];
    std::erase_if(inward_, [&](std::uint32_t i) {
      return i == cut || ((i == behind || i == before) && areaAt(i) > 0);
    });
    tests_ -= std::min<std::uint64_t>(tests_, inward_.size());
  }

  const ShapeGeometry& shape_;
  std::uint64_t tests_;
  std::vector<Vector3> places_;
  std::vector<Point> points_;
  std::vector<std::uint32_t> next_, previous_;
  std::vector<std::uint32_t> inward_;
};

}  // namespace

void splitConcavePolygons(ShapeGeometry& shape) {
  const std::size_t polygons = shape.primitiveCount();
  EarCutter cutter(shape, kFreeTests + kTestsPerCorner * shape.corner_positions.size());
  const auto cornersOf = [&](std::size_t i) {
    return std::span(shape.corner_positions)
        .subspan(shape.primitive_starts[i], shape.primitive_starts[i + 1] - shape.primitive_starts[i]);
  };
  std::size_t first = 0;
  while (first < polygons && (cornersOf(first).size() < 4 || !cutter.look(cornersOf(first)))) ++first;
  if (first == polygons) return;  // as a rule
  shape.neighbours = {};

  std::vector<std::uint32_t> starts(shape.primitive_starts.begin(),
                                    shape.primitive_starts.begin() + static_cast<std::ptrdiff_t>(first) + 1);
  std::vector<std::uint32_t> order(starts.back());  // corners of the new polygons by their old number
  for (std::uint32_t i = 0; i < order.size(); ++i) order[i] = i;
  for (std::size_t i = first; i < polygons; ++i) {
    const std::uint32_t start = shape.primitive_starts[i];
    const std::uint32_t end = shape.primitive_starts[i + 1];
    const std::size_t starts_before = starts.size();
    const std::size_t order_before = order.size();
    const auto add = [&](std::uint32_t a, std::uint32_t b, std::uint32_t c) {
      order.insert(order.end(), {start + a, start + b, start + c});
      starts.push_back(static_cast<std::uint32_t>(order.size()));
    };
    if (end - start >= 4 && cutter.look(cornersOf(i)) && cutter.cut(add)) continue;
    starts.resize(starts_before);
    order.resize(order_before);
    for (std::uint32_t c = start; c < end; ++c) order.push_back(c);
    starts.push_back(static_cast<std::uint32_t>(order.size()));
  }
  const auto inNewOrder = [&](std::vector<std::uint32_t>& values) {
    if (values.empty()) return;
    std::vector<std::uint32_t> moved;
    moved.reserve(order.size());
    for (const std::uint32_t corner : order) moved.push_back(values[corner]);
    values = std::move(moved);
  };
  inNewOrder(shape.corner_positions);
  inNewOrder(shape.corner_records);
  shape.primitive_starts = std::move(starts);
}

}  // namespace jttk
