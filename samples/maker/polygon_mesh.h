// The closed surface that the topology coder walks over: polygons with twins across every edge, vertices
// that have one ring of polygons each, and a cover polygon over every hole.
#pragma once

#include <cstdint>
#include <vector>

#include "samples/maker/product.h"

namespace loftbay::maker {

struct PolygonMesh {
  static constexpr std::uint32_t kNone = 0xffffffffU;

  std::vector<std::uint32_t> polygon_starts;  // one more than polygons; covers come last
  std::uint32_t real_polygons = 0;
  // Per corner. A corner also denotes the edge from it to the next corner of its polygon.
  std::vector<std::uint32_t> polygon;
  std::vector<std::uint32_t> vertex;
  std::vector<std::uint32_t> twin;  // the corner whose edge runs the other way
  // Per vertex.
  std::vector<std::uint32_t> position;
  std::vector<std::uint32_t> degree;

  [[nodiscard]] std::uint32_t next(std::uint32_t corner) const {
    const std::uint32_t p = polygon[corner];
    return corner + 1 == polygon_starts[p + 1] ? polygon_starts[p] : corner + 1;
  }
  [[nodiscard]] std::uint32_t previous(std::uint32_t corner) const {
    const std::uint32_t p = polygon[corner];
    return corner == polygon_starts[p] ? polygon_starts[p + 1] - 1 : corner - 1;
  }
  // The corner at the same vertex in the neighbouring polygon, counter-clockwise and clockwise around it.
  [[nodiscard]] std::uint32_t turnLeft(std::uint32_t corner) const { return twin[previous(corner)]; }
  [[nodiscard]] std::uint32_t turnRight(std::uint32_t corner) const { return next(twin[corner]); }
};

PolygonMesh buildMesh(const Shape& shape);

}  // namespace loftbay::maker
