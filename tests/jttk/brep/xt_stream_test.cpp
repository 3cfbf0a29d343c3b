// The bytes of an XT stream: pointers, schema deltas, the wrapper of a segment.
#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>

#include "jttk/brep/tessellate.h"
#include "jttk/brep/xt_nodes.h"
#include "jttk/brep/xt_segment.h"
#include "tests/jttk/brep/models.h"

namespace jttk::brep {
namespace {

std::vector<std::byte> bytes(std::initializer_list<int> values) {
  std::vector<std::byte> made;
  for (const int v : values) made.push_back(static_cast<std::byte>(v));
  return made;
}

void append(std::vector<std::byte>& to, const std::string& text) {
  for (const char c : text) to.push_back(static_cast<std::byte>(c));
}

std::vector<std::byte> header(const std::string& schema) {
  std::vector<std::byte> made = bytes({'P', 'S', 0, 0, 0, 1, ':', 0, 0, 0, static_cast<int>(schema.size())});
  append(made, schema);
  if (std::count(schema.begin(), schema.end(), '_') == 3) {
    made.push_back(std::byte{0});
    made.push_back(std::byte{200});
  }
  for (int i = 0; i < 4; ++i) made.push_back(std::byte{0});
  return made;
}

std::uint32_t pointerOf(std::initializer_list<int> values) {
  const auto b = bytes(values);
  ByteReader reader(b, ByteOrder::Big);
  const std::uint32_t index = readXtPointer(reader, "pointer");
  EXPECT_TRUE(reader.ok());
  EXPECT_EQ(reader.remaining(), 0U);
  return index;
}

TEST(XtPointer, ShortFormIsIndexPlusOne) {
  EXPECT_EQ(pointerOf({0x00, 0x01}), 0U);
  EXPECT_EQ(pointerOf({0x00, 0x02}), 1U);
  EXPECT_EQ(pointerOf({0x7f, 0xff}), 32766U);
}

TEST(XtPointer, LongFormIsNegativeRemainderThenQuotient) {
  // index + 1 = 1 * 32767 + 1
  EXPECT_EQ(pointerOf({0xff, 0xff, 0x00, 0x01}), 32767U);
  // index + 1 = 3 * 32767 + 5
  EXPECT_EQ(pointerOf({0xff, 0xfb, 0x00, 0x03}), 3U * 32767U + 4U);
}

TEST(XtDelta, LettersCopyDropInsertAndAppend) {
  // LIST: node_id stays, one field comes in, ... exactly as newer schemas write it.
  std::vector<std::byte> delta = bytes({11, 'C', 'I', 9});
  append(delta, "list_type");
  for (const auto& part : {bytes({0, 0, 0, 1, 1, 'u'}), bytes({'I', 10})}) {
    delta.insert(delta.end(), part.begin(), part.end());
  }
  append(delta, "notransmit");
  for (const auto& part :
       {bytes({0, 0, 0, 1, 1, 'l'}), bytes({'C', 'C', 'C', 'D', 'C', 'C', 'D', 'I', 12})}) {
    delta.insert(delta.end(), part.begin(), part.end());
  }
  append(delta, "finger_index");
  for (const auto& part : {bytes({0, 0, 0, 1, 1, 'd'}), bytes({'I', 12})}) {
    delta.insert(delta.end(), part.begin(), part.end());
  }
  append(delta, "finger_block");
  for (const auto& part : {bytes({0x03, 0xf4, 0, 1}), bytes({'C', 'Z'})}) {
    delta.insert(delta.end(), part.begin(), part.end());
  }
  ByteReader reader(delta, ByteOrder::Big);
  const auto type = readXtTypeDelta(reader, 70);
  ASSERT_TRUE(type) << type.error().text();
  ASSERT_EQ(type->fields.size(), 11U);
  EXPECT_EQ(type->fields[1].name, "list_type");
  EXPECT_EQ(type->fields[9].name, "finger_block");
  EXPECT_EQ(type->fields[9].letter, 'p');
  EXPECT_EQ(type->find("unused_1"), -1);
  EXPECT_EQ(reader.remaining(), 0U);
}

TEST(XtDelta, TypeThatTheBaseLacksDescribesItself) {
  std::vector<std::byte> delta = bytes({2, 17});
  append(delta, "INTERSECTION_DATA");
  delta.push_back(std::byte{17});
  append(delta, "Intersection data");
  delta.push_back(std::byte{7});
  append(delta, "uv_type");
  for (const auto& part : {bytes({0, 0, 0, 1, 1, 'u', 6})})
    delta.insert(delta.end(), part.begin(), part.end());
  append(delta, "values");
  for (const auto& part : {bytes({0, 0, 0, 2, 1, 'f', 1})})
    delta.insert(delta.end(), part.begin(), part.end());
  ByteReader reader(delta, ByteOrder::Big);
  const auto type = readXtTypeDelta(reader, 204);
  ASSERT_TRUE(type) << type.error().text();
  EXPECT_TRUE(type->hasVariableField());
  EXPECT_EQ(reader.remaining(), 0U);
}

TEST(XtDelta, FixedArraysHaveOneLetterAndACount) {
  std::vector<std::byte> delta = bytes({7, 'C', 'C', 'C', 'C', 'C', 'D', 'I', 12});
  append(delta, "legal_owners");
  for (const auto& part : {bytes({0, 0, 0, 0x12, 1, 'l', 'C', 'Z'})}) {
    delta.insert(delta.end(), part.begin(), part.end());
  }
  ByteReader reader(delta, ByteOrder::Big);
  const auto type = readXtTypeDelta(reader, 80);
  ASSERT_TRUE(type) << type.error().text();
  EXPECT_EQ(type->fields[5].count, 17U);
}

TEST(XtDelta, UnknownTypeWithoutDescriptionNamesItself) {
  const auto delta = bytes({255});
  ByteReader reader(delta, ByteOrder::Big);
  const auto type = readXtTypeDelta(reader, 999);
  ASSERT_FALSE(type);
  EXPECT_EQ(type.error().what, "node type 999 is not known");
}

TEST(XtStream, PointNodeIsReadByFieldName) {
  std::vector<std::byte> stream = header("SCH_2601251_26105_13006");
  // type 29, same as base, index 1, node_id 7, four null pointers, 1.0 2.0 -0.5; end mark
  for (const auto& part :
       {bytes({0, 29, 255, 0, 2, 0, 0, 0, 7, 0, 1, 0, 1, 0, 1, 0, 1}), bytes({0x3f, 0xf0, 0, 0, 0, 0, 0, 0}),
        bytes({0x40, 0, 0, 0, 0, 0, 0, 0}), bytes({0xbf, 0xe0, 0, 0, 0, 0, 0, 0}), bytes({0, 1, 0, 1})}) {
    stream.insert(stream.end(), part.begin(), part.end());
  }
  const auto nodes = XtNodes::read(stream, 0);
  ASSERT_TRUE(nodes) << nodes.error().text();
  ASSERT_EQ(nodes->size(), 1U);
  const XtNode point = nodes->find(1);
  EXPECT_EQ(point.typeName(), "POINT");
  EXPECT_EQ(point.integer("node_id"), 7);
  EXPECT_EQ(point.vector("pvec"), (Vec3{1, 2, -0.5}));
  EXPECT_FALSE(point.pointer("owner"));
  EXPECT_EQ(point.real("no such field"), 0);
}

TEST(XtStream, SchemaOfThreePartsHasNoDeltas) {
  std::vector<std::byte> stream = header("SCH_2601251_26105");
  for (const auto& part : {bytes({0, 82, 0, 0, 0, 2, 0, 2, 0, 0, 0, 5, 0, 0, 0, 6}), bytes({0, 1, 0, 1})}) {
    stream.insert(stream.end(), part.begin(), part.end());
  }
  const auto nodes = XtNodes::read(stream, 0);
  ASSERT_TRUE(nodes) << nodes.error().text();
  EXPECT_EQ(nodes->at(0).integer("values", 1), 6);
}

TEST(XtStream, RepeatedIndexIsAnError) {
  std::vector<std::byte> stream = header("SCH_2601251_26105_13006");
  for (const auto& part :
       {bytes({0, 82, 255, 0, 0, 0, 0, 0, 2}), bytes({0, 82, 0, 0, 0, 0, 0, 2}), bytes({0, 1, 0, 1})}) {
    stream.insert(stream.end(), part.begin(), part.end());
  }
  const auto nodes = XtNodes::read(stream, 0);
  ASSERT_FALSE(nodes);
  EXPECT_EQ(nodes.error().what, "two XT nodes have the index 1");
}

TEST(XtStream, OtherBaseSchemaIsAnErrorThatNamesIt) {
  const auto nodes = XtNodes::read(header("SCH_2601251_26105_12000"), 0);
  ASSERT_FALSE(nodes);
  EXPECT_EQ(nodes.error().what, "XT schema is based on 12000, not on 13006");
}

TEST(XtSegment, DataAreFoundBehindTheWrapperOfEachVersion) {
  const auto data = bytes({'P', 'S', 0, 0, 1, 2});
  const auto wrapped = [&](int id_bytes, int version_bytes, int numbers, int pad) {
    std::vector<std::byte> element = bytes(
        {0xe0, 0x70, 0x3a, 0x87, 0xc9, 0x2a, 0xd1, 0x11, 0x9b, 0x6b, 0x00, 0x80, 0xc7, 0xbb, 0x59, 0x97, 9});
    element.resize(element.size() + static_cast<std::size_t>(id_bytes + version_bytes + 4 * numbers + pad),
                   std::byte{1});
    for (const int b : {6, 0, 0, 0}) element.push_back(static_cast<std::byte>(b));
    element.insert(element.end(), data.begin(), data.end());
    std::vector<std::byte> all = bytes({static_cast<int>(element.size()), 0, 0, 0});
    all.insert(all.end(), element.begin(), element.end());
    return all;
  };
  struct Case {
    const char* version;
    int id_bytes, version_bytes, numbers, pad;
  };
  for (const Case& c : {Case{"8.1", 0, 4, 2, 0}, Case{"9.0 to 9.5", 4, 4, 3, 0}, Case{"10.3", 4, 2, 3, 1}}) {
    const auto all = wrapped(c.id_bytes, c.version_bytes, c.numbers, c.pad);
    const auto found = findXtData(all, ByteOrder::Little, 0);
    ASSERT_TRUE(found) << c.version << ": " << found.error().text();
    EXPECT_EQ(found->bytes.size(), 6U) << c.version;
    EXPECT_EQ(found->bytes[5], std::byte{2}) << c.version;
  }
}

TEST(XtSegment, OtherElementIsNamed) {
  std::vector<std::byte> all(64, std::byte{0});
  all[0] = std::byte{40};
  const auto found = findXtData(all, ByteOrder::Little, 0);
  ASSERT_FALSE(found);
  EXPECT_EQ(found.error().what, "not an XT B-Rep element but 00000000-0000-0000-0000-000000000000");
}

TEST(UnitsPerMetre, DataBeatPropertyAndLetterCaseDoesNotMatter) {
  Bodies bodies;
  EXPECT_EQ(unitsPerMetre(bodies, "Millimeters"), 1000.0);
  EXPECT_EQ(unitsPerMetre(bodies, "millimeters"), 1000.0);
  EXPECT_EQ(unitsPerMetre(bodies, "Meters"), 1.0);
  EXPECT_DOUBLE_EQ(*unitsPerMetre(bodies, "Inches"), 1 / 0.0254);
  EXPECT_EQ(unitsPerMetre(bodies, "Unknown"), std::nullopt);
  bodies.units_per_metre = 100;
  EXPECT_EQ(unitsPerMetre(bodies, "Millimeters"), 100.0);
}

TEST(UnitsPerMetre, BoxTellsWhereNothingElseDoes) {
  Bodies bodies;
  bodies.vertices = {{{0, 0, 0}, 0}, {{0.08, 0.08, 0.02}, 0}};
  const float box[6] = {0, 0, 0, 80, 81, 20};
  EXPECT_EQ(unitsPerMetreFromBox(bodies, box), 1000.0);
  const float none[6] = {};
  EXPECT_EQ(unitsPerMetreFromBox(bodies, none), std::nullopt);
}

}  // namespace
}  // namespace jttk::brep
