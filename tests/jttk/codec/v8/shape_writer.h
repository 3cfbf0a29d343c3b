// Writes bodies of JT 8.x shape LOD elements, field by field, for tests and fuzz seeds.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "jttk/file/byte_reader.h"
#include "tests/jttk/codec/v8/packet_writer.h"

namespace jttk::test {

using Values = std::vector<std::int32_t>;

constexpr Guid vertexShape(std::uint32_t a) {
  return {a, 0x2ac8, 0x11d1, {0x9b, 0x6b, 0x00, 0x80, 0xc7, 0xbb, 0x59, 0x97}};
}
inline constexpr Guid kTriStripSet = vertexShape(0x10dd10ab);
inline constexpr Guid kPolylineSet = vertexShape(0x10dd10a1);
inline constexpr Guid kPolygonSet = vertexShape(0x10dd109f);
inline constexpr Guid kPointSet = {
    0x98134716, 0x0011, 0x0818, {0x19, 0x98, 0x08, 0x00, 0x09, 0x83, 0x5d, 0x5a}};

// Residuals to the predictors of 8.x; the first four values are plain.
inline Values lag1(Values values) {
  for (std::size_t i = values.size(); i-- > 4;) values[i] -= values[i - 1];
  return values;
}
inline Values stride1(Values values) {
  for (std::size_t i = values.size(); i-- > 4;) values[i] -= 2 * values[i - 1] - values[i - 2];
  return values;
}
inline Values stripIndex(Values values) {
  for (std::size_t i = values.size(); i-- > 4;) {
    const std::int32_t step = values[i - 2] - values[i - 4];
    values[i] -= values[i - 2] + (step > -8 && step < 8 ? step : 2);
  }
  return values;
}

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
inline Bytes shapeHeader(std::uint32_t bits, std::uint32_t normal, std::uint32_t texture, std::uint32_t color,
                         const Values& starts, ByteOrder order) {
  Bytes body(order);
  body.i16(1).i32(normal);                // version, binding attributes
  body.u8(99).u8(99).u8(99).u8(99);       // bits that are not used
  body.i16(1).i16(1);                     // versions of set and representation
  body.u8(normal).u8(texture).u8(color);  // bindings
  body.u8(bits).u8(7).u8(8).u8(4);        // bits
  return body.bytes(nullPacket(stride1(starts), order));
}

inline void addRanges(Bytes& body, const std::vector<Range>& ranges, bool bits_only = false) {
  for (const Range& range : ranges) {
    if (!bits_only) body.f32(range.minimum).f32(range.maximum);
    body.u8(range.bits);
  }
}

inline void addComponents(Bytes& body, const std::vector<Values>& components) {
  body.i32(static_cast<std::int64_t>(components.front().size()));
  for (const Values& codes : components) body.bytes(nullPacket(lag1(codes), body.order()));
}

inline Bytes lossyBody(const LossyShape& shape, ByteOrder order = ByteOrder::Little) {
  Bytes body =
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
  return body.bytes(nullPacket(stripIndex(shape.indices), order));
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

struct NamedShape {
  std::string name;
  Guid kind;
  Bytes body;
};

}  // namespace jttk::test
