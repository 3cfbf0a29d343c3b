// What a test of shape LOD elements of 8.x decodes: the shape, or the error in words; and lossless elements,
// whose vertex records are floats one after the other.
#pragma once

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "jttk/codec/v8/shape_lod.h"
#include "tests/jttk/codec/v8/shape_writer.h"

namespace jttk::test {

// Every array is asked for.
inline constexpr ShapeContext kWithExtras{{}, nullptr, true};

inline ShapeGeometry decode(const Bytes& body, const Guid& kind) {
  const auto shape = decodeShapeLodV8(body.reader(), kind, kWithExtras);
  EXPECT_TRUE(shape.has_value()) << shape.error().text();
  return shape ? *shape : ShapeGeometry{};
}

// What is wrong; empty when the shape can be read.
inline std::string errorOf(const Bytes& body, const Guid& kind = kTriStripSet) {
  const auto shape = decodeShapeLodV8(body.reader(), kind, kWithExtras);
  return shape ? "" : shape.error().what;
}

inline Bytes floats(std::initializer_list<float> values, ByteOrder order) {
  Bytes bytes(order);
  for (const float value : values) bytes.f32(value);
  return bytes;
}

// I32 size, I32 packed size, records.
inline Bytes losslessBody(const Bytes& header, const Bytes& records, bool packed) {
  Bytes body = header;
  const auto size = static_cast<std::int64_t>(records.size());
  if (!packed) return body.i32(size).i32(-size).bytes(records);
  // zlib's long has 32 bits on Windows.
  const auto record_size = static_cast<uLong>(records.size());
  std::vector<std::byte> stream(compressBound(record_size));
  auto stream_size = static_cast<uLongf>(stream.size());
  EXPECT_EQ(compress(reinterpret_cast<Bytef*>(stream.data()), &stream_size,
                     reinterpret_cast<const Bytef*>(records.data().data()), record_size),
            Z_OK);
  stream.resize(stream_size);
  return body.i32(size).i32(static_cast<std::int64_t>(stream_size)).bytes(stream);
}

// Four records of a strip: a normal and a position each.
inline const std::initializer_list<float> kNormalsAndPositions = {
    0, 0, 1, 0.5F, 0,     0,     //
    0, 0, 2, 1,    0,     0,     //
    0, 1, 0, 0,    -0.0F, 0,     //
    1, 0, 0, 0,    0,     3.5F,  //
};

}  // namespace jttk::test
