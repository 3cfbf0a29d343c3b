// Whole shape elements in the layouts of JT 9 and 10.
#include <gmock/gmock.h>

#include "jttk/codec/lookup2.h"
#include "tests/jttk/codec/shape_elements.h"

namespace {

namespace guids = loftbay::maker::guids;
using jttk::PrimitiveKind;
using jttk::ShapeGeometry;
using jttk::testing::decode;
using jttk::testing::errorOf;
using jttk::testing::expectPositions;
using jttk::testing::kForms;
using jttk::testing::tetrahedron;
using loftbay::maker::GuidValue;
using loftbay::maker::pieces::bowTieSymbols;
using loftbay::maker::pieces::ByteBuilder;
using loftbay::maker::pieces::Bytes;
using loftbay::maker::pieces::cubeSymbols;
using loftbay::maker::pieces::PacketForm;
using loftbay::maker::pieces::packetOf;
using loftbay::maker::pieces::polygonSymbols;
using loftbay::maker::pieces::shapeElement;
using loftbay::maker::pieces::ShapeOptions;
using loftbay::maker::pieces::tetrahedronSymbols;
using loftbay::maker::pieces::topologicalRepData;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

TEST(ShapeLod, TriStripSetsLosslessAndQuantised) {
  for (const PacketForm form : kForms) {
    for (const bool quantized : {false, true}) {
      const ShapeOptions options{form, quantized, 0x0a};
      const auto shape = decode(
          shapeElement(guids::kTriStripLod, form, topologicalRepData(tetrahedronSymbols(7), 4, 12, options)),
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

TEST(ShapeLod, CoordinatesOfTwoAndFourComponents) {
  for (const PacketForm form : kForms) {
    for (const bool quantized : {false, true}) {
      ShapeOptions options{form, quantized, 0x0c};
      const auto shape = [&](std::uint32_t components) {
        options.coordinate_components = components;
        const auto decoded = decode(
            shapeElement(guids::kTriStripLod, form, topologicalRepData(bowTieSymbols(), 5, 5, options)),
            form);
        EXPECT_TRUE(decoded.has_value()) << decoded.error().text();
        return decoded ? *decoded : ShapeGeometry{};
      };
      expectPositions(shape(4), 5);
      const ShapeGeometry flat = shape(2);
      ASSERT_EQ(flat.positions.size(), 15U);
      EXPECT_THAT(std::vector<float>(flat.positions.begin() + 12, flat.positions.end()),
                  ElementsAre(4, 8, 0));
    }
  }
  for (const std::uint32_t components : {1U, 5U}) {
    const ShapeOptions options{PacketForm::V9, false, 0x0a, components};
    EXPECT_THAT(errorOf(shapeElement(guids::kTriStripLod, PacketForm::V9,
                                     topologicalRepData(bowTieSymbols(), 5, 5, options)),
                        PacketForm::V9),
                HasSubstr("coordinates with " + std::to_string(components) + " components"));
  }
}

TEST(ShapeLod, PolygonSetsKeepTheCornersOfTheirPolygons) {
  for (const PacketForm form : kForms) {
    const auto shape = decode(
        shapeElement(guids::kPolygonLod, form, topologicalRepData(cubeSymbols(7), 8, 24, {form})), form);
    ASSERT_TRUE(shape.has_value()) << shape.error().text();
    EXPECT_EQ(shape->kind, PrimitiveKind::Polygons);
    EXPECT_THAT(shape->primitive_starts, ElementsAre(0, 4, 8, 12, 16, 20, 24));
    // The first polygon makes vertices 0 to 3. All are equally open, so the latest is next; the polygon in
    // its slot 1 lies across the edge from vertex 2, runs along it from 3 to 2, and makes the next two.
    EXPECT_THAT(
        std::vector<std::uint32_t>(shape->corner_positions.begin(), shape->corner_positions.begin() + 8),
        ElementsAre(0, 1, 2, 3, 3, 2, 4, 5));
    const auto six = decode(
        shapeElement(guids::kPolygonLod, form, topologicalRepData(polygonSymbols(6), 6, 0, {form, false, 2})),
        form);
    ASSERT_TRUE(six.has_value()) << six.error().text();
    EXPECT_THAT(six->primitive_starts, ElementsAre(0, 6));
    EXPECT_THAT(six->corner_positions, ElementsAre(0, 1, 2, 3, 4, 5));
    EXPECT_EQ(six->facts.covers, 1U);
  }
}

TEST(ShapeLod, WithoutRecordsCornersHaveNone) {
  const ShapeOptions options{PacketForm::V9, false, 0x02};
  const auto shape = decode(shapeElement(guids::kTriStripLod, PacketForm::V9,
                                         topologicalRepData(tetrahedronSymbols(0), 4, 0, options)),
                            PacketForm::V9);
  ASSERT_TRUE(shape.has_value()) << shape.error().text();
  EXPECT_TRUE(shape->corner_records.empty());
  EXPECT_TRUE(shape->normals.empty());
}

TEST(ShapeLod, NullShapesAreEmptyAndUnknownElementsRefused) {
  const GuidValue null_shape{0x3e637aed, 0x2a89, 0x41f8, {0xa9, 0xfd, 0x55, 0x37, 0x37, 0x03, 0x96, 0x82}};
  EXPECT_EQ(decode(shapeElement(null_shape, PacketForm::V9, {}), PacketForm::V9)->kind, PrimitiveKind::Empty);
  EXPECT_THAT(errorOf(shapeElement({1, 2, 3, {}}, PacketForm::V9, {}), PacketForm::V9),
              HasSubstr("are not known"));
}

TEST(ShapeLod, ElementsInFrontOfTheShapeArePassedOver) {
  const Bytes other = shapeElement({1, 2, 3, {}}, PacketForm::V9, {});
  Bytes both = other;
  const Bytes shape = tetrahedron(4, 12, {});
  both.insert(both.end(), shape.begin(), shape.end());
  EXPECT_EQ(errorOf(both, PacketForm::V9), "decoded");
}

// All vertices coincide: quantisers of 0 bits, and codes all the same.
TEST(ShapeLod, QuantisersOfNoBitsCanBelongToCodes) {
  const std::vector<std::int32_t> groups = {0, 1};
  const std::vector<std::int32_t> primitives = {0, 2};
  const std::vector<std::int32_t> entries = {0, 1};
  const std::vector<std::int32_t> zeros = {0, 0};
  const std::vector<std::int32_t> ones = {1, 1};
  const auto hashOf = [](const auto&... arrays) {
    std::uint32_t hash = 0;
    ((hash = jttk::hash32(std::span<const std::int32_t>(arrays), hash)), ...);
    return hash;
  };
  for (const PacketForm form : kForms) {
    ByteBuilder rep;
    rep.u32(1).u32(1).u32(2);
    for (const auto* list : {&groups, &primitives, &entries}) rep.bytes(packetOf(*list, form));
    rep.u32(hashOf(groups, primitives, entries)).u64(2).u8(12).u8(0).u8(0).u8(0).u32(2).u32(2);
    rep.bytes(packetOf(ones, form)).u32(hashOf(ones)).u32(2).u8(3);
    for (const float place : {7.0F, 8.0F, 9.0F}) rep.f32(place).f32(place).u8(0);
    for (int i = 0; i < 3; ++i) rep.bytes(packetOf(zeros, form));
    rep.u32(hashOf(zeros, zeros, zeros));
    const auto shape = decode(shapeElement(guids::kPointLod, form, rep.result()), form);
    ASSERT_TRUE(shape.has_value()) << shape.error().text();
    EXPECT_FALSE(shape->facts.lossless);
    EXPECT_THAT(shape->positions, ElementsAre(7, 8, 9, 7, 8, 9));
  }
}

}  // namespace
