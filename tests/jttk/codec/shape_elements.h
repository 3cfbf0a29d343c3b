// Whole shape elements of JT 9 and 10, decoded.
#pragma once

#include <gtest/gtest.h>

#include <span>
#include <string>

#include "jttk/codec/shape_lod.h"
#include "samples/maker/guids.h"
#include "samples/maker/pieces/shapes.h"

namespace jttk::testing {

using loftbay::maker::pieces::Bytes;
using loftbay::maker::pieces::PacketForm;

inline constexpr PacketForm kForms[] = {PacketForm::V9, PacketForm::V10};

inline Result<ShapeGeometry> decode(std::span<const std::byte> element, PacketForm form,
                                    const ShapeContext& context = {{}, nullptr, true}) {
  Segment segment;
  segment.type = SegmentType::ShapeLod0;
  segment.data = element;
  return decodeShapeLod(segment, form == PacketForm::V10 ? Version{10, 0} : Version{9, 5}, ByteOrder::Little,
                        context);
}

inline std::string errorOf(const Bytes& element, PacketForm form) {
  const auto shape = decode(element, form);
  return shape ? "decoded" : shape.error().what;
}

// Vertex i lies at (i, 2i, 3i + 0.5), lossless and quantised alike.
inline void expectPositions(const ShapeGeometry& shape, std::size_t count) {
  ASSERT_EQ(shape.positions.size(), 3 * count);
  for (std::size_t i = 0; i < count; ++i) {
    const auto place = static_cast<float>(i);
    EXPECT_EQ(shape.positions[3 * i], place);
    EXPECT_EQ(shape.positions[3 * i + 1], 2 * place);
    EXPECT_EQ(shape.positions[3 * i + 2], 3 * place + 0.5F);
  }
}

// A tetrahedron that states these counts.
inline Bytes tetrahedron(std::uint32_t vertices, std::uint32_t records,
                         const loftbay::maker::pieces::ShapeOptions& options) {
  return loftbay::maker::pieces::shapeElement(
      loftbay::maker::guids::kTriStripLod, options.form,
      loftbay::maker::pieces::topologicalRepData(loftbay::maker::pieces::tetrahedronSymbols(7), vertices,
                                                 records, options));
}

}  // namespace jttk::testing
