// Shape LOD elements of 8.x whose vertex data are quantised: layouts, and attributes per vertex, facet and
// primitive.
#include <gmock/gmock.h>

#include "tests/jttk/codec/v8/decoded_shape.h"

namespace jttk {
namespace {

namespace pieces = loftbay::maker::pieces;
using from_maker::readerOf;
using loftbay::maker::pieces::lossyBody;
using loftbay::maker::pieces::LossyShape;
using loftbay::maker::pieces::quad;
using loftbay::maker::pieces::Values;
using test::decode;
using test::errorOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(ShapeLodV8Lossy, TriStripInBothByteOrders) {
  for (const pieces::ByteOrder order : {pieces::ByteOrder::Little, pieces::ByteOrder::Big}) {
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

TEST(ShapeLodV8Lossy, PredictorsArePerArray) {
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

TEST(ShapeLodV8Lossy, DegenerateLinksStay) {
  LossyShape shape = quad();
  shape.starts = {0, 6};
  shape.indices = {0, 1, 1, 1, 2, 3};
  EXPECT_THAT(decode(lossyBody(shape), test::kTriStripSet).corner_positions, ElementsAre(0, 1, 1, 1, 2, 3));
}

TEST(ShapeLodV8Lossy, CoordinatesAreRoundedOnce) {
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

TEST(ShapeLodV8Lossy, PolylinesAndPolygonsShareTheLayout) {
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

TEST(ShapeLodV8Lossy, PointsWithoutPrimitiveListAreOneGroup) {
  LossyShape shape = quad();
  shape.normal_binding = 0;
  shape.starts = {};
  shape.indices = {3, 2, 1, 0, 2};
  const ShapeGeometry decoded = decode(lossyBody(shape), test::kPointSet);
  EXPECT_EQ(decoded.kind, PrimitiveKind::Points);
  EXPECT_THAT(decoded.primitive_starts, ElementsAre(0, 5));
  EXPECT_THAT(decoded.corner_positions, ElementsAre(3, 2, 1, 0, 2));
}

TEST(ShapeLodV8Lossy, PointsWithPrimitiveListKeepTheirGroups) {
  LossyShape shape = quad();
  shape.normal_binding = 0;
  shape.starts = {0, 1, 4};
  EXPECT_THAT(decode(lossyBody(shape), test::kPointSet).primitive_starts, ElementsAre(0, 1, 4));
}

TEST(ShapeLodV8Lossy, NothingAtAllIsAShapeToo) {
  LossyShape shape;
  shape.coordinates = {{}, {}, {}};
  for (const Values& starts : {Values{}, Values{0}}) {
    shape.starts = starts;
    const ShapeGeometry decoded = decode(lossyBody(shape), test::kTriStripSet);
    EXPECT_THAT(decoded.primitive_starts, IsEmpty());
    EXPECT_THAT(decoded.corner_positions, IsEmpty());
  }
}

TEST(ShapeLodV8Lossy, TextureCoordinatesArePaddedToThree) {
  LossyShape shape = quad();
  shape.texture_binding = 1;
  shape.texture_ranges = {{0, 1, 1}, {0, 3, 2}};
  shape.texture = {{0, 1, 0, 1}, {0, 1, 2, 3}};
  const ShapeGeometry decoded = decode(lossyBody(shape), test::kTriStripSet);
  EXPECT_THAT(decoded.texture_coordinates, ElementsAre(0, 0, 0, 1, 1, 0, 0, 2, 0, 1, 3, 0));
  EXPECT_EQ(decoded.facts.bindings, 0x101U);
}

TEST(ShapeLodV8Lossy, ColoursAsRedGreenBlueAlpha) {
  LossyShape shape = quad();
  shape.color_binding = 1;
  shape.color_ranges = {{0, 1, 1}, {0, 1, 1}, {0, 3, 2}, {0, 1, 1}};
  shape.colors = {{0, 1, 0, 1}, {1, 1, 0, 0}, {0, 1, 2, 3}, {1, 1, 1, 0}};
  const ShapeGeometry decoded = decode(lossyBody(shape), test::kTriStripSet);
  EXPECT_THAT(decoded.colors, ElementsAre(0, 1, 0, 1, 1, 1, 1, 1, 0, 0, 2, 1, 1, 0, 3, 0));
}

TEST(ShapeLodV8Lossy, ColoursAsHueSaturationValueAlpha) {
  LossyShape shape = quad();
  shape.color_binding = 1;
  shape.hsv = true;
  shape.color_ranges = {{0, 0, 2}, {0, 0, 1}, {0, 0, 1}, {0, 0, 1}};
  // Hue of 2 bits over 0 .. 6: 0 red, 2 green, 4 blue, 6 red again; the last one without saturation.
  shape.colors = {{0, 1, 2, 3}, {1, 1, 1, 0}, {1, 1, 1, 1}, {1, 1, 1, 0}};
  const ShapeGeometry decoded = decode(lossyBody(shape), test::kTriStripSet);
  EXPECT_THAT(decoded.colors, ElementsAre(1, 0, 0, 1, 0, 1, 0, 1, 0, 0, 1, 1, 1, 1, 1, 0));
}

TEST(ShapeLodV8Lossy, HuesBetweenTheSextants) {
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

TEST(ShapeLodV8Attributes, FacetsOfStripsBecomeTrianglesOfTheirOwn) {
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

TEST(ShapeLodV8Attributes, FacetsOfLinesBecomeSegmentsOfTheirOwn) {
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

TEST(ShapeLodV8Attributes, PrimitivesShareOneAndVerticesKeepTheirs) {
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

TEST(ShapeLodV8Attributes, CountIsThatOfWhatTheyBelongTo) {
  LossyShape shape = quad();
  shape.normals = {{5, 1}, {3, 7}, {127, 127}, {0, 0}};
  EXPECT_EQ(decode(lossyBody(shape), test::kTriStripSet).facts.unread_attributes,
            "normals: 2 where 4 are needed");
  shape.normal_binding = 2;
  EXPECT_EQ(decode(lossyBody(shape), test::kTriStripSet).facts.unread_attributes, "");
}

// It is not known how writers count facets and primitives: the shape stays, its normals are dropped.
TEST(ShapeLodV8Attributes, OfFacetsAndPrimitivesInAnotherNumberAreDropped) {
  LossyShape shape = quad();
  shape.normals = {{5, 1}, {3, 7}, {127, 127}, {0, 0}};
  shape.normal_binding = 3;
  const ShapeGeometry decoded = decode(lossyBody(shape), test::kTriStripSet);
  EXPECT_EQ(decoded.facts.unread_attributes, "normals: 2 where 1 are needed");
  EXPECT_THAT(decoded.normals, IsEmpty());
  EXPECT_THAT(decoded.corner_records, IsEmpty());
  EXPECT_THAT(decoded.corner_positions, ElementsAre(0, 1, 2, 3));
}

// The indices behind them are needed, so they are skipped.
TEST(ShapeLodV8Attributes, ThatCannotBeReadAreDropped) {
  const auto expectWithout = [](const LossyShape& shape, const char* reason) {
    const ShapeGeometry decoded = decode(lossyBody(shape), test::kTriStripSet);
    EXPECT_THAT(decoded.facts.unread_attributes, HasSubstr(reason));
    EXPECT_THAT(decoded.corner_positions, ElementsAre(0, 1, 2, 3));
    EXPECT_THAT(decoded.positions, ElementsAre(0, -1, 5, 1, 1, 5, 2, -1, 5, 3, 1, 5));
    return decoded;
  };
  LossyShape shape = quad();
  shape.normals[0][2] = 6;
  EXPECT_THAT(expectWithout(shape, "the codes of normal 2 are out of range").normals, IsEmpty());
  shape = quad();
  shape.normals[2].pop_back();
  expectWithout(shape, "theta codes: 3 values, 4 expected");
  shape = quad();
  for (Values& codes : shape.normals) codes.pop_back();
  expectWithout(shape, "normals: 3 where 4 are needed");
  shape = quad();
  shape.normal_bits = 14;
  expectWithout(shape, "angles of 14 bits");

  shape = quad();
  shape.texture_binding = 1;
  shape.texture_ranges = {{0, 1, 33}, {0, 3, 2}};
  shape.texture = {{0, 1, 0, 1}, {0, 1, 2, 3}};
  shape.color_binding = 1;
  shape.color_ranges = {{0, 1, 1}, {0, 1, 1}, {0, 3, 2}, {0, 1, 1}};
  shape.colors = {{0, 1, 0, 1}, {1, 1, 0, 0}, {0, 1, 2, 3}, {1, 1, 1, 0}};
  const ShapeGeometry decoded = expectWithout(shape, "is more than 32");
  EXPECT_THAT(decoded.texture_coordinates, IsEmpty());
  EXPECT_EQ(decoded.normals.size(), 12U);
  EXPECT_EQ(decoded.colors.size(), 16U);
  shape.texture_ranges[0].bits = 1;
  for (const bool hsv : {false, true}) {
    shape.hsv = hsv;
    shape.colors[3].push_back(9);
    EXPECT_THAT(expectWithout(shape, "alpha codes").colors, IsEmpty());
  }
}

LossyShape texturedQuad(std::uint32_t binding, std::size_t count) {
  LossyShape shape = quad();
  shape.texture_binding = binding;
  shape.texture_ranges = {{0, 1, 1}, {0, 3, 2}};
  shape.texture = {Values(count, 1), Values(count, 2)};
  shape.color_binding = 1;
  shape.color_ranges = {{0, 1, 1}, {0, 1, 1}, {0, 3, 2}, {0, 1, 1}};
  shape.colors = {{0, 1, 0, 1}, {1, 1, 0, 0}, {0, 1, 2, 3}, {1, 1, 1, 0}};
  return shape;
}

// As the programs decode: texture coordinates are passed over.
ShapeGeometry decodePlain(const pieces::ByteBuilder& body, const Guid& kind = test::kTriStripSet) {
  const auto shape = decodeShapeLodV8(readerOf(body), kind);
  EXPECT_TRUE(shape.has_value()) << shape.error().text();
  return shape ? *shape : ShapeGeometry{};
}

// Strips are taken apart for attributes of facets also where these are not decoded.
TEST(ShapeLodV8Lossy, TheShapeIsTheSameWhetherTextureCoordinatesAreAskedForOrNot) {
  for (const bool with_normals : {true, false}) {
    for (const auto& [binding, count] : {std::pair{1U, 4U}, {2U, 2U}, {3U, 1U}, {2U, 3U}}) {
      LossyShape shape = texturedQuad(binding, count);
      if (!with_normals) shape.normal_binding = shape.color_binding = 0;
      const ShapeGeometry asked = decode(lossyBody(shape), test::kTriStripSet);
      const ShapeGeometry plain = decodePlain(lossyBody(shape));
      EXPECT_THAT(plain.texture_coordinates, IsEmpty());
      EXPECT_EQ(plain.facts.unread_attributes, "");
      EXPECT_EQ(plain.positions, asked.positions);
      EXPECT_EQ(plain.primitive_starts, asked.primitive_starts);
      EXPECT_EQ(plain.corner_positions, asked.corner_positions);
      EXPECT_EQ(plain.normals, asked.normals);
      EXPECT_EQ(plain.colors, asked.colors);
      if (with_normals) {
        EXPECT_EQ(plain.corner_records, asked.corner_records);
      } else {
        EXPECT_THAT(plain.corner_records, IsEmpty());
      }
      const bool count_fits = count != 3;
      EXPECT_EQ(asked.texture_coordinates.empty(), !count_fits);
      EXPECT_EQ(asked.facts.unread_attributes.empty(), count_fits);
    }
  }
}

TEST(ShapeLodV8Lossy, TextureCoordinatesThatNobodyAsksForMayBeDamaged) {
  LossyShape shape = texturedQuad(1, 4);
  const ShapeGeometry sound = decodePlain(lossyBody(shape));
  shape.texture_ranges[0].bits = 33;
  shape.texture[1].pop_back();
  EXPECT_NE(decode(lossyBody(shape), test::kTriStripSet).facts.unread_attributes, "");
  const ShapeGeometry plain = decodePlain(lossyBody(shape));
  EXPECT_EQ(plain.facts.unread_attributes, "");
  EXPECT_EQ(plain.corner_positions, sound.corner_positions);
  EXPECT_EQ(plain.colors, sound.colors);
  EXPECT_EQ(plain.normals, sound.normals);
}

// Arrays follow only where there are vertices.
TEST(ShapeLodV8Lossy, NothingNeedsNoArraysWhateverItsBindings) {
  pieces::ByteBuilder body = pieces::shapeHeader(20, 1, 1, 1, {}, pieces::ByteOrder::Little);
  pieces::addRanges(body, {{0, 3, 2}, {-1, 1, 1}, {5, 5, 8}});
  body.i32(0);
  const ShapeGeometry decoded = decode(body, test::kTriStripSet);
  EXPECT_THAT(decoded.corner_positions, IsEmpty());
  EXPECT_EQ(decoded.facts.unread_attributes, "");
}

TEST(ShapeLodV8Lossy, MemoryIsTakenFromTheBudget) {
  const auto body = lossyBody(quad());
  MemoryBudget enough(1000);
  EXPECT_TRUE(decodeShapeLodV8(readerOf(body), test::kTriStripSet, {{}, &enough, true}).has_value());
  EXPECT_GT(enough.taken(), 0U);
  MemoryBudget little(40);
  const auto refused = decodeShapeLodV8(readerOf(body), test::kTriStripSet, {{}, &little, true});
  ASSERT_FALSE(refused.has_value());
  EXPECT_THAT(refused.error().what, HasSubstr("more memory is asked for than the limit of 40 bytes"));
}

}  // namespace
}  // namespace jttk
