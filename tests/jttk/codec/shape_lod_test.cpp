// Whole shape elements in the layouts of JT 9 and 10.
#include "jttk/codec/shape_lod.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "tests/jttk/support/jt_shapes.h"

namespace {

using jttk::Guid;
using jttk::PacketForm;
using jttk::PrimitiveKind;
using jttk::ShapeGeometry;
using jttk::testing::bowTieSymbols;
using jttk::testing::ByteBuilder;
using jttk::testing::Bytes;
using jttk::testing::kPointSetId;
using jttk::testing::kPolylineSetId;
using jttk::testing::kTriStripSetId;
using jttk::testing::shapeElement;
using jttk::testing::ShapeOptions;
using jttk::testing::tetrahedronSymbols;
using jttk::testing::topologicalRepData;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr PacketForm kForms[] = {PacketForm::Jt9, PacketForm::Jt10};

jttk::Result<ShapeGeometry> decode(std::span<const std::byte> element, PacketForm form) {
  jttk::Segment segment;
  segment.type = jttk::SegmentType::ShapeLod0;
  segment.data = element;
  return jttk::decodeShapeLod(segment, form == PacketForm::Jt10 ? jttk::Version{10, 0} : jttk::Version{9, 5},
                              jttk::ByteOrder::Little);
}

std::string errorOf(const Bytes& element, PacketForm form) {
  const auto shape = decode(element, form);
  return shape ? "decoded" : shape.error().what;
}

// Vertex i lies at (i, 2i, 3i + 0.5), lossless and quantised alike.
void expectPositions(const ShapeGeometry& shape, std::size_t count) {
  ASSERT_EQ(shape.positions.size(), 3 * count);
  for (std::size_t i = 0; i < count; ++i) {
    const auto place = static_cast<float>(i);
    EXPECT_EQ(shape.positions[3 * i], place);
    EXPECT_EQ(shape.positions[3 * i + 1], 2 * place);
    EXPECT_EQ(shape.positions[3 * i + 2], 3 * place + 0.5F);
  }
}

TEST(ShapeLod, triStripSetsLosslessAndQuantised) {
  for (const PacketForm form : kForms) {
    for (const bool quantized : {false, true}) {
      const ShapeOptions options{form, quantized, 0x0a};
      const auto shape = decode(
          shapeElement(kTriStripSetId, form, topologicalRepData(tetrahedronSymbols(7), 4, 12, options)),
          form);
      ASSERT_TRUE(shape.has_value()) << shape.error().text();
      EXPECT_EQ(shape->kind, PrimitiveKind::Polygons);
      EXPECT_EQ(shape->facts.lossless, !quantized);
      EXPECT_EQ(shape->primitiveCount(), 4U);
      EXPECT_EQ(shape->corner_positions.size(), 12U);
      EXPECT_EQ(shape->corner_records.size(), 12U);
      expectPositions(*shape, 4);
      ASSERT_EQ(shape->normals.size(), 36U);
      for (std::size_t i = 0; i < 12; ++i) EXPECT_NEAR(shape->normals[3 * i + 2], 1.0F, 1e-6F);
    }
  }
}

TEST(ShapeLod, colorsTextureCoordinatesAndFlags) {
  for (const PacketForm form : kForms) {
    const ShapeOptions options{form, true, 0x25a};
    const auto shape =
        decode(shapeElement(kTriStripSetId, form, topologicalRepData(bowTieSymbols(), 5, 5, options)), form);
    ASSERT_TRUE(shape.has_value()) << shape.error().text();
    EXPECT_EQ(shape->facts.bindings, 0x25aU);
    EXPECT_EQ(shape->facts.covers, 1U);
    ASSERT_EQ(shape->colors.size(), 20U);
    // Three components: alpha is 1.
    EXPECT_THAT(std::vector<float>(shape->colors.begin(), shape->colors.begin() + 4),
                ElementsAre(1, 0, 1, 1));
    // Two components, padded with 0; residuals to the value before, which the hash tells.
    ASSERT_EQ(shape->texture_coordinates.size(), 15U);
    EXPECT_THAT(std::vector<float>(shape->texture_coordinates.begin() + 12, shape->texture_coordinates.end()),
                ElementsAre(4, 4, 0));
    EXPECT_EQ(shape->vertex_flags, std::vector<std::uint32_t>(5, 1));
  }
}

TEST(ShapeLod, withoutRecordsCornersHaveNone) {
  const ShapeOptions options{PacketForm::Jt9, false, 0x02};
  const auto shape = decode(
      shapeElement(kTriStripSetId, PacketForm::Jt9, topologicalRepData(tetrahedronSymbols(0), 4, 0, options)),
      PacketForm::Jt9);
  ASSERT_TRUE(shape.has_value()) << shape.error().text();
  EXPECT_TRUE(shape->corner_records.empty());
  EXPECT_TRUE(shape->normals.empty());
}

TEST(ShapeLod, polylinesShareCoordinatesByRunLengths) {
  for (const PacketForm form : kForms) {
    const auto shape = decode(shapeElement(kPolylineSetId, form, jttk::testing::polylineRepData(form)), form);
    ASSERT_TRUE(shape.has_value()) << shape.error().text();
    EXPECT_EQ(shape->kind, PrimitiveKind::Polylines);
    EXPECT_THAT(shape->primitive_starts, ElementsAre(0, 2, 5));
    EXPECT_THAT(shape->corner_records, ElementsAre(0, 1, 1, 2, 3));
    // Records 0 and 1 lie at coordinate 0.
    EXPECT_THAT(shape->corner_positions, ElementsAre(0, 0, 0, 1, 2));
    EXPECT_EQ(shape->colors.size(), 16U);
    expectPositions(*shape, 3);
  }
}

TEST(ShapeLod, pointSetsHaveTheLayoutOfPolylines) {
  const auto shape =
      decode(shapeElement(kPointSetId, PacketForm::Jt9, jttk::testing::polylineRepData(PacketForm::Jt9)),
             PacketForm::Jt9);
  ASSERT_TRUE(shape.has_value()) << shape.error().text();
  EXPECT_EQ(shape->kind, PrimitiveKind::Points);
}

TEST(ShapeLod, nullShapesAreEmptyAndPrimitiveSetsRefused) {
  const Guid null_shape{0x3e637aed, 0x2a89, 0x41f8, {0xa9, 0xfd, 0x55, 0x37, 0x37, 0x03, 0x96, 0x82}};
  const Guid primitives{0xe40373c2, 0x1ad9, 0x11d3, {0x9d, 0xaf, 0x00, 0xa0, 0xc9, 0xc7, 0xdd, 0xc2}};
  EXPECT_EQ(decode(shapeElement(null_shape, PacketForm::Jt9, {}), PacketForm::Jt9)->kind,
            PrimitiveKind::Empty);
  EXPECT_EQ(errorOf(shapeElement(primitives, PacketForm::Jt9, {}), PacketForm::Jt9),
            "primitive sets are not supported");
  EXPECT_THAT(errorOf(shapeElement({1, 2, 3, {}}, PacketForm::Jt9, {}), PacketForm::Jt9),
              HasSubstr("are not known"));
}

TEST(ShapeLod, aDamagedArrayIsFoundByItsHash) {
  const ShapeOptions options{PacketForm::Jt9, true, 0x02};
  Bytes element =
      shapeElement(kTriStripSetId, PacketForm::Jt9, topologicalRepData(tetrahedronSymbols(0), 4, 0, options));
  // The last byte of the hash of the coordinates, in front of the two bytes at the end.
  element[element.size() - 3] ^= std::byte{1};
  EXPECT_EQ(errorOf(element, PacketForm::Jt9), "tri-strip set: coordinates do not agree with their hash");
}

TEST(ShapeLod, countsThatDisagreeWithTheTopologyAreErrors) {
  const ShapeOptions options{PacketForm::Jt9, false, 0x0a};
  const auto error = [&](std::uint32_t vertices, std::uint32_t records) {
    return errorOf(shapeElement(kTriStripSetId, PacketForm::Jt9,
                                topologicalRepData(tetrahedronSymbols(7), vertices, records, options)),
                   PacketForm::Jt9);
  };
  EXPECT_THAT(error(5, 12), HasSubstr("5 vertices are stated, but the topology has 4"));
  EXPECT_THAT(error(4, 11), HasSubstr("11 vertex attributes are stated, but the topology has 12"));
}

TEST(ShapeLod, everyTruncationIsAnError) {
  for (const PacketForm form : kForms) {
    const ShapeOptions options{form, true, 0x25a};
    for (const Bytes& rep :
         {topologicalRepData(bowTieSymbols(), 5, 5, options), jttk::testing::polylineRepData(form)}) {
      const Guid kind = rep == jttk::testing::polylineRepData(form) ? kPolylineSetId : kTriStripSetId;
      for (std::size_t size = 0; size < rep.size(); ++size) {
        // The element's length agrees with what is there, so that the representation itself is cut.
        const Bytes cut(rep.begin(), rep.begin() + static_cast<std::ptrdiff_t>(size));
        const Bytes element = shapeElement(kind, form, cut);
        const std::size_t tail = form == PacketForm::Jt9 ? 2 : 0;
        const auto exact = std::make_unique<std::byte[]>(element.size());
        std::copy(element.begin(), element.end(), exact.get());
        // The bytes behind the representation are zeros and ones that may pass for more of it; leave them
        // out.
        const auto shape = decode({exact.get(), element.size() - tail}, form);
        EXPECT_FALSE(shape.has_value()) << size;
      }
    }
  }
}

}  // namespace
