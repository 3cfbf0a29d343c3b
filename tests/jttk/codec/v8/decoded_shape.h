// What a test of shape LOD elements of 8.x decodes: the shape, or the error in words; and lossless elements,
// whose vertex records are floats one after the other.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>

#include "jttk/codec/v8/shape_lod.h"
#include "samples/maker/guids.h"
#include "samples/maker/pieces/shapes_v8.h"
#include "tests/jttk/support/from_maker.h"

namespace jttk::test {

namespace pieces = loftbay::maker::pieces;
using from_maker::readerOf;
using pieces::ByteBuilder;

inline const Guid kTriStripSet = from_maker::guidOf(loftbay::maker::guids::kTriStripLod);
inline const Guid kPolylineSet = from_maker::guidOf(loftbay::maker::guids::kPolylineLod);
inline const Guid kPolygonSet = from_maker::guidOf(loftbay::maker::guids::kPolygonLod);
inline const Guid kPointSet = from_maker::guidOf(loftbay::maker::guids::kPointLod);

// Every array is asked for.
inline constexpr ShapeContext kWithExtras{{}, nullptr, true};

inline ShapeGeometry decode(const ByteBuilder& body, const Guid& kind) {
  const auto shape = decodeShapeLodV8(readerOf(body), kind, kWithExtras);
  EXPECT_TRUE(shape.has_value()) << shape.error().text();
  return shape ? *shape : ShapeGeometry{};
}

// What is wrong; empty when the shape can be read.
inline std::string errorOf(const ByteBuilder& body, const Guid& kind = kTriStripSet) {
  const auto shape = decodeShapeLodV8(readerOf(body), kind, kWithExtras);
  return shape ? "" : shape.error().what;
}

inline ByteBuilder floats(std::initializer_list<float> values, pieces::ByteOrder order) {
  ByteBuilder bytes(order);
  for (const float value : values) bytes.f32(value);
  return bytes;
}

// I32 size, I32 packed size, records.
inline ByteBuilder losslessBody(const ByteBuilder& header, const ByteBuilder& records, bool packed) {
  ByteBuilder body = header;
  const auto size = static_cast<std::int64_t>(records.size());
  if (!packed) return body.i32(size).i32(-size).bytes(records);
  const pieces::Bytes stream = pieces::zlibOf(records.view());
  return body.i32(size).i32(static_cast<std::int64_t>(stream.size())).bytes(stream);
}

// Four records of a strip: a normal and a position each.
inline const std::initializer_list<float> kNormalsAndPositions = {
    0, 0, 1, 0.5F, 0,     0,     //
    0, 0, 2, 1,    0,     0,     //
    0, 1, 0, 0,    -0.0F, 0,     //
    1, 0, 0, 0,    0,     3.5F,  //
};

}  // namespace jttk::test
