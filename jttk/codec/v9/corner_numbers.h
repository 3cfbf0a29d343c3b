// How the topology decoder numbers the corners of polygons: two ways, which one works for all meshes and one
// is quick.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "jttk/mesh/triangle_edges.h"

namespace jttk {

// Any polygons: numbers without gaps, and for every corner its polygon is looked up.
class PolygonCorners {
 public:
  static constexpr bool kNumberedAsEdges = false;
  // `valences`: of all polygons; `corners`: their sum.
  PolygonCorners(const std::vector<std::int32_t>& valences, std::size_t corners)
      : first_(std::make_unique_for_overwrite<std::uint32_t[]>(valences.size() + 1)),
        polygon_(std::make_unique_for_overwrite<std::uint32_t[]>(corners)) {
    std::uint32_t corner = 0;
    for (std::size_t i = 0; i < valences.size(); ++i) {
      first_[i] = corner;
      for (std::int32_t k = 0; k < valences[i]; ++k) polygon_[corner++] = static_cast<std::uint32_t>(i);
    }
    first_[valences.size()] = corner;
    end_ = corner;
  }
  [[nodiscard]] std::size_t end() const { return end_; }  // above all numbers
  [[nodiscard]] std::uint32_t first(std::uint32_t polygon) const { return first_[polygon]; }
  [[nodiscard]] std::uint32_t valence(std::uint32_t polygon) const {
    return first_[polygon + std::size_t{1}] - first_[polygon];
  }
  [[nodiscard]] std::uint32_t polygonOf(std::uint32_t corner) const { return polygon_[corner]; }
  [[nodiscard]] std::uint32_t next(std::uint32_t corner) const {
    const std::uint32_t polygon = polygon_[corner];
    return corner + 1 == first_[polygon + std::size_t{1}] ? first_[polygon] : corner + 1;
  }
  [[nodiscard]] std::uint32_t previous(std::uint32_t corner) const {
    const std::uint32_t polygon = polygon_[corner];
    return (corner == first_[polygon] ? first_[polygon + std::size_t{1}] : corner) - 1;
  }

 private:
  std::unique_ptr<std::uint32_t[]> first_;    // per polygon, and the end
  std::unique_ptr<std::uint32_t[]> polygon_;  // per corner
  std::size_t end_ = 0;
};

// Triangles only: numbers as those of edges (see triangle_edges.h), where nothing is looked up.
class TriangleCorners {
 public:
  static constexpr bool kNumberedAsEdges = true;
  TriangleCorners(const std::vector<std::int32_t>& valences, std::size_t /*corners*/)
      : end_(valences.size() * triangle_edges::kPerTriangle) {}
  [[nodiscard]] std::size_t end() const { return end_; }
  static std::uint32_t first(std::uint32_t polygon) { return polygon * triangle_edges::kPerTriangle; }
  static std::uint32_t valence(std::uint32_t /*polygon*/) { return 3; }
  static std::uint32_t polygonOf(std::uint32_t corner) { return triangle_edges::triangleOf(corner); }
  static std::uint32_t next(std::uint32_t corner) { return triangle_edges::next(corner); }
  static std::uint32_t previous(std::uint32_t corner) { return triangle_edges::previous(corner); }

 private:
  std::size_t end_;
};

}  // namespace jttk
