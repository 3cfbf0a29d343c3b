#include "samples/maker/topology.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>

#include "tests/samples/test_shapes.h"

namespace loftbay::maker::test {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(Topology, ATriangleAloneHasACoverOnItsBack) {
  Shape shape;
  shape.positions = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
  shape.corner_positions = {0, 1, 2};
  shape.primitive_starts = {0, 3};
  const Topology t = encodeTopology(shape, false);
  EXPECT_THAT(t.valences, ElementsAre(3, 3));
  EXPECT_THAT(t.groups, ElementsAre(0, -1));
  EXPECT_THAT(t.flags, ElementsAre(0, 1));
  EXPECT_THAT(t.degrees[1], ElementsAre(2));     // nothing known yet
  EXPECT_THAT(t.degrees[0], ElementsAre(2, 2));  // known vertices have less than six neighbours
  EXPECT_THAT(t.masks[0], ElementsAre(0, 0, 0));
  EXPECT_THAT(t.vert_positions, ElementsAre(0, 1, 2));
  EXPECT_THAT(t.split_offsets, IsEmpty());
  EXPECT_EQ(t.covers, 1U);
}

TEST(Topology, ATetrahedronNeedsFourDegreesAndNothingElse) {
  const Topology t = encodeTopology(tetrahedra(1), false);
  EXPECT_THAT(t.valences, ElementsAre(3, 3, 3, 3));
  EXPECT_THAT(t.degrees[1], ElementsAre(3));
  EXPECT_THAT(t.degrees[0], ElementsAre(3, 3, 3));
  EXPECT_THAT(t.masks[1], ElementsAre(0, 0, 0, 0));
  EXPECT_THAT(t.split_offsets, IsEmpty());
  EXPECT_EQ(t.covers, 0U);
  EXPECT_EQ(t.components, 1U);
}

TEST(Topology, ATorusCannotBeGrownWithoutASplit) {
  const Topology t = encodeTopology(torus(8, 6), false);
  EXPECT_FALSE(t.split_offsets.empty());
  EXPECT_EQ(t.split_offsets.size(), t.split_positions.size());
  EXPECT_EQ(t.valences.size(), 96U);
  EXPECT_EQ(t.vert_positions.size(), 48U);
}

TEST(Topology, EveryComponentAndEveryHoleIsCounted) {
  EXPECT_EQ(encodeTopology(tetrahedra(7), false).components, 7U);
  EXPECT_EQ(encodeTopology(openGrid(4, 3), false).covers, 1U);
  // Every edge of these sheets has one or two triangles at most on each side; sheets that only touch in a
  // position or share an edge three times are separate pieces.
  EXPECT_EQ(encodeTopology(touchingSheets(), false).covers,
            encodeTopology(touchingSheets(), false).components);
}

TEST(Topology, MasksOfHighDegreesUseTheWideArrays) {
  std::mt19937 random(1);
  const auto coded = [&](std::uint32_t sides, bool version10) {
    Shape shape = doubleCone(sides);
    scatterRecords(shape, random, true, false);
    return encodeTopology(shape, version10);
  };
  const Topology nine = coded(64, false);
  EXPECT_EQ(nine.masks[7].size(), 2U);
  ASSERT_EQ(nine.upper_masks.size(), 2U);
  EXPECT_EQ(nine.upper_masks[0].size(), 2U);
  EXPECT_EQ(nine.upper_masks[1].size(), 2U);
  EXPECT_THAT(nine.masks[7], Each(testing::Lt(1 << 30)));
  const Topology ten = coded(64, true);
  ASSERT_EQ(ten.upper_masks.size(), 1U);
  EXPECT_EQ(ten.upper_masks[0].size(), 2U);
  const Topology wide = coded(65, false);
  EXPECT_THAT(wide.masks[7], IsEmpty());
  EXPECT_EQ(wide.high_degree_masks.size(), 2U * 3U);
}

TEST(Topology, MaskBitsAndAttributesAgreeInNumber) {
  std::mt19937 random(2);
  for (int round = 0; round < 50; ++round) {
    Shape shape = triangleSoup(random, 30, 60);
    scatterRecords(shape, random, true, false);
    const Topology t = encodeTopology(shape, true);
    std::size_t bits = 0;
    const auto count = [&](const auto& words) {
      for (const auto word : words)
        bits += static_cast<std::size_t>(std::popcount(static_cast<std::uint32_t>(word)));
    };
    for (const auto& array : t.masks) count(array);
    for (const auto& array : t.upper_masks) count(array);
    count(t.high_degree_masks);
    EXPECT_EQ(bits, t.record_sources.size());
    EXPECT_GE(bits, t.vert_positions.size());
  }
}

}  // namespace
}  // namespace loftbay::maker::test
