// Normals, colours and what else vertices have: read where they can be, and at no cost to the mesh where they
// cannot.
#include <gmock/gmock.h>

#include "tests/jttk/codec/shape_elements.h"

namespace {

namespace guids = loftbay::maker::guids;
namespace pieces = loftbay::maker::pieces;
using jttk::ShapeGeometry;
using jttk::testing::decode;
using jttk::testing::expectPositions;
using jttk::testing::kForms;
using jttk::testing::tetrahedron;
using loftbay::maker::pieces::bowTieSymbols;
using loftbay::maker::pieces::ByteBuilder;
using loftbay::maker::pieces::Bytes;
using loftbay::maker::pieces::PacketForm;
using loftbay::maker::pieces::shapeElement;
using loftbay::maker::pieces::ShapeOptions;
using loftbay::maker::pieces::tetrahedronSymbols;
using loftbay::maker::pieces::topologicalRepData;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

TEST(ShapeLod, ColorsTextureCoordinatesAndFlags) {
  for (const PacketForm form : kForms) {
    const ShapeOptions options{form, true, 0x25a};
    const auto shape = decode(
        shapeElement(guids::kTriStripLod, form, topologicalRepData(bowTieSymbols(), 5, 5, options)), form);
    ASSERT_TRUE(shape.has_value()) << shape.error().text();
    EXPECT_EQ(shape->facts.bindings, 0x25aU);
    EXPECT_EQ(shape->facts.covers, 1U);
    ASSERT_EQ(shape->colors.size(), 20U);
    // Three components: alpha is 1, whatever the fourth packet holds.
    EXPECT_THAT(std::vector<float>(shape->colors.begin(), shape->colors.begin() + 4),
                ElementsAre(1, 0, 1, 1));
    // Two components, padded with 0; the hash shows that the codes are residuals to the value before.
    ASSERT_EQ(shape->texture_coordinates.size(), 15U);
    EXPECT_THAT(std::vector<float>(shape->texture_coordinates.begin() + 12, shape->texture_coordinates.end()),
                ElementsAre(4, 4, 0));
    EXPECT_EQ(shape->vertex_flags, std::vector<std::uint32_t>(5, 1));
  }
}

TEST(ShapeLod, ColoursAsHueSaturationAndValue) {
  for (const PacketForm form : kForms) {
    ShapeOptions options{form, true, 0x1a};
    options.hsv = true;
    const auto shape = decode(
        shapeElement(guids::kTriStripLod, form, topologicalRepData(bowTieSymbols(), 5, 5, options)), form);
    ASSERT_TRUE(shape.has_value()) << shape.error().text();
    ASSERT_EQ(shape->colors.size(), 20U);
    // A fifth of full green; alpha is not stored.
    EXPECT_THAT(std::vector<float>(shape->colors.begin() + 16, shape->colors.end()),
                ElementsAre(0, 0.2F, 0, 1));
  }
}

TEST(ShapeLod, ChannelsAboveTheFirstAndAuxiliaryFieldsArePassedOver) {
  constexpr std::uint64_t kAllChannels = 0x222222222aU;  // normals, two components in channels 0 to 7
  constexpr std::uint64_t kFlagsAndFields = std::uint64_t{1} << 63 | 0x40U;
  for (const PacketForm form : kForms) {
    for (const bool quantized : {false, true}) {
      const ShapeOptions options{form, quantized, kAllChannels | kFlagsAndFields};
      const auto shape = decode(
          shapeElement(guids::kTriStripLod, form, topologicalRepData(bowTieSymbols(), 5, 5, options)), form);
      ASSERT_TRUE(shape.has_value()) << shape.error().text();
      EXPECT_EQ(shape->texture_coordinates.size(), 15U);
      // Flags are stored behind all channels and before the fields.
      EXPECT_EQ(shape->vertex_flags, std::vector<std::uint32_t>(5, 1));
    }
  }
}

TEST(ShapeLod, NormalsThatCannotBeReadCostThemselvesOnly) {
  for (const PacketForm form : kForms) {
    const ShapeOptions options{form, true, 0x0a};
    const Bytes rep = topologicalRepData(tetrahedronSymbols(7), 4, 12, options);
    const std::size_t start = topologicalRepData(tetrahedronSymbols(7), 4, 12, {form, true, 0x02}).size();
    const auto with = [&](std::size_t place) {
      Bytes changed = rep;
      changed[place] ^= std::byte{1};
      return shapeElement(guids::kTriStripLod, form, changed);
    };
    // Count, components, hash.
    for (const std::size_t place : {start, start + 4, rep.size() - 1}) {
      const auto shape = decode(with(place), form);
      ASSERT_TRUE(shape.has_value()) << shape.error().text();
      EXPECT_THAT(shape->facts.unread_attributes, HasSubstr("normals")) << place - start;
      EXPECT_TRUE(shape->normals.empty());
      EXPECT_EQ(shape->primitiveCount(), 4U);
      expectPositions(*shape, 4);
    }
  }
}

// Arrays follow only where there are vertices.
TEST(ShapeLod, AnEmptySetIsNotDamagedWhateverItsBindingsName) {
  for (const PacketForm form : kForms) {
    ByteBuilder rep;
    rep.bytes(pieces::topologyBytes({}, form)).u64(0x7a).u32(0).u32(0);
    const auto shape = decode(shapeElement(guids::kTriStripLod, form, rep.result()), form);
    ASSERT_TRUE(shape.has_value()) << shape.error().text();
    EXPECT_EQ(shape->primitiveCount(), 0U);
    EXPECT_EQ(shape->facts.unread_attributes, "");
  }
}

TEST(ShapeLod, WithAnotherNumberOfRecordsThanTheMasksTellTheMeshStays) {
  const auto shape = decode(tetrahedron(4, 11, {}), PacketForm::V9);
  ASSERT_TRUE(shape.has_value()) << shape.error().text();
  EXPECT_THAT(shape->facts.unread_attributes,
              HasSubstr("11 vertex attributes are stated, but the topology has 12"));
  EXPECT_TRUE(shape->corner_records.empty());
  EXPECT_TRUE(shape->normals.empty());
  EXPECT_EQ(shape->primitiveCount(), 4U);
  expectPositions(*shape, 4);
}

TEST(ShapeLod, ColoursThatCannotBeReadCostThemselvesAndWhatIsBehindThem) {
  for (const PacketForm form : kForms) {
    const ShapeOptions options{form, true, 0x25a};
    Bytes rep = topologicalRepData(bowTieSymbols(), 5, 5, options);
    // The flags are a count and a packet of equal values at the end, the hash of the texture coordinates is
    // in front of them.
    const ShapeOptions without_flags{form, true, 0x21a};
    const std::size_t hash_end = topologicalRepData(bowTieSymbols(), 5, 5, without_flags).size();
    rep[hash_end - 1] ^= std::byte{1};
    const auto shape = decode(shapeElement(guids::kTriStripLod, form, rep), form);
    ASSERT_TRUE(shape.has_value()) << shape.error().text();
    EXPECT_THAT(shape->facts.unread_attributes,
                HasSubstr("texture coordinates do not agree with their hash"));
    EXPECT_EQ(shape->colors.size(), 20U);
    EXPECT_TRUE(shape->texture_coordinates.empty());
    EXPECT_TRUE(shape->vertex_flags.empty());
    EXPECT_EQ(shape->normals.size(), 15U);
    expectPositions(*shape, 5);
  }
}

// What a shape is apart from texture coordinates, flags, and what is said about them.
void expectTheSameBesideExtras(const ShapeGeometry& shape, const ShapeGeometry& other) {
  EXPECT_EQ(shape.positions, other.positions);
  EXPECT_EQ(shape.normals, other.normals);
  EXPECT_EQ(shape.colors, other.colors);
  EXPECT_EQ(shape.primitive_starts, other.primitive_starts);
  EXPECT_EQ(shape.corner_positions, other.corner_positions);
  EXPECT_EQ(shape.corner_records, other.corner_records);
}

TEST(ShapeLod, TextureCoordinatesAndFlagsAreDecodedWhereSomebodyAsks) {
  for (const PacketForm form : kForms) {
    for (const bool quantized : {false, true}) {
      const ShapeOptions options{form, quantized, 0x25a};
      const Bytes element =
          shapeElement(guids::kTriStripLod, form, topologicalRepData(bowTieSymbols(), 5, 5, options));
      const auto asked = decode(element, form);
      const auto plain = decode(element, form, {});
      ASSERT_TRUE(asked.has_value() && plain.has_value());
      EXPECT_EQ(asked->texture_coordinates.size(), 15U);
      EXPECT_EQ(asked->vertex_flags.size(), 5U);
      EXPECT_TRUE(plain->texture_coordinates.empty());
      EXPECT_TRUE(plain->vertex_flags.empty());
      EXPECT_EQ(plain->facts.bindings, asked->facts.bindings);
      expectTheSameBesideExtras(*plain, *asked);
    }
  }
}

// Whatever is wrong with them, and also where they are cut off.
TEST(ShapeLod, TextureCoordinatesAndFlagsThatNobodyAsksForMayBeDamaged) {
  for (const PacketForm form : kForms) {
    const auto bytesOf = [form](std::uint64_t bindings) {
      return topologicalRepData(bowTieSymbols(), 5, 5, {form, true, bindings});
    };
    const Bytes whole = bytesOf(0x25a);
    // The bindings are stored in front: without the extras, the rest is the same bytes up to its end.
    const std::size_t extras_begin = bytesOf(0x1a).size();
    const auto sound = decode(shapeElement(guids::kTriStripLod, form, whole), form, {});
    ASSERT_TRUE(sound.has_value()) << sound.error().text();
    Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(extras_begin));
    Bytes overwritten = whole;
    std::fill(overwritten.begin() + static_cast<std::ptrdiff_t>(extras_begin), overwritten.end(),
              std::byte{0xff});
    for (const Bytes& damaged : {cut, overwritten}) {
      const Bytes element = shapeElement(guids::kTriStripLod, form, damaged);
      const auto plain = decode(element, form, {});
      ASSERT_TRUE(plain.has_value()) << plain.error().text();
      EXPECT_EQ(plain->facts.unread_attributes, "");
      expectTheSameBesideExtras(*plain, *sound);
      const auto asked = decode(element, form);
      ASSERT_TRUE(asked.has_value()) << asked.error().text();
      EXPECT_NE(asked->facts.unread_attributes, "");
      expectTheSameBesideExtras(*asked, *sound);
    }
  }
}

}  // namespace
