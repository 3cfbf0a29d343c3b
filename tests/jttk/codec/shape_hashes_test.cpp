// Arrays that do not agree with their hash: what is refused, what a stated box vouches for, what is doubtful.
#include <gmock/gmock.h>

#include <array>

#include "tests/jttk/codec/shape_elements.h"

namespace {

namespace guids = loftbay::maker::guids;
namespace pieces = loftbay::maker::pieces;
using jttk::testing::decode;
using jttk::testing::errorOf;
using jttk::testing::expectPositions;
using jttk::testing::kForms;
using loftbay::maker::pieces::Bytes;
using loftbay::maker::pieces::PacketForm;
using loftbay::maker::pieces::shapeElement;
using loftbay::maker::pieces::ShapeOptions;
using loftbay::maker::pieces::tetrahedronSymbols;
using loftbay::maker::pieces::topologicalRepData;
using ::testing::HasSubstr;

TEST(ShapeLod, ADamagedArrayIsFoundByItsHash) {
  const ShapeOptions options{PacketForm::V9, true, 0x02};
  Bytes element = shapeElement(guids::kTriStripLod, PacketForm::V9,
                               topologicalRepData(tetrahedronSymbols(0), 4, 0, options));
  // The last byte of the hash of the coordinates, in front of the two bytes at the end.
  element[element.size() - 3] ^= std::byte{1};
  EXPECT_EQ(errorOf(element, PacketForm::V9), "coordinates do not agree with their hash");
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

}  // namespace
