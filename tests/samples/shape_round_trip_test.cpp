// Shapes that the maker codes and the toolkit decodes: the same primitives with the same bits come back.
#include <gtest/gtest.h>

#include <cmath>

#include "samples/maker/quantise.h"
#include "samples/maker/shape_lod.h"
#include "samples/maker/solids.h"
#include "tests/samples/test_shapes.h"

namespace loftbay::maker::test {
namespace {

jttk::Version readerVersion(const Options& options) {
  constexpr int kMinor[] = {0, 1, 2, 0, 5, 0};
  return {options.major(), kMinor[static_cast<int>(options.version)]};
}

jttk::Result<jttk::ShapeGeometry> decode(const Bytes& bytes, const Options& options) {
  jttk::Segment segment;
  segment.type = jttk::SegmentType::ShapeLod0;
  segment.data = std::as_bytes(std::span(bytes));
  return jttk::decodeShapeLod(segment, readerVersion(options),
                              options.big_endian ? jttk::ByteOrder::Big : jttk::ByteOrder::Little,
                              {{}, nullptr, true});
}

std::string describe(const Options& o) {
  return std::string(o.versionText()) + (o.big_endian ? " big endian" : "") + " codec " +
         std::to_string(static_cast<int>(o.codec)) + " bits " + std::to_string(o.coordinate_bits) + "/" +
         std::to_string(o.normal_bits) + "/" + std::to_string(o.color_bits);
}

void expectRoundTrip(const Shape& shape, const Options& wanted) {
  const Options options = wanted.effective();
  SCOPED_TRACE(describe(options));
  const Bytes bytes = shapeSegment(shape, options, 1);
  const auto decoded = decode(bytes, options);
  ASSERT_TRUE(decoded) << decoded.error().text();
  const auto expected = canonical(dequantised(shape, options));
  const auto found = canonical(*decoded, !shape.texture_coordinates.empty());
  ASSERT_EQ(found.size(), expected.size());
  EXPECT_TRUE(found == expected) << "the primitives differ";
  const bool topology = shape.kind == ShapeKind::Triangles || shape.kind == ShapeKind::Polygons;
  if (options.major() > 8 && topology) {
    EXPECT_TRUE(decoded->facts.topology_hash_checked);
  }
}

std::vector<Shape> shapesOfEveryKind() {
  std::mt19937 random(7);
  std::vector<Shape> shapes = {openGrid(1, 1),  openGrid(9, 7),        torus(8, 5),     torus(17, 12),
                               doubleCone(3),   doubleCone(40),        doubleCone(64),  doubleCone(65),
                               doubleCone(370), tetrahedra(1),         tetrahedra(50),  touchingSheets(),
                               sieve(4, 3),     toShape(ball(10, 16)), openGrid(24, 20)};
  const std::size_t plain = shapes.size();
  for (std::size_t i = 0; i < plain; ++i) {
    Shape scattered = shapes[i];
    scatterRecords(scattered, random, true, false);
    shapes.push_back(scattered);
  }
  return shapes;
}

TEST(TriangleRoundTrip, LosslessShapesComeBackBitForBitInEveryVersionAndCodec) {
  for (const auto& shape : shapesOfEveryKind()) {
    SCOPED_TRACE(shape.primitiveCount());
    for (const auto version : {JtVersion::V9_0, JtVersion::V9_5, JtVersion::V10_0}) {
      for (const auto codec : kCodecs9) expectRoundTrip(shape, {.version = version, .codec = codec});
    }
    for (const auto version : {JtVersion::V8_0, JtVersion::V8_1, JtVersion::V8_2}) {
      for (const auto codec : kCodecs8) expectRoundTrip(shape, {.version = version, .codec = codec});
    }
  }
}

TEST(TriangleRoundTrip, QuantisedShapesComeBackAsTheirDequantisedValues) {
  for (const auto& shape : shapesOfEveryKind()) {
    SCOPED_TRACE(shape.primitiveCount());
    for (const int bits_wanted : {4, 9, 12, 21, 24, 32}) {
      const auto bits = static_cast<std::uint8_t>(bits_wanted);
      const auto normal_bits = static_cast<std::uint8_t>(bits == 4 ? 3 : bits == 9 ? 7 : 13);
      // With coarse codes corners coincide; such triangles cannot be distinguished from strip links.
      const bool collapses = bits < 21;
      for (const auto version : {JtVersion::V8_0, JtVersion::V9_5, JtVersion::V10_0}) {
        if (version == JtVersion::V8_0 && collapses) continue;
        for (const auto codec : codecsOf(version)) {
          expectRoundTrip(
              shape,
              {.version = version, .codec = codec, .coordinate_bits = bits, .normal_bits = normal_bits});
        }
      }
    }
  }
}

TEST(TriangleRoundTrip, ColoursTexturePlacesAndFlagsStayWithTheirCorners) {
  std::mt19937 random(11);
  Shape shape = torus(12, 9);
  scatterRecords(shape, random, true, true, true, true);
  for (const bool plain : {false, true}) {
    for (const auto version : {JtVersion::V9_0, JtVersion::V9_5, JtVersion::V10_0}) {
      expectRoundTrip(shape, {.version = version, .plain_attributes = plain});
      expectRoundTrip(
          shape, {.version = version, .coordinate_bits = 22, .color_bits = 8, .plain_attributes = plain});
    }
  }
  shape.vertex_flags.clear();
  expectRoundTrip(shape, {.version = JtVersion::V8_1});
  shape.texture_coordinates.clear();
  expectRoundTrip(shape,
                  {.version = JtVersion::V8_0, .coordinate_bits = 22, .normal_bits = 9, .color_bits = 8});
}

// Two bits of hue put red, green and blue on codes, so nothing is rounded.
TEST(TriangleRoundTrip, ColoursAsHueSaturationAndValue) {
  std::mt19937 random(17);
  Shape shape = torus(9, 7);
  scatterRecords(shape, random, true, true);
  constexpr Rgba kPure[] = {{1, 0, 0, 1}, {0, 1, 0, 0}, {0, 0, 1, 1}, {1, 1, 1, 1}, {0, 0, 0, 0}};
  for (std::size_t i = 0; i < shape.colors.size(); ++i) shape.colors[i] = kPure[i % std::size(kPure)];
  for (const auto version : {JtVersion::V8_0, JtVersion::V9_0, JtVersion::V9_5, JtVersion::V10_0}) {
    for (const bool plain : {false, true}) {
      expectRoundTrip(shape, {.version = version,
                              .coordinate_bits = 22,
                              .normal_bits = 9,
                              .color_bits = 2,
                              .hsv_colors = true,
                              .plain_attributes = plain});
    }
  }
}

TEST(TriangleRoundTrip, LosslessColoursAndTexturePlacesInEveryVersionAndCodec) {
  std::mt19937 random(19);
  Shape shape = doubleCone(12);
  scatterRecords(shape, random, true, true, true);
  for (const auto version : {JtVersion::V9_0, JtVersion::V9_5, JtVersion::V10_0}) {
    for (const auto codec : kCodecs9) {
      expectRoundTrip(shape, {.version = version, .codec = codec});
      // Coordinates quantised, the rest as it is.
      expectRoundTrip(shape, {.version = version, .codec = codec, .coordinate_bits = 24});
    }
  }
  // 8.x has no alpha where it is lossless.
  for (auto& color : shape.colors) color[3] = 1;
  for (const auto version : {JtVersion::V8_0, JtVersion::V8_1, JtVersion::V8_2}) {
    expectRoundTrip(shape, {.version = version});
    expectRoundTrip(shape, {.version = version, .big_endian = true});
  }
}

TEST(TriangleRoundTrip, BigEndianFilesHoldTheSameShapes) {
  std::mt19937 random(13);
  Shape shape = doubleCone(70);
  scatterRecords(shape, random, true, true);
  for (const auto version :
       {JtVersion::V8_0, JtVersion::V8_2, JtVersion::V9_0, JtVersion::V9_5, JtVersion::V10_0}) {
    for (const auto codec : codecsOf(version)) {
      expectRoundTrip(shape, {.version = version, .big_endian = true, .codec = codec});
      expectRoundTrip(shape, {.version = version,
                              .big_endian = true,
                              .codec = codec,
                              .coordinate_bits = 20,
                              .normal_bits = 10,
                              .color_bits = 8});
    }
  }
}

TEST(TriangleRoundTrip, JoinedStripsGiveTheSameTriangles) {
  for (const auto& shape : {openGrid(7, 9), tetrahedra(9), touchingSheets(), doubleCone(11)}) {
    expectRoundTrip(shape, {.version = JtVersion::V8_0, .join_strips = true});
    expectRoundTrip(shape, {.version = JtVersion::V8_1, .coordinate_bits = 24, .join_strips = true});
  }
}

TEST(TriangleRoundTrip, RandomSoupsOfTriangles) {
  std::mt19937 random(2024);
  for (int round = 0; round < 400; ++round) {
    SCOPED_TRACE(round);
    const std::uint32_t positions = 4 + below(random, 60);
    Shape shape = triangleSoup(random, positions, 1 + below(random, 4 * positions));
    const bool colors = below(random, 2) == 0;
    if (below(random, 4) != 0) scatterRecords(shape, random, true, colors);
    const JtVersion versions[] = {JtVersion::V8_0, JtVersion::V9_0, JtVersion::V9_5, JtVersion::V10_0};
    const JtVersion version = versions[below(random, 4)];
    const Codec codec = version == JtVersion::V8_0
                            ? kCodecs8[below(random, static_cast<std::uint32_t>(std::size(kCodecs8)))]
                            : kCodecs9[below(random, static_cast<std::uint32_t>(std::size(kCodecs9)))];
    expectRoundTrip(shape, {.version = version, .codec = codec});
  }
}

// What packs best: a million flat corners with one normal. No limit on sizes may refuse it.
TEST(TriangleRoundTrip, LargeFlatGridsAreNotTakenForHostileInput) {
  Shape shape = openGrid(400, 400);
  for (auto& position : shape.positions)
    position = {std::round(position.x / 1.25F), std::round(position.y / 0.7F), 0};
  shape.normals = {{0, 0, 1}};
  shape.corner_records.assign(shape.corner_positions.size(), 0);
  for (const auto version : {JtVersion::V8_1, JtVersion::V9_5, JtVersion::V10_0}) {
    for (const std::uint8_t bits : {std::uint8_t{0}, std::uint8_t{12}}) {
      const Options options =
          Options{.version = version, .coordinate_bits = bits, .normal_bits = 8}.effective();
      const auto decoded = decode(shapeSegment(shape, options, 1), options);
      ASSERT_TRUE(decoded) << describe(options) << decoded.error().text();
      EXPECT_EQ(decoded->positions.size() >= 3 * shape.positions.size(), true);
    }
  }
}

TEST(PolygonRoundTrip, PolygonsOfManyCornersComeBack) {
  std::mt19937 random(5);
  for (const std::uint32_t sides : {3U, 4U, 5U, 6U, 17U, 200U}) {
    Shape shape = prism(sides);
    for (const auto version : {JtVersion::V8_0, JtVersion::V9_0, JtVersion::V9_5, JtVersion::V10_0}) {
      expectRoundTrip(shape, {.version = version});
    }
    scatterRecords(shape, random, true, true);
    for (const auto version : {JtVersion::V9_0, JtVersion::V9_5, JtVersion::V10_0}) {
      expectRoundTrip(shape, {.version = version});
    }
  }
}

Shape zigzag(ShapeKind kind) {
  Shape shape;
  shape.kind = kind;
  for (std::uint32_t i = 0; i < 30; ++i)
    shape.positions.push_back({float(i), float(i % 3), float(i % 5) * 0.1F});
  for (std::uint32_t line = 0; line < 6; ++line) {
    for (std::uint32_t i = 0; i <= 2 + line; ++i) shape.corner_positions.push_back((line * 7 + i * 3) % 30);
    shape.primitive_starts.push_back(static_cast<std::uint32_t>(shape.corner_positions.size()));
  }
  return shape;
}

TEST(LineRoundTrip, LinesAndPointsComeBackInEveryVersion) {
  std::mt19937 random(3);
  for (const auto kind : {ShapeKind::Polylines, ShapeKind::Points}) {
    for (const auto version : {JtVersion::V8_0, JtVersion::V8_1, JtVersion::V8_2, JtVersion::V9_0,
                               JtVersion::V9_5, JtVersion::V10_0}) {
      for (const std::uint8_t bits : {std::uint8_t{0}, std::uint8_t{20}}) {
        Shape shape = zigzag(kind);
        expectRoundTrip(shape, {.version = version, .coordinate_bits = bits});
        expectRoundTrip(shape, {.version = version, .big_endian = true, .coordinate_bits = bits});
        scatterRecords(shape, random, false, true);
        if (bits == 0 || version >= JtVersion::V9_0) {
          expectRoundTrip(shape, {.version = version, .coordinate_bits = bits});
        }
      }
    }
  }
}

TEST(LineRoundTrip, TheOrderOfLinesAndCornersIsKept) {
  const Shape shape = zigzag(ShapeKind::Polylines);
  const Bytes bytes = shapeSegment(shape, {}, 1);
  const auto decoded = decode(bytes, {});
  ASSERT_TRUE(decoded) << decoded.error().text();
  ASSERT_EQ(decoded->primitive_starts, shape.primitive_starts);
  for (std::size_t c = 0; c < shape.corner_positions.size(); ++c) {
    EXPECT_EQ(decoded->positions[3 * decoded->corner_positions[c]],
              shape.positions[shape.corner_positions[c]].x);
  }
}

TEST(NormalCodes, TheNearestCodeIsWithinAStepOfTheNormal) {
  std::mt19937 random(1);
  std::uniform_real_distribution<float> value(-1, 1);
  for (const unsigned bits : {4U, 8U, 13U}) {
    const double step = 0.8 / double(1U << bits);  // 45 degrees over 2^bits
    for (int i = 0; i < 2000; ++i) {
      Vec3 n = {value(random), value(random), value(random)};
      if (i < 6) n = {i % 3 == 0 ? 1.0F : 0, i % 3 == 1 ? 1.0F : 0, i % 3 == 2 ? 1.0F : 0};
      if (i == 6) n = {1, 1, 1};
      const double length = std::sqrt(double(n.x) * n.x + double(n.y) * n.y + double(n.z) * n.z);
      const Vec3 d = decodeNormal(encodeNormal(n, bits), bits);
      const double off = std::hypot(n.x / length - d.x, n.y / length - d.y, n.z / length - d.z);
      EXPECT_LT(off, step) << n.x << " " << n.y << " " << n.z;
    }
  }
}

}  // namespace
}  // namespace loftbay::maker::test
