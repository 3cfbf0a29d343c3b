// A shape element put down byte by byte, and the lines and points that are read out of it.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "jttk/codec/shape_lod.h"
#include "samples/maker/pieces/bytes.h"

namespace jttk::testing {

using loftbay::maker::pieces::Bytes;
using Point = std::array<float, 3>;
using Line = std::vector<Point>;

// Pairs of hexadecimal digits, one blank between them.
inline Bytes fromHex(std::initializer_list<std::string_view> lines) {
  Bytes bytes;
  for (const std::string_view line : lines) {
    for (std::size_t i = 0; i + 1 < line.size(); i += 3) {
      bytes.push_back(static_cast<std::byte>(std::stoi(std::string(line.substr(i, 2)), nullptr, 16)));
    }
  }
  return bytes;
}

inline ShapeGeometry decoded(const Bytes& data, Version version, ByteOrder order = ByteOrder::Little) {
  Segment segment;
  segment.type = SegmentType::ShapeLod0;
  segment.data = data;
  auto shape = decodeShapeLod(segment, version, order, {{}, nullptr, true});
  EXPECT_TRUE(shape.has_value()) << shape.error().text();
  return shape ? std::move(*shape) : ShapeGeometry{};
}

inline Point at(const std::vector<float>& values, std::uint32_t index) {
  return {values.at(3 * index), values.at(3 * index + 1), values.at(3 * index + 2)};
}

// The points of each primitive, in order.
inline std::vector<Line> linesOf(const ShapeGeometry& shape) {
  std::vector<Line> lines;
  for (std::size_t i = 0; i < shape.primitiveCount(); ++i) {
    Line& line = lines.emplace_back();
    for (std::uint32_t c = shape.primitive_starts[i]; c < shape.primitive_starts[i + 1]; ++c) {
      line.push_back(at(shape.positions, shape.corner_positions[c]));
    }
  }
  return lines;
}

}  // namespace jttk::testing
