// Whole shape elements in the layouts of JT 9 and 10.
#include "jttk/codec/shape_lod.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>

#include "jttk/codec/lookup2.h"
#include "samples/maker/guids.h"
#include "samples/maker/pieces/shapes.h"

namespace {

namespace guids = loftbay::maker::guids;
namespace pieces = loftbay::maker::pieces;
using jttk::PrimitiveKind;
using jttk::ShapeGeometry;
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
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr PacketForm kForms[] = {PacketForm::V9, PacketForm::V10};

jttk::Result<ShapeGeometry> decode(std::span<const std::byte> element, PacketForm form,
                                   const jttk::ShapeContext& context = {{}, nullptr, true}) {
  jttk::Segment segment;
  segment.type = jttk::SegmentType::ShapeLod0;
  segment.data = element;
  return jttk::decodeShapeLod(segment, form == PacketForm::V10 ? jttk::Version{10, 0} : jttk::Version{9, 5},
                              jttk::ByteOrder::Little, context);
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

// A corner count that a few bytes state is believed as far as it costs little: a polygon of a million corners
// is decoded, one of some more is not.
TEST(ShapeLod, TheSizeOfAnElementLimitsItsValuesAndCorners) {
  const auto error = [](const loftbay::maker::Topology& symbols, std::uint32_t vertices) {
    const ShapeOptions options{PacketForm::V9, true, 0x02};
    const Bytes element = shapeElement(guids::kPolygonLod, PacketForm::V9,
                                       topologicalRepData(symbols, std::min(vertices, 1000U), 0, options));
    return element.size() < 2000 + 16 * std::size_t{std::min(vertices, 1000U)}
               ? errorOf(element, PacketForm::V9)
               : "the element is not small";
  };
  EXPECT_THAT(error(polygonSymbols(300'000), 300'000),
              HasSubstr("1000 vertices are stated, but the topology has 300000"));
  EXPECT_THAT(error(polygonSymbols(3'000'000), 3'000'000), HasSubstr("too many values"));
  // Two values and 64 million corners: no array is long.
  loftbay::maker::Topology digon;
  digon.degrees[7] = {1 << 25, 1 << 25};
  digon.valences = {1 << 25, 1 << 25};
  digon.groups = {0, 0};
  digon.flags = {0, 0};
  digon.high_degree_masks = {};
  EXPECT_THAT(error(digon, 2), HasSubstr("more corners than its bytes can stand for"));
}

TEST(ShapeLod, ListsAreLimitedByTheSizeOfTheElement) {
  for (const std::uint32_t place : {0U, 1U, 2U}) {
    ByteBuilder lists;
    for (std::uint32_t i = 0; i < 3; ++i) lists.u32(i == place ? 0x7fffffffU : 1);
    EXPECT_THAT(errorOf(shapeElement(guids::kPolylineLod, PacketForm::V9, lists.result()), PacketForm::V9),
                HasSubstr("more primitives than a shape may have"));
  }
}

// Behind the topology: U64 bindings, U8[4], I32 vertices, I32 records; then coordinates: I32 count, U8
// components, per axis F32, F32 and U8 bits; normals: I32 count, U8 components, U8 bits.
TEST(ShapeLod, QuantisersOfMoreThan32BitsAreErrorsAndOfNoneTheirMinimum) {
  for (const PacketForm form : kForms) {
    const ShapeOptions options{form, true, 0x0a};
    const Bytes rep = topologicalRepData(tetrahedronSymbols(7), 4, 12, options);
    const std::size_t coordinates = pieces::topologyBytes(tetrahedronSymbols(7), form).size() + 8 + 4 + 4 + 4;
    const auto with = [&](std::size_t place, std::uint32_t bits) {
      Bytes changed = rep;
      changed[place] = static_cast<std::byte>(bits);
      return changed;
    };
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const std::size_t place = coordinates + 5 + 9 * axis + 8;
      ASSERT_EQ(rep[place], std::byte{4});
      for (const std::uint32_t bits : {33U, 64U, 255U}) {
        EXPECT_THAT(errorOf(shapeElement(guids::kTriStripLod, form, with(place, bits)), form),
                    HasSubstr("a quantiser of " + std::to_string(bits) + " bits"));
      }
      // One axis without bits: its codes mean the minimum.
      const auto flat = decode(shapeElement(guids::kTriStripLod, form, with(place, 0)), form);
      ASSERT_TRUE(flat.has_value()) << flat.error().text();
      for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(flat->positions[3 * i + axis], axis == 2 ? 0.5F : 0.0F);
    }
  }
  // Normals with an impossible bit count cost only the normals, not the shape.
  Bytes rep = topologicalRepData(tetrahedronSymbols(7), 4, 12, {PacketForm::V9, true, 0x0a});
  const Bytes header = ByteBuilder().u32(12).u8(3).u8(2).result();
  *(std::search(rep.begin(), rep.end(), header.begin(), header.end()) + 5) = std::byte{33};
  const auto shape = decode(shapeElement(guids::kTriStripLod, PacketForm::V9, rep), PacketForm::V9);
  ASSERT_TRUE(shape.has_value()) << shape.error().text();
  EXPECT_THAT(shape->facts.unread_attributes, HasSubstr("normals of 33 bits"));
  EXPECT_TRUE(shape->normals.empty());
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

TEST(ShapeLod, PolylinesShareCoordinatesByRunLengths) {
  for (const PacketForm form : kForms) {
    const auto shape = decode(shapeElement(guids::kPolylineLod, form, pieces::polylineRepData(form)), form);
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

TEST(ShapeLod, PointSetsHaveTheLayoutOfPolylines) {
  const auto shape =
      decode(shapeElement(guids::kPointLod, PacketForm::V9, pieces::polylineRepData(PacketForm::V9)),
             PacketForm::V9);
  ASSERT_TRUE(shape.has_value()) << shape.error().text();
  EXPECT_EQ(shape->kind, PrimitiveKind::Points);
}

TEST(ShapeLod, NullShapesAreEmptyAndUnknownElementsRefused) {
  const GuidValue null_shape{0x3e637aed, 0x2a89, 0x41f8, {0xa9, 0xfd, 0x55, 0x37, 0x37, 0x03, 0x96, 0x82}};
  EXPECT_EQ(decode(shapeElement(null_shape, PacketForm::V9, {}), PacketForm::V9)->kind, PrimitiveKind::Empty);
  EXPECT_THAT(errorOf(shapeElement({1, 2, 3, {}}, PacketForm::V9, {}), PacketForm::V9),
              HasSubstr("are not known"));
}

TEST(ShapeLod, ADamagedArrayIsFoundByItsHash) {
  const ShapeOptions options{PacketForm::V9, true, 0x02};
  Bytes element = shapeElement(guids::kTriStripLod, PacketForm::V9,
                               topologicalRepData(tetrahedronSymbols(0), 4, 0, options));
  // The last byte of the hash of the coordinates, in front of the two bytes at the end.
  element[element.size() - 3] ^= std::byte{1};
  EXPECT_EQ(errorOf(element, PacketForm::V9), "coordinates do not agree with their hash");
}

TEST(ShapeLod, AnErrorHasItsElementAndItsSegment) {
  const Bytes element = shapeElement(guids::kTriStripLod, PacketForm::V9, {});
  jttk::Segment segment;
  segment.id = {1, 2, 3, {}};
  segment.type = jttk::SegmentType::ShapeLod0;
  segment.data = element;
  segment.base_offset = 500;
  const auto shape = jttk::decodeShapeLod(segment, {9, 5}, jttk::ByteOrder::Little);
  ASSERT_FALSE(shape.has_value());
  const jttk::Error& error = shape.error();
  EXPECT_EQ(error.element, "tri-strip set");
  ASSERT_TRUE(error.segment.has_value());
  EXPECT_EQ(error.segment->id, segment.id);
  EXPECT_EQ(error.segment->type, segment.type);
  EXPECT_EQ(error.offset_in, jttk::OffsetIn::File);
  EXPECT_GT(error.offset, 500U);
  EXPECT_EQ(error.text(), "segment " + segment.id.text() + ": tri-strip set: " + error.what + " (at byte " +
                              std::to_string(error.offset) + ")");
}

// The bytes of a tetrahedron whose hash at the end of the coordinates is wrong, and its box.
constexpr std::array<float, 6> kTetrahedronBox = {0, 0, 0.5F, 3, 6, 9.5F};
Bytes withWrongCoordinateHash(PacketForm form, bool quantized) {
  Bytes rep = topologicalRepData(tetrahedronSymbols(0), 4, 0, {form, quantized, 0x02});
  rep.back() ^= std::byte{1};
  return shapeElement(guids::kTriStripLod, form, rep);
}

TEST(ShapeLod, CoordinatesThatFillTheStatedBoxNeedNoHash) {
  for (const PacketForm form : kForms) {
    const Bytes element = withWrongCoordinateHash(form, true);
    const auto decodeIn = [&](std::array<float, 6> box) {
      const jttk::StatedExtent stated[] = {{box, 0}};
      return decode(element, form, {stated, nullptr});
    };
    const auto shape = decodeIn(kTetrahedronBox);
    ASSERT_TRUE(shape.has_value()) << shape.error().text();
    expectPositions(*shape, 4);
    EXPECT_THAT(shape->facts.coordinate_note, HasSubstr("do not agree with their hash, but fill the box"));
    EXPECT_EQ(shape->facts.doubt, "");
    EXPECT_FALSE(shape->facts.coordinate_hash_checked);
    for (std::size_t side = 0; side < 6; ++side) {
      for (const float move : {-1.5F, 1.5F}) {
        // The steps are 1, 2 and 3.
        std::array<float, 6> box = kTetrahedronBox;
        box[side] += move * static_cast<float>(1 + side % 3);
        EXPECT_FALSE(decodeIn(box).has_value()) << side << ' ' << move;
        box[side] -= move * static_cast<float>(1 + side % 3) / 2;
        EXPECT_TRUE(decodeIn(box).has_value()) << side << ' ' << move;
      }
    }
    // A box of zeros, or with exchanged corners, confirms nothing.
    EXPECT_FALSE(decodeIn({}).has_value());
    EXPECT_FALSE(decodeIn({3, 6, 9.5F, 0, 0, 0.5F}).has_value());
  }
}

TEST(ShapeLod, CoordinatesWithoutAKnownHashAreComparedWithTheBox) {
  const Bytes element =
      shapeElement(guids::kTriStripLod, PacketForm::V9,
                   topologicalRepData(tetrahedronSymbols(0), 4, 0, {PacketForm::V9, false, 0x02}));
  std::array<float, 6> box = kTetrahedronBox;
  const auto note = [&] {
    const jttk::StatedExtent stated[] = {{box, 0}};
    const auto shape = decode(element, PacketForm::V9, {stated, nullptr});
    return shape ? shape->facts.coordinate_note : shape.error().text();
  };
  EXPECT_EQ(note(), "");
  box[3] = 100;  // of the whole part
  EXPECT_EQ(note(), "");
  box[4] = 5.9F;
  EXPECT_THAT(note(), HasSubstr("coordinates lie outside of the box that the node states"));
}

// Bits of the whole shape and those of its coordinates' quantisers may contradict each other. In JT 9 floats
// and codes are laid out differently, so that it is found out which they are.
TEST(ShapeLod, CoordinatesThatAreFloatsAgainstWhatTheBitsSay) {
  constexpr PacketForm kForm = PacketForm::V9;
  Bytes rep = topologicalRepData(tetrahedronSymbols(0), 4, 0, {kForm, false, 0x02});
  const std::size_t bits = pieces::topologyBytes(tetrahedronSymbols(0), kForm).size() + 8;
  ASSERT_EQ(rep[bits], std::byte{0});
  rep[bits] = std::byte{12};
  const auto shape = decode(shapeElement(guids::kTriStripLod, kForm, rep), kForm);
  ASSERT_TRUE(shape.has_value()) << shape.error().text();
  EXPECT_TRUE(shape->facts.lossless);
  expectPositions(*shape, 4);
}

TEST(ShapeLod, CoordinatesThatTheirHashVouchesForNeedNoBox) {
  const Bytes element =
      shapeElement(guids::kTriStripLod, PacketForm::V9,
                   topologicalRepData(tetrahedronSymbols(0), 4, 0, {PacketForm::V9, true, 0x02}));
  const jttk::StatedExtent stated[] = {{{100, 100, 100, 101, 101, 101}, 0}};
  const auto shape = decode(element, PacketForm::V9, {stated, nullptr});
  ASSERT_TRUE(shape.has_value()) << shape.error().text();
  EXPECT_TRUE(shape->facts.coordinate_hash_checked);
  EXPECT_EQ(shape->facts.coordinate_note, "");
}

TEST(ShapeLod, ASoundMeshWithAWrongHashIsKeptAsDoubtful) {
  for (const PacketForm form : kForms) {
    const std::size_t hash_end = pieces::topologyBytes(tetrahedronSymbols(0), form).size();
    Bytes rep = topologicalRepData(tetrahedronSymbols(0), 4, 0, {form, true, 0x02});
    rep[hash_end - 1] ^= std::byte{1};
    const auto shape = decode(shapeElement(guids::kTriStripLod, form, rep), form);
    ASSERT_TRUE(shape.has_value()) << shape.error().text();
    EXPECT_EQ(shape->primitiveCount(), 4U);
    EXPECT_THAT(shape->facts.doubt, HasSubstr("the topology arrays do not agree with their hash (at byte"));
    EXPECT_FALSE(shape->facts.topology_hash_checked);
    // Two wrong hashes fail the shape, whatever the box is.
    rep.back() ^= std::byte{1};
    const jttk::StatedExtent stated[] = {{kTetrahedronBox, 0}};
    EXPECT_FALSE(decode(shapeElement(guids::kTriStripLod, form, rep), form, {stated, nullptr}).has_value());
    // A wrong hash of symbols that give no mesh fails the shape, too.
    loftbay::maker::Topology open = tetrahedronSymbols(0);
    open.degrees[0].front() = 4;
    rep = topologicalRepData(open, 4, 0, {form, true, 0x02});
    rep[pieces::topologyBytes(open, form).size() - 1] ^= std::byte{1};
    EXPECT_THAT(errorOf(shapeElement(guids::kTriStripLod, form, rep), form),
                HasSubstr("do not agree with their hash, and there is no mesh in them"));
  }
}

TEST(ShapeLod, ListsWithAWrongHashAreKeptWhileTheyAreSound) {
  for (const PacketForm form : kForms) {
    const Bytes rep = pieces::polylineRepData(form);
    const auto usual = decode(shapeElement(guids::kPolylineLod, form, rep), form);
    ASSERT_TRUE(usual.has_value());
    // The hash comes before bindings of 64 bits, which begin with 0x12 or the like.
    bool found = false;
    for (std::size_t at = 12; at + 12 < rep.size() && !found; ++at) {
      Bytes changed = rep;
      changed[at] ^= std::byte{1};
      const auto shape = decode(shapeElement(guids::kPolylineLod, form, changed), form);
      if (!shape || shape->facts.doubt.find("index lists") == std::string::npos) continue;
      if (shape->corner_positions != usual->corner_positions) continue;
      found = true;
      EXPECT_EQ(shape->positions, usual->positions);
      EXPECT_FALSE(shape->facts.topology_hash_checked);
    }
    EXPECT_TRUE(found);
  }
}

// One wrong hash (of the lists or of the coordinates) is tolerated; two are not.
TEST(ShapeLod, ListsAndCoordinatesWithWrongHashesAreTooMuch) {
  constexpr PacketForm kForm = PacketForm::V10;  // the one whose floats have a hash
  const Bytes rep = pieces::polylineRepData(kForm);
  const std::array<float, 6> box = {0, 0, 0.5F, 2, 4, 6.5F};
  const jttk::StatedExtent stated[] = {{box, 0}};
  const auto changedAt = [&](std::initializer_list<std::size_t> places) {
    Bytes changed = rep;
    for (const std::size_t place : places) changed[place] ^= std::byte{1};
    return decode(shapeElement(guids::kPolylineLod, kForm, changed), kForm, {stated, nullptr});
  };
  std::size_t of_lists = 0;
  std::size_t of_coordinates = 0;
  for (std::size_t at = 12; at < rep.size(); ++at) {
    const auto shape = changedAt({at});
    if (!shape) continue;
    if (shape->facts.doubt.find("index lists") != std::string::npos) of_lists = at;
    if (shape->facts.coordinate_note.find("fill the box") != std::string::npos) of_coordinates = at;
  }
  ASSERT_GT(of_lists, 0U);
  ASSERT_GT(of_coordinates, of_lists);
  EXPECT_FALSE(changedAt({of_lists, of_coordinates}).has_value());
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

TEST(ShapeLod, WhatDoesNotFitTheMemoryBudgetIsRefused) {
  for (const PacketForm form : kForms) {
    const Bytes element = shapeElement(guids::kTriStripLod, form,
                                       topologicalRepData(bowTieSymbols(), 5, 5, {form, true, 0x25a}));
    jttk::MemoryBudget enough(100'000);
    ASSERT_TRUE(decode(element, form, {{}, &enough}).has_value());
    EXPECT_GT(enough.taken(), 0U);
    // With a small budget attributes may be dropped before the mesh itself is refused.
    bool refused = false;
    for (std::uint64_t limit = 0; limit < 1000 && !refused; limit += 10) {
      jttk::MemoryBudget little(limit);
      const auto shape = decode(element, form, {{}, &little});
      EXPECT_LE(little.taken(), limit);
      refused = !shape && shape.error().what.find("more memory") != std::string::npos;
    }
    EXPECT_TRUE(refused);
  }
}

Bytes tetrahedron(std::uint32_t vertices, std::uint32_t records, const ShapeOptions& options) {
  return shapeElement(guids::kTriStripLod, options.form,
                      topologicalRepData(tetrahedronSymbols(7), vertices, records, options));
}

TEST(ShapeLod, AVertexCountThatDisagreesWithTheTopologyIsAnError) {
  EXPECT_THAT(errorOf(tetrahedron(5, 12, {}), PacketForm::V9),
              HasSubstr("5 vertices are stated, but the topology has 4"));
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

TEST(ShapeLod, ElementsInFrontOfTheShapeArePassedOver) {
  const Bytes other = shapeElement({1, 2, 3, {}}, PacketForm::V9, {});
  Bytes both = other;
  const Bytes shape = tetrahedron(4, 12, {});
  both.insert(both.end(), shape.begin(), shape.end());
  EXPECT_EQ(errorOf(both, PacketForm::V9), "decoded");
}

// Some segments state too small a size and end inside their last element.
TEST(ShapeLod, WhatFollowsTheDataMayBeCutOff) {
  Bytes element = tetrahedron(4, 12, {});
  element.resize(element.size() - 2);
  EXPECT_EQ(errorOf(element, PacketForm::V9), "decoded");
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

// The published predictors of the three lists, though the files that are known store them plainly.
TEST(ShapeLod, ListsOfLinesMayBePredicted) {
  const std::vector<std::int32_t> groups = {0, 5};
  const std::vector<std::int32_t> primitives = {0, 2, 4, 6, 8, 12};
  const std::vector<std::int32_t> primitive_residuals = {0, 2, 4, 6, 0, 2};
  const std::vector<std::int32_t> entries = {0, 1, 1, 2, 2, 3, 3, 0, 0, 2, 1, 3};
  // Each entry less the one two before and the step there, whose size was below 8.
  const std::vector<std::int32_t> entry_residuals = {0, 1, 1, 2, 0, 0, 0, -4, -4, 5, 4, -1};
  ByteBuilder rep;
  rep.u32(1).u32(5).u32(12).bytes(packetOf(groups, PacketForm::V9));
  rep.bytes(packetOf(primitive_residuals, PacketForm::V9)).bytes(packetOf(entry_residuals, PacketForm::V9));
  std::uint32_t hash = 0;
  for (const auto* list : {&groups, &primitives, &entries}) {
    hash = jttk::hash32(std::span<const std::int32_t>(*list), hash);
  }
  const std::vector<std::int32_t> ones = {1, 1, 1, 1};
  rep.u32(hash).u64(2).u8(4).u8(0).u8(0).u8(0).u32(4).u32(4).bytes(packetOf(ones, PacketForm::V9));
  rep.u32(jttk::hash32(std::span<const std::int32_t>(ones), 0)).u32(4).u8(3);
  for (int i = 0; i < 3; ++i) rep.f32(0).f32(15).u8(4);
  const std::vector<std::int32_t> codes = {0, 5, 10, 15};
  hash = 0;
  for (int i = 0; i < 3; ++i) {
    rep.bytes(packetOf(codes, PacketForm::V9));
    hash = jttk::hash32(std::span<const std::int32_t>(codes), hash);
  }
  rep.u32(hash);
  const auto shape = decode(shapeElement(guids::kPolylineLod, PacketForm::V9, rep.result()), PacketForm::V9);
  ASSERT_TRUE(shape.has_value()) << shape.error().text();
  EXPECT_THAT(shape->primitive_starts, ElementsAre(0, 2, 4, 6, 8, 12));
  EXPECT_THAT(shape->corner_positions, ElementsAre(0, 1, 1, 2, 2, 3, 3, 0, 0, 2, 1, 3));
}

TEST(ShapeLod, EveryTruncationIsNoticed) {
  for (const PacketForm form : kForms) {
    const ShapeOptions options{form, true, 0x25a};
    for (const Bytes& rep :
         {topologicalRepData(bowTieSymbols(), 5, 5, options), pieces::polylineRepData(form)}) {
      const GuidValue kind = rep == pieces::polylineRepData(form) ? guids::kPolylineLod : guids::kTriStripLod;
      for (std::size_t size = 0; size < rep.size(); ++size) {
        // The element's length agrees with what is there, so that the representation itself is cut.
        const Bytes cut(rep.begin(), rep.begin() + static_cast<std::ptrdiff_t>(size));
        const Bytes element = shapeElement(kind, form, cut);
        const std::size_t tail = form == PacketForm::V9 ? 2 : 0;
        const auto exact = std::make_unique<std::byte[]>(element.size());
        std::copy(element.begin(), element.end(), exact.get());
        // The bytes behind the representation are zeros and ones that may pass for more of it; leave them
        // out.
        const auto shape = decode({exact.get(), element.size() - tail}, form);
        EXPECT_TRUE(!shape || !shape->facts.unread_attributes.empty()) << size;
      }
    }
  }
}

}  // namespace
