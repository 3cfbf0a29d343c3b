// Shape elements that are damaged, cut off, or larger than they can be.
#include <gmock/gmock.h>

#include <algorithm>
#include <memory>

#include "tests/jttk/codec/shape_elements.h"

namespace {

namespace guids = loftbay::maker::guids;
namespace pieces = loftbay::maker::pieces;
using jttk::testing::decode;
using jttk::testing::errorOf;
using jttk::testing::kForms;
using jttk::testing::tetrahedron;
using loftbay::maker::GuidValue;
using loftbay::maker::pieces::bowTieSymbols;
using loftbay::maker::pieces::ByteBuilder;
using loftbay::maker::pieces::Bytes;
using loftbay::maker::pieces::PacketForm;
using loftbay::maker::pieces::polygonSymbols;
using loftbay::maker::pieces::shapeElement;
using loftbay::maker::pieces::ShapeOptions;
using loftbay::maker::pieces::tetrahedronSymbols;
using loftbay::maker::pieces::topologicalRepData;
using ::testing::HasSubstr;

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

TEST(ShapeLod, AVertexCountThatDisagreesWithTheTopologyIsAnError) {
  EXPECT_THAT(errorOf(tetrahedron(5, 12, {}), PacketForm::V9),
              HasSubstr("5 vertices are stated, but the topology has 4"));
}

// Some segments state too small a size and end inside their last element.
TEST(ShapeLod, WhatFollowsTheDataMayBeCutOff) {
  Bytes element = tetrahedron(4, 12, {});
  element.resize(element.size() - 2);
  EXPECT_EQ(errorOf(element, PacketForm::V9), "decoded");
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
