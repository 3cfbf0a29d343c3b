// Shape LOD elements of 8.x: kinds of shapes, and what is checked of any of them.
#include <gmock/gmock.h>

#include <limits>

#include "jttk/codec/shape_lod.h"
#include "tests/jttk/codec/v8/decoded_shape.h"
#include "tests/jttk/codec/v8/prefixes.h"

namespace jttk {
namespace {

namespace pieces = loftbay::maker::pieces;
using loftbay::maker::pieces::ByteBuilder;
using loftbay::maker::pieces::lossyBody;
using loftbay::maker::pieces::LossyShape;
using loftbay::maker::pieces::nullPacket;
using loftbay::maker::pieces::quad;
using loftbay::maker::pieces::Values;
using test::decode;
using test::errorOf;
using test::floats;
using test::kNormalsAndPositions;
using test::losslessBody;
using testing::ElementsAre;
using testing::HasSubstr;

TEST(ShapeLodV8, WithoutAPrimitiveListEverythingIsOnePrimitive) {
  LossyShape shape = quad();
  shape.normal_binding = 0;
  shape.starts = {};
  shape.indices = {3, 2, 1};
  for (const Guid& kind : {test::kPolylineSet, test::kTriStripSet}) {
    EXPECT_THAT(decode(lossyBody(shape), kind).primitive_starts, ElementsAre(0, 3));
  }
  const ByteBuilder header = pieces::shapeHeader(0, 0, 0, 0, {}, pieces::ByteOrder::Little);
  const ByteBuilder body = losslessBody(header, floats({1, 2, 3, 4, 5, 6}, pieces::ByteOrder::Little), true);
  EXPECT_THAT(decode(body, test::kPolylineSet).primitive_starts, ElementsAre(0, 2));
}

// A dart: the third corner lies inside of the triangle of the others, so the polygon is concave there.
TEST(ShapeLodV8, PolygonSetsKeepTheCornersOfTheirPolygons) {
  LossyShape shape = quad();
  shape.starts = {0, 4, 7};
  shape.ranges = {{0, 7, 3}, {0, 7, 3}, {0, 0, 8}};
  shape.coordinates = {{0, 6, 2, 0}, {0, 0, 2, 6}, {0, 0, 0, 0}};
  shape.indices = {0, 1, 2, 3, 1, 3, 2};
  for (const pieces::ByteOrder order : {pieces::ByteOrder::Little, pieces::ByteOrder::Big}) {
    const ShapeGeometry decoded = decode(lossyBody(shape, order), test::kPolygonSet);
    EXPECT_EQ(decoded.kind, PrimitiveKind::Polygons);
    EXPECT_THAT(decoded.primitive_starts, ElementsAre(0, 4, 7));
    EXPECT_THAT(decoded.positions, ElementsAre(0, 0, 0, 6, 0, 0, 2, 2, 0, 0, 6, 0));
    EXPECT_THAT(decoded.corner_positions, ElementsAre(0, 1, 2, 3, 1, 3, 2));
  }
}

TEST(ShapeLodV8, PolygonsCanHaveANormalEach) {
  LossyShape shape = quad();
  shape.starts = {0, 4, 7};
  shape.indices = {0, 1, 2, 3, 1, 3, 2};
  shape.normal_binding = 2;  // per facet, which is the polygon
  shape.normals = {{5, 1}, {7, 7}, {127, 127}, {0, 0}};
  const ShapeGeometry decoded = decode(lossyBody(shape), test::kPolygonSet);
  ASSERT_EQ(decoded.corner_records.size(), 7U);
  for (std::size_t corner = 0; corner < 7; ++corner) {
    const std::size_t record = decoded.corner_records[corner];
    EXPECT_EQ(decoded.normals[3 * record], corner < 4 ? 1 : 0);
    EXPECT_EQ(decoded.normals[3 * record + 2], corner < 4 ? 0 : 1);
  }
}

TEST(ShapeLodV8, NullShapeIsEmpty) {
  const Guid null_shape = {0x3e637aed, 0x2a89, 0x41f8, {0xa9, 0xfd, 0x55, 0x37, 0x37, 0x03, 0x96, 0x82}};
  const ShapeGeometry shape = decode(ByteBuilder(), null_shape);
  EXPECT_EQ(shape.kind, PrimitiveKind::Empty);
  EXPECT_EQ(shape.primitiveCount(), 0U);
}

TEST(ShapeLodV8, OtherKindsAreNamed) {
  const auto unknown = decodeShapeLodV8(from_maker::readerOf(ByteBuilder()), {});
  ASSERT_FALSE(unknown.has_value());
  EXPECT_EQ(unknown.error().textWithoutOffset(),
            "shape LOD element 00000000-0000-0000-0000-000000000000: not supported");
}

TEST(ShapeLodV8, EveryPrefixIsAnError) {
  LossyShape full = quad();
  full.texture_binding = 1;
  full.texture_ranges = {{0, 1, 1}, {0, 3, 2}};
  full.texture = {{0, 1, 0, 1}, {0, 1, 2, 3}};
  full.color_binding = 1;
  full.hsv = true;
  full.color_ranges = {{0, 0, 2}, {0, 0, 1}, {0, 0, 1}, {0, 0, 1}};
  full.colors = {{0, 1, 2, 3}, {1, 1, 1, 0}, {1, 1, 1, 1}, {1, 1, 1, 0}};
  const ByteBuilder header = pieces::shapeHeader(0, 1, 0, 0, {0, 4}, pieces::ByteOrder::Little);
  const ByteBuilder records = floats(kNormalsAndPositions, pieces::ByteOrder::Little);
  const ByteBuilder bodies[] = {lossyBody(full), losslessBody(header, records, false),
                                losslessBody(header, records, true)};
  for (const ByteBuilder& body : bodies) {
    test::forEachPrefix(body, [](ByteReader in, bool whole) {
      EXPECT_EQ(decodeShapeLodV8(in, test::kTriStripSet).has_value(), whole);
    });
  }
}

TEST(ShapeLodV8, BytesBehindTheDataAreIgnored) { EXPECT_EQ(errorOf(lossyBody(quad()).i32(0x12345678)), ""); }

TEST(ShapeLodV8, BindingsAreChecked) {
  const auto header = [](std::uint32_t normal) {
    return errorOf(ByteBuilder().i16(1).i32(0).i32(0).i16(1).i16(1).u8(normal).u8(0).u8(0).i32(0));
  };
  EXPECT_THAT(header(4), HasSubstr("normal binding"));
  EXPECT_THAT(header(3), HasSubstr("primitive list"));  // nothing wrong up to there
}

TEST(ShapeLodV8, OtherVersionNumbersOfTheLayersAreReadLikeOurs) {
  ByteBuilder body(pieces::ByteOrder::Little);
  body.i16(2).i32(0).i32(0).i16(3).i16(2).i32(0).u8(0).u8(0).u8(0);  // … no attributes, lossless
  body.bytes(nullPacket(Values{0, 2}));
  body.i32(24).i32(-24).bytes(floats({1, 2, 3, 4, 5, 6}, pieces::ByteOrder::Little));
  EXPECT_THAT(decode(body, test::kPolylineSet).positions, ElementsAre(1, 2, 3, 4, 5, 6));
}

TEST(ShapeLodV8, PrimitiveListAscendsFrom0) {
  const auto error = [](const Values& starts) {
    LossyShape shape = quad();
    shape.starts = starts;
    return errorOf(lossyBody(shape));
  };
  EXPECT_THAT(error({1, 4}), HasSubstr("primitive 0 starts at corner 1"));
  EXPECT_THAT(error({0, 3, 2}), HasSubstr("primitive 2 starts at corner 2 after 3"));
  EXPECT_THAT(error({0, -4}), HasSubstr("starts at corner -4"));
  EXPECT_THAT(error({0, 0x7fffffff}), HasSubstr("more than the element can hold"));
  EXPECT_THAT(error({0, 5}), HasSubstr("vertex indices: 4 values, 5 expected"));
  EXPECT_THAT(error({0, 3}), HasSubstr("4 values in a packet that may hold 3"));
  EXPECT_EQ(error({0, 0, 4, 4}), "");
}

TEST(ShapeLodV8, CountsOfVerticesAreThoseOfThePackets) {
  const ByteBuilder head = pieces::shapeHeader(20, 0, 0, 0, {0, 4}, pieces::ByteOrder::Little);
  const auto error = [&](std::int64_t count) {
    ByteBuilder body = head;
    pieces::addRanges(body, quad().ranges);
    return errorOf(body.i32(count).bytes(nullPacket(Values{0, 1, 2})));
  };
  EXPECT_THAT(error(-1), HasSubstr("vertex count"));
  EXPECT_THAT(error(0x7fffffff), HasSubstr("more than the element can hold"));
  EXPECT_THAT(error(4), HasSubstr("x codes: 3 values, 4 expected"));
  EXPECT_THAT(error(2), HasSubstr("x codes: 3 values in a packet that may hold 2"));
}

TEST(ShapeLodV8, IndicesAreBelowTheVertexCount) {
  LossyShape shape = quad();
  shape.indices = {0, 1, 2, 4};
  EXPECT_THAT(errorOf(lossyBody(shape)), HasSubstr("vertex indices: 4 where there are 4"));
  shape.indices = {0, 1, 2, -1};
  EXPECT_THAT(errorOf(lossyBody(shape)), HasSubstr("vertex indices: -1"));
}

TEST(ShapeLodV8, CodesFitTheirBits) {
  LossyShape shape = quad();
  shape.coordinates[0][2] = 4;  // one step beyond the range
  EXPECT_EQ(decode(lossyBody(shape), test::kTriStripSet).positions[6], 4);
  shape.coordinates[0][2] = 5;
  EXPECT_THAT(errorOf(lossyBody(shape)), HasSubstr("x codes: code 5 has more than 2 bits"));
  for (const auto& [component, code] :
       {std::pair{0, 6}, std::pair{1, 8}, std::pair{2, 129}, std::pair{3, -1}}) {
    shape = quad();
    shape.normals[static_cast<std::size_t>(component)][1] = code;
    EXPECT_THAT(decode(lossyBody(shape), test::kTriStripSet).facts.unread_attributes,
                HasSubstr("normal 1 are out of range"));
  }
}

TEST(ShapeLodV8, QuantisersAreFiniteAndHave32BitsAtMost) {
  LossyShape shape = quad();
  shape.ranges[1].bits = 33;
  EXPECT_THAT(errorOf(lossyBody(shape)), HasSubstr("quantiser bits"));
  shape = quad();
  shape.ranges[1].maximum = std::numeric_limits<float>::infinity();
  EXPECT_THAT(errorOf(lossyBody(shape)), HasSubstr("quantiser range"));
  for (const std::uint32_t bits : {0U, 14U, 255U}) {
    shape = quad();
    shape.normal_bits = bits;
    EXPECT_THAT(decode(lossyBody(shape), test::kTriStripSet).facts.unread_attributes, HasSubstr("angles of"));
  }
}

TEST(ShapeLodV8, ErrorsNameTheKindAndThePlace) {
  LossyShape shape = quad();
  shape.indices = {0, 1, 2, 4};
  const auto decoded =
      decodeShapeLodV8(ByteReader(lossyBody(shape).view(), ByteOrder::Little, 1000), test::kPolygonSet);
  ASSERT_FALSE(decoded.has_value());
  EXPECT_EQ(decoded.error().element, "polygon set");
  EXPECT_GT(decoded.error().offset, 1000U);

  // The same through a whole segment: the kind is named once.
  ByteBuilder element;
  element.i32(17 + 2).i32(0x10dd109f).i16(0x2ac8).i16(0x11d1);
  for (const std::uint32_t byte : test::kPolygonSet.d) element.u8(byte);
  element.u8(4).i16(7);  // base type, a version that does not exist
  Segment segment;
  segment.data = element.view();
  const auto whole = decodeShapeLod(segment, {8, 1}, ByteOrder::Little);
  ASSERT_FALSE(whole.has_value());
  EXPECT_EQ(whole.error().textInSegment().rfind("polygon set: "), 0U) << whole.error().text();
  EXPECT_EQ(whole.error().element, "polygon set");
}

}  // namespace
}  // namespace jttk
