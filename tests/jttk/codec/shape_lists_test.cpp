// Polylines and points of JT 9 and 10: lists of groups, primitives and vertices.
#include <gmock/gmock.h>

#include <array>

#include "jttk/codec/lookup2.h"
#include "tests/jttk/codec/shape_elements.h"

namespace {

namespace guids = loftbay::maker::guids;
namespace pieces = loftbay::maker::pieces;
using jttk::PrimitiveKind;
using jttk::testing::decode;
using jttk::testing::errorOf;
using jttk::testing::expectPositions;
using jttk::testing::kForms;
using loftbay::maker::pieces::ByteBuilder;
using loftbay::maker::pieces::Bytes;
using loftbay::maker::pieces::PacketForm;
using loftbay::maker::pieces::packetOf;
using loftbay::maker::pieces::shapeElement;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

TEST(ShapeLod, ListsAreLimitedByTheSizeOfTheElement) {
  for (const std::uint32_t place : {0U, 1U, 2U}) {
    ByteBuilder lists;
    for (std::uint32_t i = 0; i < 3; ++i) lists.u32(i == place ? 0x7fffffffU : 1);
    EXPECT_THAT(errorOf(shapeElement(guids::kPolylineLod, PacketForm::V9, lists.result()), PacketForm::V9),
                HasSubstr("more primitives than a shape may have"));
  }
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

}  // namespace
