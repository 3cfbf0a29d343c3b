// Properties in meta data segments, and property atoms that are numbers or dates.
#include "jttk/graph/meta_data.h"

#include <gmock/gmock.h>

#include <limits>

#include "jttk/graph/read_scene_graph.h"
#include "samples/maker/pieces/graph_builder.h"
#include "samples/maker/pieces/meta_data.h"
#include "tests/jttk/support/from_maker.h"

namespace {

using jttk::dateText;
using jttk::numberText;
using jttk::readMetaData;
using jttk::readSceneGraph;
using jttk::TextProperty;
using jttk::Version;
using loftbay::maker::pieces::ByteOrder;
using loftbay::maker::pieces::Bytes;
using loftbay::maker::pieces::Date;
using loftbay::maker::pieces::GraphBuilder;
using loftbay::maker::pieces::MetaDataProperty;
using loftbay::maker::pieces::metaDataSegment;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr Date kAnAprilDay = {2014, 3, 3, 14, 54, 43};

const std::vector<MetaDataProperty> kProperties = {
    {"Name::", std::string("wheel")}, {"Teeth::", 42}, {"Mass::", 0.1F}, {"Drawn::", kAnAprilDay}};

jttk::MetaData propertiesIn(const Bytes& bytes, Version version, ByteOrder order = ByteOrder::Little) {
  jttk::Segment segment;
  segment.type = jttk::SegmentType::MetaData;
  segment.data = bytes;
  return readMetaData(segment, version, jttk::from_maker::orderOf(order));
}

TEST(PropertyText, HasDatesWithMonthsFromOne) {
  EXPECT_EQ(dateText({2014, 3, 3, 14, 54, 43}), "2014-04-03T14:54:43");
  EXPECT_EQ(dateText({2024, 11, 31, 0, 0, 0}), "2024-12-31T00:00:00");
}

TEST(PropertyText, HasTheOffsetOfDatesThatStateOne) {
  EXPECT_EQ(dateText(kAnAprilDay, 2.0F), "2014-04-03T14:54:43+02:00");
  EXPECT_EQ(dateText(kAnAprilDay, -3.5F), "2014-04-03T14:54:43-03:30");
  EXPECT_EQ(dateText(kAnAprilDay, std::numeric_limits<float>::quiet_NaN()), "2014-04-03T14:54:43");
}

TEST(PropertyText, KeepsTheNumbersOfWhatIsNoDate) {
  EXPECT_EQ(dateText({2014, 12, 3, 14, 54, 43}), "2014 12 3 14 54 43");
  EXPECT_EQ(dateText({0, 0, 0, 0, 0, 0}), "0 0 0 0 0 0");
}

TEST(PropertyText, HasTheShortestNumbersThatReadBack) {
  EXPECT_EQ(numberText(0.1F), "0.1");
  EXPECT_EQ(numberText(-2), "-2");
  EXPECT_EQ(numberText(std::numeric_limits<float>::infinity()), "inf");
  EXPECT_EQ(numberText(-std::numeric_limits<float>::infinity()), "-inf");
  EXPECT_EQ(numberText(std::numeric_limits<float>::quiet_NaN()), "nan");
}

class MetaDataOf : public ::testing::TestWithParam<std::tuple<int, ByteOrder>> {};

TEST_P(MetaDataOf, EveryVersionHasTheSameProperties) {
  const auto [major, order] = GetParam();
  const auto read_back = propertiesIn(metaDataSegment(major, order, kProperties), {major, 0}, order);
  EXPECT_FALSE(read_back.damage);
  EXPECT_THAT(read_back.properties,
              ElementsAre(TextProperty{"Name::", "wheel"}, TextProperty{"Teeth::", "42"},
                          TextProperty{"Mass::", "0.1"}, TextProperty{"Drawn::", "2014-04-03T14:54:43"}));
}

INSTANTIATE_TEST_SUITE_P(Versions, MetaDataOf,
                         ::testing::Combine(::testing::Values(8, 9, 10),
                                            ::testing::Values(ByteOrder::Little, ByteOrder::Big)));

TEST(MetaData, IsReadUpToWhereItIsCutOff) {
  const Bytes whole = metaDataSegment(9, ByteOrder::Little, kProperties);
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const auto cut =
        propertiesIn(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)), {9, 5});
    EXPECT_LE(cut.properties.size(), kProperties.size()) << size;
  }
  const auto cut = propertiesIn(Bytes(whole.begin(), whole.begin() + 60), {9, 5});
  ASSERT_TRUE(cut.damage);
  EXPECT_THAT(cut.damage->text(), HasSubstr("element"));
}

TEST(MetaData, StopsAtAKindOfValueThatIsNotKnown) {
  Bytes bytes = metaDataSegment(10, ByteOrder::Little, {{"a", 1}, {"b", 2}});
  // Behind the closing key: the end of the elements (20 bytes) and a property table (6). The second value, of
  // 5 bytes with its kind, stands before it.
  const std::size_t closing_key = bytes.size() - 6 - 20 - 4;
  ASSERT_EQ(bytes[closing_key - 5], std::byte{2});
  bytes[closing_key - 5] = std::byte{77};
  const auto stopped = propertiesIn(bytes, {10, 0});
  EXPECT_THAT(stopped.properties, ElementsAre(TextProperty{"a", "1"}));
  ASSERT_TRUE(stopped.damage);
  EXPECT_THAT(stopped.damage->text(), HasSubstr("kind of property value is not known"));
}

TEST(MetaData, OfManufacturingInformationIsSteppedOver) {
  Bytes bytes = metaDataSegment(9, ByteOrder::Little, kProperties);
  bytes[4] = std::byte{0x49};  // the first byte of the element's kind
  const auto other = propertiesIn(bytes, {9, 5});
  EXPECT_THAT(other.properties, IsEmpty());
  EXPECT_FALSE(other.damage);
}

jttk::SceneGraph graphOf(const GraphBuilder& graph, Version version, ByteOrder order = ByteOrder::Little) {
  const Bytes bytes = graph.segment();
  jttk::Segment segment;
  segment.data = bytes;
  return readSceneGraph(segment, version, jttk::from_maker::orderOf(order)).value();
}

std::vector<TextProperty> propertiesOf(const jttk::SceneGraph& graph) {
  std::vector<TextProperty> properties;
  for (const auto& [key, value] : graph.properties)
    properties.push_back({graph.text(key), graph.text(value)});
  return properties;
}

class NumberAtoms : public ::testing::TestWithParam<std::tuple<Version, ByteOrder>> {};

TEST_P(NumberAtoms, AreTextsOfTheirNodes) {
  const auto [version, order] = GetParam();
  GraphBuilder graph(std::to_string(version.major) + "." + std::to_string(version.minor), order);
  graph.partition(0, {}).number("count", 7).number("ratio", 0.25F).number("drawn", kAnAprilDay);
  EXPECT_THAT(propertiesOf(graphOf(graph, version, order)),
              ElementsAre(TextProperty{"count", "7"}, TextProperty{"ratio", "0.25"},
                          TextProperty{"drawn", "2014-04-03T14:54:43"}));
}

INSTANTIATE_TEST_SUITE_P(Versions, NumberAtoms,
                         ::testing::Combine(::testing::Values(Version{8, 1}, Version{9, 5}, Version{10, 0}),
                                            ::testing::Values(ByteOrder::Little, ByteOrder::Big)));

TEST(NumberAtoms, OfLaterVersionsKnowTheirTimeZone) {
  GraphBuilder graph("10.3");
  graph.partition(0, {}).zonedDate("drawn", kAnAprilDay, 2);
  EXPECT_THAT(propertiesOf(graphOf(graph, {10, 3})),
              ElementsAre(TextProperty{"drawn", "2014-04-03T14:54:43+02:00"}));
}

// A name or a unit is a text; a number under such a key is a property like others.
TEST(NumberAtoms, AreNoNames) {
  GraphBuilder graph("9.5");
  graph.partition(0, {}).number("JT_PROP_NAME", 7);
  EXPECT_EQ(graphOf(graph, {9, 5}).nodes[0].name, jttk::kNone);
}

}  // namespace
