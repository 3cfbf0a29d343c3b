// Writes bodies of shape LOD elements of 8.x field by field, in packets of plain values.
#pragma once

#include <cstdint>
#include <vector>

#include "samples/maker/packet.h"
#include "samples/maker/pieces/packets_v8.h"

namespace loftbay::maker::pieces {

using Values = std::vector<std::int32_t>;

struct Range {
  float minimum;
  float maximum;
  std::uint32_t bits;
};

struct LossyShape {
  Values starts;
  std::vector<Range> ranges = {{0, 3, 2}, {-1, 1, 1}, {5, 5, 8}};
  std::vector<Values> coordinates;  // codes of x, y, z
  std::uint32_t normal_binding = 0;
  std::uint32_t normal_bits = 7;
  std::vector<Values> normals;  // sextant, octant, theta, psi
  std::uint32_t texture_binding = 0;
  std::vector<Range> texture_ranges;
  std::vector<Values> texture;
  std::uint32_t color_binding = 0;
  bool hsv = false;  // only the bits of the ranges are stored
  std::vector<Range> color_ranges;
  std::vector<Values> colors;
  Values indices;
};

// Everything up to the vertex data.
inline ByteBuilder shapeHeader(std::uint32_t bits, std::uint32_t normal, std::uint32_t texture,
                               std::uint32_t color, const Values& starts, ByteOrder order) {
  ByteBuilder body(order);
  body.i16(1).i32(normal);                // version, binding attributes
  body.u8(99).u8(99).u8(99).u8(99);       // bits that are not used
  body.i16(1).i16(1);                     // versions of set and representation
  body.u8(normal).u8(texture).u8(color);  // bindings
  body.u8(bits).u8(7).u8(8).u8(4);        // bits
  return body.bytes(nullPacket(residuals(starts, Predictor::Stride1), order));
}

inline void addRanges(ByteBuilder& body, const std::vector<Range>& ranges, bool bits_only = false) {
  for (const Range& range : ranges) {
    if (!bits_only) body.f32(range.minimum).f32(range.maximum);
    body.u8(range.bits);
  }
}

inline void addComponents(ByteBuilder& body, const std::vector<Values>& components) {
  body.i32(static_cast<std::int64_t>(components.front().size()));
  for (const Values& codes : components)
    body.bytes(nullPacket(residuals(codes, Predictor::Lag1), body.order()));
}

inline ByteBuilder lossyBody(const LossyShape& shape, ByteOrder order = ByteOrder::Little) {
  ByteBuilder body =
      shapeHeader(20, shape.normal_binding, shape.texture_binding, shape.color_binding, shape.starts, order);
  addRanges(body, shape.ranges);
  addComponents(body, shape.coordinates);
  if (shape.normal_binding != 0) {
    body.u8(shape.normal_bits);
    addComponents(body, shape.normals);
  }
  if (shape.texture_binding != 0) {
    addRanges(body, shape.texture_ranges);
    addComponents(body, shape.texture);
  }
  if (shape.color_binding != 0) {
    body.u8(shape.hsv ? 1 : 0);
    addRanges(body, shape.color_ranges, shape.hsv);
    addComponents(body, shape.colors);
  }
  return body.bytes(nullPacket(residuals(shape.indices, Predictor::StripIndex), order));
}

// Two triangles: a strip over four vertices, with normals along the axes.
inline LossyShape quad() {
  LossyShape shape;
  shape.starts = {0, 4};
  shape.coordinates = {{0, 1, 2, 3}, {0, 1, 0, 1}, {0, 0, 0, 0}};
  shape.normal_binding = 1;
  // Theta 127 of 7 bits in an odd sextant is angle 0: the normal is along x (sextant 5), z (1) or y (3).
  shape.normals = {{5, 5, 1, 3}, {3, 7, 7, 5}, {127, 127, 127, 127}, {0, 0, 0, 0}};
  shape.indices = {0, 1, 2, 3};
  return shape;
}

}  // namespace loftbay::maker::pieces
