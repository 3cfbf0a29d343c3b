// Scene graph segments of every version and byte order, whole and damaged.
#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <memory>

#include "jttk/graph/read_scene_graph.h"
#include "tests/jttk/model/loaded.h"
#include "tests/jttk/support/from_maker.h"

namespace {

namespace pieces = loftbay::maker::pieces;
using jttk::kNone;
using jttk::Node;
using jttk::NodeKind;
using jttk::readSceneGraph;
using jttk::SceneGraph;
using jttk::Segment;
using jttk::Version;
using jttk::testing::Loaded;
using loftbay::maker::pieces::ByteOrder;
using loftbay::maker::pieces::Bytes;
using loftbay::maker::pieces::GraphBuilder;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

jttk::Result<SceneGraph> read(const Bytes& bytes, Version version = {9, 5},
                              ByteOrder order = ByteOrder::Little) {
  Segment segment;
  segment.data = bytes;
  return readSceneGraph(segment, version, jttk::from_maker::orderOf(order));
}

GraphBuilder everything(const std::string& version, ByteOrder order) {
  GraphBuilder graph(version, order);
  graph.move(20, 1, 2, 3);
  GraphBuilder::Material material;
  material.diffuse = {0.25F, 0.5F, 0.75F, 1};
  graph.material(21, material);
  graph.partition(0, {1, 2, 8}, "own name.jt").name("root.asm;1;0:");
  graph.metaData(1, {3}).attributes({20, 21}).property("JT_PROP_MEASUREMENT_UNITS", "Inches");
  graph.instance(2, 3).flags(0);
  graph.part(3, {4});
  graph.rangeLod(4, {5, 6});
  graph.group(5, {7});
  graph.lod(6, {7});
  graph.triStrips(7).property("colour::", "red");
  graph.switchNode(8, {1, 2}, 1).flags(4);
  return graph;
}

class EveryVersion : public ::testing::TestWithParam<std::tuple<const char*, ByteOrder>> {};

TEST_P(EveryVersion, HasTheSameGraph) {
  const auto& [text, order] = GetParam();
  const Version version{std::stoi(text), text[std::strlen(text) - 1] - '0'};
  const GraphBuilder builder = everything(text, order);
  const auto graph = read(builder.segment(), version, order);
  ASSERT_TRUE(graph) << graph.error().text();
  EXPECT_THAT(graph->damage, IsEmpty());
  ASSERT_EQ(graph->nodes.size(), 9U);
  const auto& nodes = graph->nodes;
  const auto childrenOf = [&](std::size_t i) {
    const auto first = graph->children.begin() + nodes[i].children.first;
    return std::vector<std::uint32_t>(first, first + nodes[i].children.count);
  };
  EXPECT_EQ(graph->root, 0U);
  EXPECT_EQ(graph->text(nodes[0].name), "root.asm;1;0:");
  EXPECT_EQ(graph->text(nodes[0].file_name), "own name.jt");
  EXPECT_THAT(childrenOf(0), ElementsAre(1, 2, 8));
  EXPECT_THAT(childrenOf(2), ElementsAre(3));
  EXPECT_THAT(childrenOf(4), ElementsAre(5, 6));
  EXPECT_EQ(nodes[8].selected, 1);
  EXPECT_EQ(nodes[8].flags, 4U);
  EXPECT_EQ(graph->text(nodes[1].units), "Inches");
  const NodeKind kinds[] = {NodeKind::Partition, NodeKind::MetaData,    NodeKind::Instance,
                            NodeKind::Part,      NodeKind::RangeLod,    NodeKind::Group,
                            NodeKind::Lod,       NodeKind::TriStripSet, NodeKind::Switch};
  for (std::size_t i = 0; i < nodes.size(); ++i) EXPECT_EQ(nodes[i].kind, kinds[i]) << i;
  ASSERT_EQ(graph->transforms.size(), 1U);
  EXPECT_EQ(graph->transforms[0][12], 1);
  EXPECT_EQ(graph->transforms[0][14], 3);
  ASSERT_EQ(graph->materials.size(), 1U);
  EXPECT_EQ(graph->materials[0].diffuse[2], 0.75F);
  ASSERT_NE(nodes[7].statistics, kNone);
  EXPECT_EQ(graph->statistics[nodes[7].statistics].area, 1.5F);
  EXPECT_THAT(graph->statistics[nodes[7].statistics].polygon_count, ElementsAre(5, 6));
  ASSERT_NE(nodes[0].statistics, kNone);
  EXPECT_EQ(graph->statistics[nodes[0].statistics].box[5], 5);
  const std::uint32_t shape = graph->findLateLoaded(nodes[7], "JT_LLPROP_SHAPEIMPL");
  ASSERT_NE(shape, kNone);
  EXPECT_EQ(graph->late_loaded[shape].segment, jttk::from_maker::guidOf(builder.shapeSegment(7)));
  EXPECT_EQ(graph->late_loaded[shape].segment_type, 7);
  ASSERT_EQ(nodes[7].properties.count, 1U);
  EXPECT_EQ(graph->strings[graph->properties[nodes[7].properties.first].value], "red");
}

INSTANTIATE_TEST_SUITE_P(SceneGraph, EveryVersion,
                         ::testing::Combine(::testing::Values("8.0", "8.1", "9.0", "9.5", "10.0", "10.3"),
                                            ::testing::Values(ByteOrder::Little, ByteOrder::Big)));

// From a copy of exactly that length, so that the sanitizer sees a read behind it.
TEST(DamagedGraph, EveryTruncationIsReportedOrHarmless) {
  const Bytes whole = everything("9.5", ByteOrder::Little).segment();
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const Bytes part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    const auto graph = read(part);
    if (graph) {
      EXPECT_FALSE(graph->damage.empty()) << size;
      EXPECT_LE(graph->nodes.size(), 9U);
    } else {
      EXPECT_FALSE(graph.error().what.empty());
    }
  }
}

TEST(DamagedGraph, EveryByteThatIsChangedLeavesAModelThatCanBeWalked) {
  const GraphBuilder builder = everything("9.5", ByteOrder::Little);
  const Bytes whole = builder.file();
  for (std::size_t i = 0; i < whole.size(); ++i) {
    Bytes bytes = whole;
    bytes[i] ^= static_cast<std::byte>(std::array{0x01, 0x80, 0xff}[i % 3]);
    jttk::testing::Recorder recorder;
    auto document = jttk::openDocument("damaged.jt", bytes);
    if (!document) continue;
    JtkHierarchy* root = jttk::createRoot(std::move(*document));
    root->ref();
    (void)jttk::testing::walk(root);
    root->unref();
  }
}

TEST(DamagedGraph, AnElementThatEndsTooEarlyCostsThatElement) {
  GraphBuilder graph;
  graph.partition(0, {1, 2}).name("root");
  graph.part(1, {}).name("seen");
  // A group whose child count is larger than its bytes: version, flags, no attributes, version, count.
  const loftbay::maker::GuidValue group{
      0x10dd101b, 0x2ac8, 0x11d1, {0x9b, 0x6b, 0x00, 0x80, 0xc7, 0xbb, 0x59, 0x97}};
  pieces::ByteBuilder body(ByteOrder::Little);
  body.u16(1).u32(0).i32(0).u16(1).i32(1000);
  graph.element(2, group, body.result());
  const Loaded model(graph);
  EXPECT_THAT(model.tree(), ElementsAre("part root"));
  EXPECT_THAT(model.recorder.losses,
              ElementsAre(HasSubstr("group element 2: child count"), HasSubstr("has a child 2, but")));
}

// An element that claims the next one's bytes swallows it; one that ends inside of itself leaves bytes that
// are no element. In both cases everything before is kept and the fault is reported.
TEST(DamagedGraph, ElementsThatOverlapTheNextOneAreToldAndTheRestStands) {
  GraphBuilder graph;
  graph.partition(0, {1, 2}).name("root");
  graph.part(1, {}).name("seen");
  graph.part(2, {}).name("overlapped");
  const Bytes whole = graph.segment();
  pieces::ByteBuilder marker;
  marker.u32(0xce357244).u16(0x38fb).u16(0x11d1);  // how the GUID of a part begins
  const auto first = std::search(whole.begin(), whole.end(), marker.view().begin(), marker.view().end());
  ASSERT_NE(first, whole.end());
  const auto length_at = static_cast<std::size_t>(first - whole.begin()) - 4;
  const auto length = std::to_integer<std::uint32_t>(whole[length_at]);  // below 256
  for (const std::uint32_t wrong : {0U, 1U, 15U, 16U, 20U, length - 1, length + 1, length + 5, 2 * length + 4,
                                    0x7fffffffU, 0x80000000U, 0xffffffffU}) {
    Bytes bytes = whole;
    for (std::size_t k = 0; k < 4; ++k) bytes[length_at + k] = static_cast<std::byte>(wrong >> (8 * k));
    const auto read_graph = read(bytes);
    ASSERT_TRUE(read_graph) << wrong;
    EXPECT_FALSE(read_graph->damage.empty()) << wrong;
    ASSERT_GE(read_graph->nodes.size(), 1U);
    EXPECT_EQ(read_graph->nodes[0].kind, NodeKind::Partition);
  }
}

// Files drop atoms and leave their ids in the table; nodes that do not exist have entries too. Neither costs
// anything else.
TEST(DamagedGraph, PropertiesWithDanglingIdsAreLeftOutAndTheOthersStay) {
  GraphBuilder builder;
  builder.partition(0, {1}).name("root");
  builder.part(1, {}).name("part").property("colour", "red");
  const Bytes whole = builder.segment();
  // The table is at the end: version, count, then per node: id, pairs of atoms, 0.
  const std::size_t table = whole.size() - (2 + 4 + (4 + 8 + 4) + (4 + 16 + 4));
  const auto with = [&](std::size_t place, std::int32_t id) {
    Bytes bytes = whole;
    for (std::size_t k = 0; k < 4; ++k) {
      bytes[table + place + k] = static_cast<std::byte>(static_cast<std::uint32_t>(id) >> (8 * k));
    }
    return read(bytes);
  };
  constexpr std::size_t kRootNode = 6;
  constexpr std::size_t kPartNameKey = 6 + 16 + 4;
  constexpr std::size_t kPartNameValue = kPartNameKey + 4;
  for (const std::int32_t id : {7777, -1, std::numeric_limits<std::int32_t>::min()}) {
    for (const std::size_t place : {kPartNameKey, kPartNameValue}) {
      const auto graph = with(place, id);
      ASSERT_TRUE(graph);
      EXPECT_EQ(graph->nodes[1].name, kNone);
      EXPECT_EQ(graph->text(graph->nodes[0].name), "root");
      ASSERT_EQ(graph->nodes[1].properties.count, 1U);
      EXPECT_EQ(graph->text(graph->properties[graph->nodes[1].properties.first].value), "red");
    }
    const auto graph = with(kRootNode, id);
    ASSERT_TRUE(graph);
    EXPECT_EQ(graph->nodes[0].name, kNone);
    EXPECT_EQ(graph->text(graph->nodes[1].name), "part");
  }
  // A table that claims more nodes than there are bytes.
  EXPECT_FALSE(with(2, 0x7fffffff)->damage.empty());
  EXPECT_FALSE(with(2, -1)->damage.empty());
}

TEST(DamagedGraph, AnIdThatIsUsedTwiceIsReportedAndTheFirstHolds) {
  GraphBuilder graph;
  graph.partition(0, {1, 2}).name("root");
  graph.part(1, {});
  graph.metaData(2, {});
  graph.metaData(1, {});
  const Loaded model(graph);
  EXPECT_THAT(model.tree(), ElementsAre("assembly root", "  part root", "  assembly root"));
  EXPECT_THAT(model.recorder.losses, ElementsAre(HasSubstr("node id 1 is used more than once")));
}

TEST(DamagedGraph, ManyFaultsAreCountedNotListed) {
  GraphBuilder graph;
  pieces::Ids missing(1000);
  for (std::int32_t i = 0; i < 1000; ++i) missing[static_cast<std::size_t>(i)] = 5000 + i;
  graph.partition(0, missing).name("root");
  const Loaded model(graph);
  EXPECT_EQ(model.recorder.losses.size(), SceneGraph::kMaxDamage + 1);
  EXPECT_THAT(model.recorder.losses.back(), HasSubstr("900 more"));
}

TEST(DamagedGraph, WithoutANodeItIsNoGraph) {
  const GraphBuilder nothing;
  const auto graph = read(nothing.segment());
  ASSERT_FALSE(graph);
  EXPECT_EQ(graph.error().textInSegment(), "scene graph: has no node (at byte 0)");
}

TEST(DamagedGraph, IsToldByItsSegmentAndByWhatItsOffsetsCountIn) {
  GraphBuilder builder;
  builder.partition(0, {1}).name("machine");
  builder.part(1, {});
  Bytes bytes = builder.segment();
  bytes.resize(bytes.size() - 3);
  Segment segment;
  segment.id = {1, 2, 3, {}};
  segment.type = jttk::SegmentType::SceneGraph;
  segment.data = bytes;
  for (const bool is_inflated : {false, true}) {
    segment.compression = is_inflated ? jttk::Compression::Zlib : jttk::Compression::Stored;
    const auto graph = readSceneGraph(segment, {9, 5}, jttk::ByteOrder::Little);
    ASSERT_TRUE(graph) << graph.error().text();
    ASSERT_FALSE(graph->damage.empty());
    const jttk::Error& error = graph->damage.back().error;
    ASSERT_TRUE(error.segment.has_value());
    EXPECT_EQ(error.segment->id, segment.id);
    EXPECT_EQ(error.segment->type, segment.type);
    EXPECT_EQ(error.offset_in, is_inflated ? jttk::OffsetIn::Inflated : jttk::OffsetIn::File);
    EXPECT_THAT(error.text(), HasSubstr(" (at byte " + std::to_string(error.offset) +
                                        (is_inflated ? " of the inflated data)" : ")")));
  }
}

TEST(DamagedGraph, AMissingRootIsReplacedByAPartitionThatIsNobodysChild) {
  GraphBuilder graph;
  graph.element(0, {1, 2, 3, {}}, {});
  graph.part(1, {});
  graph.partition(2, {1}).name("box");
  const Loaded model(graph);
  EXPECT_THAT(model.tree(), ElementsAre("part box"));
}

}  // namespace
