// The least model with something of every kind of shape.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "samples/maker/product.h"

namespace loftbay::testing_support {

// A part with a triangle, a line and two points.
inline maker::Product figuresModel() {
  const auto shape = [](maker::ShapeKind kind, std::vector<std::uint32_t> starts) {
    maker::Shape result;
    result.kind = kind;
    result.positions = {{0, 0, 0}, {10, 0, 0}, {0, 10, 0}};
    result.primitive_starts = std::move(starts);
    for (std::uint32_t i = 0; i < result.primitive_starts.back(); ++i) result.corner_positions.push_back(i);
    return result;
  };
  maker::Part part;
  part.name = "figures";
  part.lods = {{shape(maker::ShapeKind::Triangles, {0, 3}), shape(maker::ShapeKind::Polylines, {0, 2}),
                shape(maker::ShapeKind::Points, {0, 1, 2})}};
  maker::Product product;
  product.name = "figures";
  product.parts = {part};
  product.root = maker::partRef(0);
  return product;
}

}  // namespace loftbay::testing_support
