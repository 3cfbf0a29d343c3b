#include "jttk/codec/shape_lod_8.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <cmath>
#include <limits>
#include <string>

#include "jttk/codec/shape_lod.h"
#include "tests/jttk/codec8/packet_writer.h"
#include "tests/jttk/codec8/shape_writer.h"

namespace jttk {
namespace {

using test::Bytes;
using test::lossyBody;
using test::LossyShape;
using test::nullPacket;
using test::quad;
using test::Values;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

ShapeGeometry decode(const Bytes& body, const Guid& kind) {
  const auto shape = decodeShapeLod8(body.reader(), kind);
  EXPECT_TRUE(shape.has_value()) << shape.error().text();
  return shape ? *shape : ShapeGeometry{};
}

std::string errorOf(const Bytes& body, const Guid& kind = test::kTriStripSet) {
  const auto shape = decodeShapeLod8(body.reader(), kind);
  return shape ? "" : shape.error().what;
}

// ---- lossy ----

TEST(ShapeLod8Lossy, triStripInBothByteOrders) {
  for (const ByteOrder order : {ByteOrder::Little, ByteOrder::Big}) {
    const ShapeGeometry shape = decode(lossyBody(quad(), order), test::kTriStripSet);
    EXPECT_EQ(shape.kind, PrimitiveKind::TriangleStrips);
    EXPECT_FALSE(shape.facts.lossless);
    EXPECT_THAT(shape.facts.quantization_bits, ElementsAre(20, 7, 8, 4));  // the second four
    EXPECT_EQ(shape.facts.bindings, 1U);
    EXPECT_THAT(shape.primitive_starts, ElementsAre(0, 4));
    EXPECT_THAT(shape.positions, ElementsAre(0, -1, 5, 1, 1, 5, 2, -1, 5, 3, 1, 5));
    EXPECT_THAT(shape.normals, ElementsAre(-1, 0, 0, 1, 0, 0, 0, 0, 1, 0, -1, 0));
    EXPECT_THAT(shape.corner_positions, ElementsAre(0, 1, 2, 3));
    EXPECT_EQ(shape.corner_records, shape.corner_positions);
    EXPECT_THAT(shape.colors, IsEmpty());
    EXPECT_THAT(shape.texture_coordinates, IsEmpty());
  }
}

TEST(ShapeLod8Lossy, predictorsArePerArray) {
  LossyShape shape = quad();
  shape.normal_binding = 0;
  shape.starts = {0, 4, 8, 11, 17, 20};  // five strips
  shape.coordinates = {{0, 1, 2, 3, 2, 0}, {0, 1, 0, 1, 1, 1}, {0, 0, 0, 0, 0, 0}};
  shape.indices = {0, 1, 2, 3, 5, 4, 3, 2, 0, 4, 5, 1, 1, 2, 2, 3, 0, 5, 0, 5};
  const ShapeGeometry decoded = decode(lossyBody(shape), test::kTriStripSet);
  EXPECT_THAT(decoded.primitive_starts, ElementsAre(0, 4, 8, 11, 17, 20));
  EXPECT_THAT(decoded.corner_positions,
              ElementsAre(0, 1, 2, 3, 5, 4, 3, 2, 0, 4, 5, 1, 1, 2, 2, 3, 0, 5, 0, 5));
  ASSERT_EQ(decoded.positions.size(), 18U);
  EXPECT_EQ(decoded.positions[12], 2);
  EXPECT_EQ(decoded.positions[15], 0);
  EXPECT_EQ(decoded.positions[16], 1);
  EXPECT_THAT(decoded.corner_records, IsEmpty());
}

TEST(ShapeLod8Lossy, degenerateLinksStay) {
  LossyShape shape = quad();
  shape.starts = {0, 6};
  shape.indices = {0, 1, 1, 1, 2, 3};
  EXPECT_THAT(decode(lossyBody(shape), test::kTriStripSet).corner_positions, ElementsAre(0, 1, 1, 1, 2, 3));
}

TEST(ShapeLod8Lossy, coordinatesAreRoundedOnce) {
  LossyShape shape = quad();
  shape.ranges = {{0.047F, 0.25F, 21}, {-1, 1, 1}, {0, 1, 32}};
  shape.coordinates[0] = {0, 1, 2097150, 2097151};
  shape.coordinates[2] = {0, -1, 0x7fffffff, 0};  // codes of 32 bits
  const ShapeGeometry decoded = decode(lossyBody(shape), test::kTriStripSet);
  const double minimum = 0.047F;
  const double range = double{0.25F} - minimum;
  EXPECT_EQ(decoded.positions[0], 0.047F);
  EXPECT_EQ(decoded.positions[3], static_cast<float>(1.0 * range / 2097151.0 + minimum));
  EXPECT_EQ(decoded.positions[6], static_cast<float>(2097150.0 * range / 2097151.0 + minimum));
  EXPECT_EQ(decoded.positions[9], 0.25F);
  EXPECT_EQ(decoded.positions[5], 1.0F);
}

TEST(ShapeLod8Lossy, polylinesAndPolygonsShareTheLayout) {
  LossyShape shape = quad();
  shape.normal_binding = 0;
  shape.starts = {0, 3, 7};
  shape.indices = {0, 1, 2, 3, 2, 1, 0};
  for (const auto& [guid, kind] : {std::pair{test::kPolylineSet, PrimitiveKind::Polylines},
                                   std::pair{test::kPolygonSet, PrimitiveKind::Polygons}}) {
    const ShapeGeometry decoded = decode(lossyBody(shape), guid);
    EXPECT_EQ(decoded.kind, kind);
    EXPECT_THAT(decoded.primitive_starts, ElementsAre(0, 3, 7));
    EXPECT_THAT(decoded.corner_positions, ElementsAre(0, 1, 2, 3, 2, 1, 0));
  }
}

TEST(ShapeLod8Lossy, pointsWithoutPrimitiveListAreOneGroup) {
  LossyShape shape = quad();
  shape.normal_binding = 0;
  shape.starts = {};
  shape.indices = {3, 2, 1, 0, 2};
  const ShapeGeometry decoded = decode(lossyBody(shape), test::kPointSet);
  EXPECT_EQ(decoded.kind, PrimitiveKind::Points);
  EXPECT_THAT(decoded.primitive_starts, ElementsAre(0, 5));
  EXPECT_THAT(decoded.corner_positions, ElementsAre(3, 2, 1, 0, 2));
}

TEST(ShapeLod8Lossy, pointsWithPrimitiveListKeepTheirGroups) {
  LossyShape shape = quad();
  shape.normal_binding = 0;
  shape.starts = {0, 1, 4};
  EXPECT_THAT(decode(lossyBody(shape), test::kPointSet).primitive_starts, ElementsAre(0, 1, 4));
}

TEST(ShapeLod8Lossy, nothingAtAllIsAShapeToo) {
  LossyShape shape;
  shape.coordinates = {{}, {}, {}};
  for (const Values& starts : {Values{}, Values{0}}) {
    shape.starts = starts;
    const ShapeGeometry decoded = decode(lossyBody(shape), test::kTriStripSet);
    EXPECT_THAT(decoded.primitive_starts, IsEmpty());
    EXPECT_THAT(decoded.corner_positions, IsEmpty());
  }
}

TEST(ShapeLod8Lossy, textureCoordinatesArePaddedToThree) {
  LossyShape shape = quad();
  shape.texture_binding = 1;
  shape.texture_ranges = {{0, 1, 1}, {0, 3, 2}};
  shape.texture = {{0, 1, 0, 1}, {0, 1, 2, 3}};
  const ShapeGeometry decoded = decode(lossyBody(shape), test::kTriStripSet);
  EXPECT_THAT(decoded.texture_coordinates, ElementsAre(0, 0, 0, 1, 1, 0, 0, 2, 0, 1, 3, 0));
  EXPECT_EQ(decoded.facts.bindings, 0x101U);
}

TEST(ShapeLod8Lossy, coloursAsRedGreenBlueAlpha) {
  LossyShape shape = quad();
  shape.color_binding = 1;
  shape.color_ranges = {{0, 1, 1}, {0, 1, 1}, {0, 3, 2}, {0, 1, 1}};
  shape.colors = {{0, 1, 0, 1}, {1, 1, 0, 0}, {0, 1, 2, 3}, {1, 1, 1, 0}};
  const ShapeGeometry decoded = decode(lossyBody(shape), test::kTriStripSet);
  EXPECT_THAT(decoded.colors, ElementsAre(0, 1, 0, 1, 1, 1, 1, 1, 0, 0, 2, 1, 1, 0, 3, 0));
}

TEST(ShapeLod8Lossy, coloursAsHueSaturationValueAlpha) {
  LossyShape shape = quad();
  shape.color_binding = 1;
  shape.hsv = true;
  shape.color_ranges = {{0, 0, 2}, {0, 0, 1}, {0, 0, 1}, {0, 0, 1}};
  // Hue of 2 bits over 0 .. 6: 0 red, 2 green, 4 blue, 6 red again; the last one without saturation.
  shape.colors = {{0, 1, 2, 3}, {1, 1, 1, 0}, {1, 1, 1, 1}, {1, 1, 1, 0}};
  const ShapeGeometry decoded = decode(lossyBody(shape), test::kTriStripSet);
  EXPECT_THAT(decoded.colors, ElementsAre(1, 0, 0, 1, 0, 1, 0, 1, 0, 0, 1, 1, 1, 1, 1, 0));
}

TEST(ShapeLod8Lossy, huesBetweenTheSextants) {
  LossyShape shape = quad();
  shape.color_binding = 1;
  shape.hsv = true;
  // Hue of 4 bits: 6 / 15 = 0.4 per code.
  shape.color_ranges = {{0, 0, 4}, {0, 0, 1}, {0, 0, 1}, {0, 0, 1}};
  shape.colors = {{1, 4, 6, 14}, {1, 1, 1, 1}, {1, 1, 1, 1}, {1, 1, 1, 1}};
  const ShapeGeometry decoded = decode(lossyBody(shape), test::kTriStripSet);
  const float expected[] = {1, 0.4F, 0, 1, 0.4F, 1, 0, 1, 0, 1, 0.4F, 1, 1, 0, 0.4F, 1};
  ASSERT_EQ(decoded.colors.size(), std::size(expected));
  for (std::size_t i = 0; i < std::size(expected); ++i)
    EXPECT_NEAR(decoded.colors[i], expected[i], 1e-6) << i;
}

// ---- attributes of facets and primitives ----

TEST(ShapeLod8Attributes, facetsOfStripsBecomeTrianglesOfTheirOwn) {
  LossyShape shape = quad();
  shape.starts = {0, 4, 6};  // two triangles, and a strip that has none
  shape.indices = {0, 1, 2, 3, 0, 1};
  shape.normal_binding = 2;
  shape.normals = {{5, 1}, {3, 7}, {127, 127}, {0, 0}};
  const ShapeGeometry decoded = decode(lossyBody(shape), test::kTriStripSet);
  EXPECT_THAT(decoded.primitive_starts, ElementsAre(0, 3, 6));
  EXPECT_THAT(decoded.corner_positions, ElementsAre(0, 1, 2, 2, 1, 3));  // the second runs the other way
  EXPECT_THAT(decoded.corner_records, ElementsAre(0, 1, 2, 3, 4, 5));
  EXPECT_THAT(decoded.normals, ElementsAre(-1, 0, 0, -1, 0, 0, -1, 0, 0, 0, 0, 1, 0, 0, 1, 0, 0, 1));
}

TEST(ShapeLod8Attributes, facetsOfLinesBecomeSegmentsOfTheirOwn) {
  LossyShape shape = quad();
  shape.starts = {0, 3};
  shape.indices = {0, 1, 2};
  shape.normal_binding = 0;
  shape.color_binding = 2;
  shape.color_ranges = {{0, 1, 1}, {0, 1, 1}, {0, 1, 1}, {0, 1, 1}};
  shape.colors = {{0, 1}, {0, 0}, {0, 0}, {1, 1}};
  const ShapeGeometry decoded = decode(lossyBody(shape), test::kPolylineSet);
  EXPECT_THAT(decoded.primitive_starts, ElementsAre(0, 2, 4));
  EXPECT_THAT(decoded.corner_positions, ElementsAre(0, 1, 1, 2));
  EXPECT_THAT(decoded.colors, ElementsAre(0, 0, 0, 1, 0, 0, 0, 1, 1, 0, 0, 1, 1, 0, 0, 1));
}

TEST(ShapeLod8Attributes, primitivesShareOneAndVerticesKeepTheirs) {
  LossyShape shape = quad();
  shape.starts = {0, 3, 6};
  shape.indices = {0, 1, 2, 1, 2, 3};
  shape.normal_binding = 3;
  shape.normals = {{5, 1}, {3, 7}, {127, 127}, {0, 0}};
  shape.texture_binding = 1;
  shape.texture_ranges = {{0, 3, 2}, {0, 1, 1}};
  shape.texture = {{0, 1, 2, 3}, {0, 0, 0, 0}};
  const ShapeGeometry decoded = decode(lossyBody(shape), test::kTriStripSet);
  EXPECT_THAT(decoded.primitive_starts, ElementsAre(0, 3, 6));
  EXPECT_THAT(decoded.corner_positions, ElementsAre(0, 1, 2, 1, 2, 3));
  EXPECT_THAT(decoded.corner_records, ElementsAre(0, 1, 2, 3, 4, 5));
  EXPECT_THAT(decoded.normals, ElementsAre(-1, 0, 0, -1, 0, 0, -1, 0, 0, 0, 0, 1, 0, 0, 1, 0, 0, 1));
  EXPECT_THAT(decoded.texture_coordinates, ElementsAre(0, 0, 0, 1, 0, 0, 2, 0, 0, 1, 0, 0, 2, 0, 0, 3, 0, 0));
}

TEST(ShapeLod8Attributes, countIsThatOfWhatTheyBelongTo) {
  LossyShape shape = quad();
  shape.normals = {{5, 1}, {3, 7}, {127, 127}, {0, 0}};
  EXPECT_THAT(errorOf(lossyBody(shape)), HasSubstr("normals: 2 where 4 are needed"));
  shape.normal_binding = 2;
  EXPECT_EQ(decode(lossyBody(shape), test::kTriStripSet).facts.unread_attributes, "");
}

// Nobody knows how writers count facets and primitives: the shape stays, its normals go.
TEST(ShapeLod8Attributes, ofFacetsAndPrimitivesInAnotherNumberAreDropped) {
  LossyShape shape = quad();
  shape.normals = {{5, 1}, {3, 7}, {127, 127}, {0, 0}};
  shape.normal_binding = 3;
  const ShapeGeometry decoded = decode(lossyBody(shape), test::kTriStripSet);
  EXPECT_EQ(decoded.facts.unread_attributes, "normals: 2 where 1 are needed");
  EXPECT_THAT(decoded.normals, IsEmpty());
  EXPECT_THAT(decoded.corner_records, IsEmpty());
  EXPECT_THAT(decoded.corner_positions, ElementsAre(0, 1, 2, 3));
}

// ---- lossless ----

Bytes floats(std::initializer_list<float> values, ByteOrder order) {
  Bytes bytes(order);
  for (const float value : values) bytes.f32(value);
  return bytes;
}

// I32 size, I32 packed size, records.
Bytes losslessBody(const Bytes& header, const Bytes& records, bool packed) {
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

const std::initializer_list<float> kNormalsAndPositions = {0, 0, 1, 0.5F, 0,     0, 0, 0, 2, 1, 0, 0,
                                                           0, 1, 0, 0,    -0.0F, 0, 1, 0, 0, 0, 0, 3.5F};

TEST(ShapeLod8Lossless, recordsAreNormalThenPositionPerCorner) {
  for (const ByteOrder order : {ByteOrder::Little, ByteOrder::Big}) {
    for (const bool packed : {false, true}) {
      const Bytes header = test::shapeHeader(0, 1, 0, 0, {0, 4}, order);
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

TEST(ShapeLod8Lossless, textureCoordinatesAndColoursComeFirst) {
  const Bytes header = test::shapeHeader(0, 1, 1, 1, {0, 1}, ByteOrder::Little);
  const Bytes body =
      losslessBody(header, floats({1, 2, 0.25F, 0.5F, 0.75F, 0, 0, 1, 7, 8, 9}, ByteOrder::Little), false);
  const ShapeGeometry shape = decode(body, test::kPolylineSet);
  EXPECT_THAT(shape.texture_coordinates, ElementsAre(1, 2, 0));
  EXPECT_THAT(shape.colors, ElementsAre(0.25F, 0.5F, 0.75F, 1));
  EXPECT_THAT(shape.normals, ElementsAre(0, 0, 1));
  EXPECT_THAT(shape.positions, ElementsAre(7, 8, 9));
}

TEST(ShapeLod8Lossless, pointsWithoutPrimitiveListAreOneGroup) {
  const Bytes header = test::shapeHeader(0, 0, 0, 0, {}, ByteOrder::Little);
  const ShapeGeometry shape =
      decode(losslessBody(header, floats({1, 2, 3, 4, 5, 6}, ByteOrder::Little), true), test::kPointSet);
  EXPECT_THAT(shape.primitive_starts, ElementsAre(0, 2));
  EXPECT_THAT(shape.positions, ElementsAre(1, 2, 3, 4, 5, 6));
  EXPECT_THAT(shape.corner_records, IsEmpty());
}

TEST(ShapeLod8Lossless, sizeIsCornersTimesRecord) {
  const auto error = [](const Values& starts, bool packed) {
    const Bytes header = test::shapeHeader(0, 1, 0, 0, starts, ByteOrder::Little);
    return errorOf(losslessBody(header, floats(kNormalsAndPositions, ByteOrder::Little), packed));
  };
  for (const bool packed : {false, true}) {
    EXPECT_EQ(error({0, 4}, packed), "");
    EXPECT_THAT(error({0, 3}, packed), HasSubstr("96 bytes for 3 corners of 24"));
    EXPECT_THAT(error({0, 1}, packed), HasSubstr("96 bytes are more than the element can hold"));
    EXPECT_THAT(error({0, 5}, packed), HasSubstr("96 bytes for 5 corners of 24"));
  }
}

TEST(ShapeLod8Lossless, packedSizeIsChecked) {
  const Bytes header = test::shapeHeader(0, 1, 0, 0, {0, 4}, ByteOrder::Little);
  const auto body = [&](std::int64_t size, std::int64_t stored) {
    return Bytes(header).i32(size).i32(stored).bytes(floats(kNormalsAndPositions, ByteOrder::Little));
  };
  EXPECT_EQ(errorOf(body(96, -96)), "");
  EXPECT_THAT(errorOf(body(96, -95)), HasSubstr("95 bytes where 96 are announced"));
  EXPECT_THAT(errorOf(body(96, -97)), HasSubstr("vertex records"));
  EXPECT_THAT(errorOf(body(96, 97)), HasSubstr("vertex records"));
  EXPECT_THAT(errorOf(body(96, std::numeric_limits<std::int32_t>::min())), HasSubstr("vertex records"));
  EXPECT_THAT(errorOf(body(-1, -96)), HasSubstr("size of the vertex records"));
  EXPECT_NE(errorOf(body(96, 96)), "");  // no zlib stream
}

// Normals per facet may stand in the records or not: the size of the records tells.
TEST(ShapeLod8Lossless, attributesPerFacetAreReadWhereTheRecordsHaveThem) {
  const Bytes header = test::shapeHeader(0, 2, 0, 0, {0, 2}, ByteOrder::Little);
  const ShapeGeometry with =
      decode(losslessBody(header, floats({0, 0, 1, 1, 2, 3, 0, 1, 0, 4, 5, 6}, ByteOrder::Little), true),
             test::kPolylineSet);
  EXPECT_THAT(with.positions, ElementsAre(1, 2, 3, 4, 5, 6));
  EXPECT_THAT(with.normals, ElementsAre(0, 0, 1, 0, 1, 0));
  EXPECT_THAT(with.corner_records, ElementsAre(0, 1));
  EXPECT_EQ(with.facts.unread_attributes, "");
  const ShapeGeometry without =
      decode(losslessBody(header, floats({1, 2, 3, 4, 5, 6}, ByteOrder::Little), true), test::kPolylineSet);
  EXPECT_THAT(without.positions, ElementsAre(1, 2, 3, 4, 5, 6));
  EXPECT_THAT(without.normals, IsEmpty());
  EXPECT_EQ(without.facts.unread_attributes, "normals per facet or primitive");
}

TEST(ShapeLod8Lossless, aColourMayHaveAnAlpha) {
  const Bytes header = test::shapeHeader(0, 0, 0, 1, {0, 1}, ByteOrder::Little);
  const ShapeGeometry shape =
      decode(losslessBody(header, floats({0.25F, 0.5F, 0.75F, 0.5F, 7, 8, 9}, ByteOrder::Little), false),
             test::kPolylineSet);
  EXPECT_THAT(shape.colors, ElementsAre(0.25F, 0.5F, 0.75F, 0.5F));
  EXPECT_THAT(shape.positions, ElementsAre(7, 8, 9));
}

TEST(ShapeLod8, withoutAPrimitiveListEverythingIsOnePrimitive) {
  LossyShape shape = quad();
  shape.normal_binding = 0;
  shape.starts = {};
  shape.indices = {3, 2, 1};
  for (const Guid& kind : {test::kPolylineSet, test::kTriStripSet}) {
    EXPECT_THAT(decode(lossyBody(shape), kind).primitive_starts, ElementsAre(0, 3));
  }
  const Bytes header = test::shapeHeader(0, 0, 0, 0, {}, ByteOrder::Little);
  const Bytes body = losslessBody(header, floats({1, 2, 3, 4, 5, 6}, ByteOrder::Little), true);
  EXPECT_THAT(decode(body, test::kPolylineSet).primitive_starts, ElementsAre(0, 2));
}

// ---- kinds ----

// A dart: the third corner lies inside of the triangle of the others, so the polygon is concave there.
TEST(ShapeLod8, polygonSetsKeepTheCornersOfTheirPolygons) {
  LossyShape shape = quad();
  shape.starts = {0, 4, 7};
  shape.ranges = {{0, 7, 3}, {0, 7, 3}, {0, 0, 8}};
  shape.coordinates = {{0, 6, 2, 0}, {0, 0, 2, 6}, {0, 0, 0, 0}};
  shape.indices = {0, 1, 2, 3, 1, 3, 2};
  for (const ByteOrder order : {ByteOrder::Little, ByteOrder::Big}) {
    const ShapeGeometry decoded = decode(lossyBody(shape, order), test::kPolygonSet);
    EXPECT_EQ(decoded.kind, PrimitiveKind::Polygons);
    EXPECT_THAT(decoded.primitive_starts, ElementsAre(0, 4, 7));
    EXPECT_THAT(decoded.positions, ElementsAre(0, 0, 0, 6, 0, 0, 2, 2, 0, 0, 6, 0));
    EXPECT_THAT(decoded.corner_positions, ElementsAre(0, 1, 2, 3, 1, 3, 2));
  }
}

TEST(ShapeLod8, polygonsCanHaveANormalEach) {
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

TEST(ShapeLod8, nullShapeIsEmpty) {
  const Guid null_shape = {0x3e637aed, 0x2a89, 0x41f8, {0xa9, 0xfd, 0x55, 0x37, 0x37, 0x03, 0x96, 0x82}};
  const ShapeGeometry shape = decode(Bytes(), null_shape);
  EXPECT_EQ(shape.kind, PrimitiveKind::Empty);
  EXPECT_EQ(shape.primitiveCount(), 0U);
}

TEST(ShapeLod8, otherKindsAreNamed) {
  EXPECT_EQ(errorOf(Bytes(), {}), "shape LOD element 00000000-0000-0000-0000-000000000000: not supported");
}

// ---- damage ----

TEST(ShapeLod8, everyPrefixIsAnError) {
  LossyShape full = quad();
  full.texture_binding = 1;
  full.texture_ranges = {{0, 1, 1}, {0, 3, 2}};
  full.texture = {{0, 1, 0, 1}, {0, 1, 2, 3}};
  full.color_binding = 1;
  full.hsv = true;
  full.color_ranges = {{0, 0, 2}, {0, 0, 1}, {0, 0, 1}, {0, 0, 1}};
  full.colors = {{0, 1, 2, 3}, {1, 1, 1, 0}, {1, 1, 1, 1}, {1, 1, 1, 0}};
  const Bytes header = test::shapeHeader(0, 1, 0, 0, {0, 4}, ByteOrder::Little);
  const Bytes records = floats(kNormalsAndPositions, ByteOrder::Little);
  const Bytes bodies[] = {lossyBody(full), losslessBody(header, records, false),
                          losslessBody(header, records, true)};
  for (const Bytes& body : bodies) {
    test::forEachPrefix(body, [](ByteReader in, bool whole) {
      EXPECT_EQ(decodeShapeLod8(in, test::kTriStripSet).has_value(), whole);
    });
  }
}

TEST(ShapeLod8, bytesBehindTheDataAreIgnored) { EXPECT_EQ(errorOf(lossyBody(quad()).i32(0x12345678)), ""); }

TEST(ShapeLod8, bindingsAreChecked) {
  const auto header = [](std::uint32_t normal) {
    return errorOf(Bytes().i16(1).i32(0).i32(0).i16(1).i16(1).u8(normal).u8(0).u8(0).i32(0));
  };
  EXPECT_THAT(header(4), HasSubstr("normal binding"));
  EXPECT_THAT(header(3), HasSubstr("primitive list"));  // nothing wrong up to there
}

TEST(ShapeLod8, otherVersionNumbersOfTheLayersAreReadLikeOurs) {
  Bytes body(ByteOrder::Little);
  body.i16(2).i32(0).i32(0).i16(3).i16(2).i32(0).u8(0).u8(0).u8(0);  // … no attributes, lossless
  body.bytes(nullPacket(Values{0, 2}));
  body.i32(24).i32(-24).bytes(floats({1, 2, 3, 4, 5, 6}, ByteOrder::Little));
  EXPECT_THAT(decode(body, test::kPolylineSet).positions, ElementsAre(1, 2, 3, 4, 5, 6));
}

TEST(ShapeLod8, primitiveListAscendsFrom0) {
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

TEST(ShapeLod8, countsOfVerticesAreThoseOfThePackets) {
  const Bytes head = test::shapeHeader(20, 0, 0, 0, {0, 4}, ByteOrder::Little);
  const auto error = [&](std::int64_t count) {
    Bytes body = head;
    test::addRanges(body, quad().ranges);
    return errorOf(body.i32(count).bytes(nullPacket(Values{0, 1, 2})));
  };
  EXPECT_THAT(error(-1), HasSubstr("vertex count"));
  EXPECT_THAT(error(0x7fffffff), HasSubstr("more than the element can hold"));
  EXPECT_THAT(error(4), HasSubstr("x codes: 3 values, 4 expected"));
  EXPECT_THAT(error(2), HasSubstr("x codes: 3 values in a packet that may hold 2"));
}

TEST(ShapeLod8, indicesAreBelowTheVertexCount) {
  LossyShape shape = quad();
  shape.indices = {0, 1, 2, 4};
  EXPECT_THAT(errorOf(lossyBody(shape)), HasSubstr("vertex indices: 4 where there are 4"));
  shape.indices = {0, 1, 2, -1};
  EXPECT_THAT(errorOf(lossyBody(shape)), HasSubstr("vertex indices: -1"));
}

TEST(ShapeLod8, codesFitTheirBits) {
  LossyShape shape = quad();
  shape.coordinates[0][2] = 4;  // one step beyond the range
  EXPECT_EQ(decode(lossyBody(shape), test::kTriStripSet).positions[6], 4);
  shape.coordinates[0][2] = 5;
  EXPECT_THAT(errorOf(lossyBody(shape)), HasSubstr("x codes: code 5 has more than 2 bits"));
  for (const auto& [component, code] :
       {std::pair{0, 6}, std::pair{1, 8}, std::pair{2, 129}, std::pair{3, -1}}) {
    shape = quad();
    shape.normals[static_cast<std::size_t>(component)][1] = code;
    EXPECT_THAT(errorOf(lossyBody(shape)), HasSubstr("normal 1 are out of range"));
  }
}

TEST(ShapeLod8, quantisersAreFiniteAndHave32BitsAtMost) {
  LossyShape shape = quad();
  shape.ranges[1].bits = 33;
  EXPECT_THAT(errorOf(lossyBody(shape)), HasSubstr("quantiser bits"));
  shape = quad();
  shape.ranges[1].maximum = std::numeric_limits<float>::infinity();
  EXPECT_THAT(errorOf(lossyBody(shape)), HasSubstr("quantiser range"));
  for (const std::uint32_t bits : {0U, 14U, 255U}) {
    shape = quad();
    shape.normal_bits = bits;
    EXPECT_THAT(errorOf(lossyBody(shape)), HasSubstr("angles of"));
  }
}

TEST(ShapeLod8, errorsNameTheKindAndThePlace) {
  LossyShape shape = quad();
  shape.indices = {0, 1, 2, 4};
  const auto decoded =
      decodeShapeLod8(ByteReader(lossyBody(shape).data(), ByteOrder::Little, 1000), test::kPolygonSet);
  ASSERT_FALSE(decoded.has_value());
  EXPECT_THAT(decoded.error().what, HasSubstr("polygon set: "));
  EXPECT_GT(decoded.error().offset, 1000U);

  // The same through a whole segment: the kind is named once.
  Bytes element;
  element.i32(17 + 2).i32(0x10dd109f).i16(0x2ac8).i16(0x11d1);
  for (const std::uint32_t byte : test::kPolygonSet.d) element.u8(byte);
  element.u8(4).i16(7);  // base type, a version that does not exist
  Segment segment;
  segment.data = element.data();
  const auto whole = decodeShapeLod(segment, {8, 1}, ByteOrder::Little);
  ASSERT_FALSE(whole.has_value());
  EXPECT_EQ(whole.error().what.rfind("polygon set: "), 0U) << whole.error().what;
}

}  // namespace
}  // namespace jttk
