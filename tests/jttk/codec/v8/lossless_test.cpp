// Shape LOD elements of 8.x whose vertex data are records of floats, packed or plain.
#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "jttk/codec/shape_lod.h"
#include "tests/jttk/codec/v8/decoded_shape.h"

namespace jttk {
namespace {

namespace pieces = loftbay::maker::pieces;
using loftbay::maker::pieces::ByteBuilder;
using loftbay::maker::pieces::Values;
using test::decode;
using test::errorOf;
using test::floats;
using test::kNormalsAndPositions;
using test::losslessBody;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(ShapeLodV8Lossless, RecordsAreNormalThenPositionPerCorner) {
  for (const pieces::ByteOrder order : {pieces::ByteOrder::Little, pieces::ByteOrder::Big}) {
    for (const bool packed : {false, true}) {
      const ByteBuilder header = pieces::shapeHeader(0, 1, 0, 0, {0, 4}, order);
      const ShapeGeometry shape =
          decode(losslessBody(header, floats(kNormalsAndPositions, order), packed), test::kTriStripSet);
      EXPECT_TRUE(shape.facts.lossless);
      EXPECT_THAT(shape.primitive_starts, ElementsAre(0, 4));
      EXPECT_THAT(shape.positions, ElementsAre(0.5F, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 3.5F));
      EXPECT_TRUE(std::signbit(shape.positions[7]));
      EXPECT_THAT(shape.normals, ElementsAre(0, 0, 1, 0, 0, 2, 0, 1, 0, 1, 0, 0));
      EXPECT_THAT(shape.corner_positions, ElementsAre(0, 1, 2, 3));
      EXPECT_THAT(shape.corner_records, ElementsAre(0, 1, 2, 3));
    }
  }
}

// There is no hash in 8.x.
TEST(ShapeLodV8Lossless, CoordinatesAreComparedWithTheBoxOfTheNode) {
  const ByteBuilder header = pieces::shapeHeader(0, 1, 0, 0, {0, 4}, pieces::ByteOrder::Little);
  const ByteBuilder body =
      losslessBody(header, floats(kNormalsAndPositions, pieces::ByteOrder::Little), false);
  ByteBuilder element(pieces::ByteOrder::Little);
  element.i32(static_cast<std::int64_t>(17 + body.size()));
  element.i32(test::kTriStripSet.a).i16(test::kTriStripSet.b).i16(test::kTriStripSet.c);
  for (const std::uint8_t byte : test::kTriStripSet.d) element.u8(byte);
  element.u8(0).bytes(body);
  Segment segment;
  segment.data = element.view();
  const auto note = [&](std::array<float, 6> box) {
    const StatedExtent stated[] = {{box, 0}};
    const auto shape = decodeShapeLod(segment, {8, 1}, ByteOrder::Little, {stated, nullptr});
    return shape ? shape->facts.coordinate_note : shape.error().text();
  };
  EXPECT_EQ(note({0, 0, 0, 1, 0, 3.5F}), "");
  EXPECT_THAT(note({0, 0, 0, 1, 0, 3}), HasSubstr("coordinates lie outside of the box that the node states"));
}

TEST(ShapeLodV8Lossless, TextureCoordinatesAndColoursComeFirst) {
  const ByteBuilder header = pieces::shapeHeader(0, 1, 1, 1, {0, 1}, pieces::ByteOrder::Little);
  const ByteBuilder body = losslessBody(
      header, floats({1, 2, 0.25F, 0.5F, 0.75F, 0, 0, 1, 7, 8, 9}, pieces::ByteOrder::Little), false);
  const ShapeGeometry shape = decode(body, test::kPolylineSet);
  EXPECT_THAT(shape.texture_coordinates, ElementsAre(1, 2, 0));
  EXPECT_THAT(shape.colors, ElementsAre(0.25F, 0.5F, 0.75F, 1));
  EXPECT_THAT(shape.normals, ElementsAre(0, 0, 1));
  EXPECT_THAT(shape.positions, ElementsAre(7, 8, 9));
}

TEST(ShapeLodV8Lossless, TextureCoordinatesAreLeftOutUnlessAskedFor) {
  const ByteBuilder header = pieces::shapeHeader(0, 1, 1, 1, {0, 1}, pieces::ByteOrder::Little);
  const ByteBuilder body = losslessBody(
      header, floats({1, 2, 0.25F, 0.5F, 0.75F, 0, 0, 1, 7, 8, 9}, pieces::ByteOrder::Little), false);
  const auto shape = decodeShapeLodV8(test::readerOf(body), test::kPolylineSet);
  ASSERT_TRUE(shape.has_value()) << shape.error().text();
  EXPECT_THAT(shape->texture_coordinates, IsEmpty());
  EXPECT_EQ(shape->facts.unread_attributes, "");
  EXPECT_THAT(shape->colors, ElementsAre(0.25F, 0.5F, 0.75F, 1));
  EXPECT_THAT(shape->normals, ElementsAre(0, 0, 1));
  EXPECT_THAT(shape->positions, ElementsAre(7, 8, 9));
  // Texture coordinates of facets that the records do not have are told only to those who ask.
  const ByteBuilder per_facet =
      losslessBody(pieces::shapeHeader(0, 0, 2, 0, {0, 2}, pieces::ByteOrder::Little),
                   floats({1, 2, 3, 4, 5, 6}, pieces::ByteOrder::Little), false);
  EXPECT_EQ(decodeShapeLodV8(test::readerOf(per_facet), test::kPolylineSet)->facts.unread_attributes, "");
  EXPECT_NE(decode(per_facet, test::kPolylineSet).facts.unread_attributes, "");
}

TEST(ShapeLodV8Lossless, PointsWithoutPrimitiveListAreOneGroup) {
  const ByteBuilder header = pieces::shapeHeader(0, 0, 0, 0, {}, pieces::ByteOrder::Little);
  const ShapeGeometry shape = decode(
      losslessBody(header, floats({1, 2, 3, 4, 5, 6}, pieces::ByteOrder::Little), true), test::kPointSet);
  EXPECT_THAT(shape.primitive_starts, ElementsAre(0, 2));
  EXPECT_THAT(shape.positions, ElementsAre(1, 2, 3, 4, 5, 6));
  EXPECT_THAT(shape.corner_records, IsEmpty());
}

TEST(ShapeLodV8Lossless, SizeIsCornersTimesRecord) {
  const auto error = [](const Values& starts, bool packed) {
    const ByteBuilder header = pieces::shapeHeader(0, 1, 0, 0, starts, pieces::ByteOrder::Little);
    return errorOf(losslessBody(header, floats(kNormalsAndPositions, pieces::ByteOrder::Little), packed));
  };
  for (const bool packed : {false, true}) {
    EXPECT_EQ(error({0, 4}, packed), "");
    EXPECT_THAT(error({0, 3}, packed), HasSubstr("96 bytes for 3 corners of 24"));
    EXPECT_THAT(error({0, 1}, packed), HasSubstr("96 bytes are more than the element can hold"));
    EXPECT_THAT(error({0, 5}, packed), HasSubstr("96 bytes for 5 corners of 24"));
  }
}

TEST(ShapeLodV8Lossless, PackedSizeIsChecked) {
  const ByteBuilder header = pieces::shapeHeader(0, 1, 0, 0, {0, 4}, pieces::ByteOrder::Little);
  const auto body = [&](std::int64_t size, std::int64_t stored) {
    return ByteBuilder(header).i32(size).i32(stored).bytes(
        floats(kNormalsAndPositions, pieces::ByteOrder::Little));
  };
  EXPECT_EQ(errorOf(body(96, -96)), "");
  EXPECT_THAT(errorOf(body(96, -95)), HasSubstr("95 bytes where 96 are announced"));
  EXPECT_THAT(errorOf(body(96, -97)), HasSubstr("vertex records"));
  EXPECT_THAT(errorOf(body(96, 97)), HasSubstr("vertex records"));
  EXPECT_THAT(errorOf(body(96, std::numeric_limits<std::int32_t>::min())), HasSubstr("vertex records"));
  EXPECT_THAT(errorOf(body(-1, -96)), HasSubstr("size of the vertex records"));
  EXPECT_NE(errorOf(body(96, 96)), "");  // no zlib stream
}

// Normals per facet may be in the records or not: the size of the records decides.
TEST(ShapeLodV8Lossless, AttributesPerFacetAreReadWhereTheRecordsHaveThem) {
  const ByteBuilder header = pieces::shapeHeader(0, 2, 0, 0, {0, 2}, pieces::ByteOrder::Little);
  const ShapeGeometry with = decode(
      losslessBody(header, floats({0, 0, 1, 1, 2, 3, 0, 1, 0, 4, 5, 6}, pieces::ByteOrder::Little), true),
      test::kPolylineSet);
  EXPECT_THAT(with.positions, ElementsAre(1, 2, 3, 4, 5, 6));
  EXPECT_THAT(with.normals, ElementsAre(0, 0, 1, 0, 1, 0));
  EXPECT_THAT(with.corner_records, ElementsAre(0, 1));
  EXPECT_EQ(with.facts.unread_attributes, "");
  const ShapeGeometry without = decode(
      losslessBody(header, floats({1, 2, 3, 4, 5, 6}, pieces::ByteOrder::Little), true), test::kPolylineSet);
  EXPECT_THAT(without.positions, ElementsAre(1, 2, 3, 4, 5, 6));
  EXPECT_THAT(without.normals, IsEmpty());
  EXPECT_EQ(without.facts.unread_attributes, "normals per facet or primitive");
}

TEST(ShapeLodV8Lossless, AColourMayHaveAnAlpha) {
  const ByteBuilder header = pieces::shapeHeader(0, 0, 0, 1, {0, 1}, pieces::ByteOrder::Little);
  const ShapeGeometry shape = decode(
      losslessBody(header, floats({0.25F, 0.5F, 0.75F, 0.5F, 7, 8, 9}, pieces::ByteOrder::Little), false),
      test::kPolylineSet);
  EXPECT_THAT(shape.colors, ElementsAre(0.25F, 0.5F, 0.75F, 0.5F));
  EXPECT_THAT(shape.positions, ElementsAre(7, 8, 9));
}

}  // namespace
}  // namespace jttk
