// The plain description of a file.
#include "jttk/interface/inspect.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "host/path.h"
#include "samples/maker/pieces/graph_builder.h"
#include "tests/jttk/support/from_maker.h"

namespace {

namespace pieces = loftbay::maker::pieces;
namespace fs = std::filesystem;
using jttk::describeFile;
using jttk::FileDescription;
using loftbay::maker::pieces::GraphBuilder;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

FileDescription describe(const GraphBuilder& graph, const jttk::DescribeOptions& options = {}) {
  const fs::path path = fs::temp_directory_path() / "loftbay_inspect_test.jt";
  const auto bytes = graph.file();
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  FileDescription file = describeFile(loftbay::host::toProgramPath(path.string()), options);
  fs::remove(path);
  return file;
}

GraphBuilder machine() {
  GraphBuilder graph("9.5");
  graph.move(20, 1, 2, 3);
  graph.material(21, {});
  graph.partition(0, {1}).name("machine.asm;1;0:");
  graph.metaData(1, {2, 3, 4}).property("JT_PROP_MEASUREMENT_UNITS", "Millimeters");
  graph.instance(2, 5).name("first").attributes({20});
  graph.instance(3, 5).name("second");
  graph.part(4, {}).name("bare").attributes({21});
  graph.part(5, {6}).name("wheel");
  graph.rangeLod(6, {7, 8});
  graph.triStrips(7);
  graph.setGeometry(pieces::Bytes(40));
  graph.triStrips(8);
  graph.element(9, {0x12345678, 1, 1, {}}, {});
  return graph;
}

TEST(Inspect, TellsContainerTreeAndLevels) {
  const FileDescription file = describe(machine());
  EXPECT_TRUE(file.loaded);
  EXPECT_EQ(file.major, 9);
  EXPECT_EQ(file.minor, 5);
  EXPECT_FALSE(file.big_endian);
  EXPECT_EQ(file.header_text, "Version 9.5 JT");
  EXPECT_EQ(file.units, "millimeters");
  ASSERT_EQ(file.segments.size(), 2U);
  EXPECT_EQ(file.segments[0].type, "scene graph");
  EXPECT_EQ(file.segments[0].compression, "stored");
  EXPECT_EQ(file.segments[1].type, "shape, level 0");
  EXPECT_EQ(file.segments[1].count, 2U);
  std::vector<std::string> tree;
  for (const auto& node : file.tree) {
    tree.push_back(std::string(node.depth, ' ') + node.kind + " " + node.name +
                   (node.has_transform ? " T" : "") + (node.has_material ? " M" : "") +
                   (node.listed_before ? " again" : ""));
  }
  EXPECT_THAT(tree, ElementsAre("assembly machine", " instance first T", "  part wheel", " instance second",
                                "  part wheel again", " part bare M"));
  EXPECT_EQ(file.tree[2].levels.size(), 2U);
  EXPECT_EQ(file.tree[2].levels[0][0].kind, "tri-strip set");
  EXPECT_EQ(file.unknown.size(), 1U);
  EXPECT_THAT(file.losses, IsEmpty());
}

TEST(Inspect, DecodesShapesWhenAskedAndTellsWhatFailed) {
  const FileDescription file = describe(machine(), {.decode_shapes = true});
  EXPECT_EQ(file.tree[2].levels[0][0].triangles, 4U);
  EXPECT_EQ(file.tree[2].levels[1][0].kind, "");
  ASSERT_EQ(file.losses.size(), 1U);
  EXPECT_EQ(file.losses[0].part, "wheel");
  EXPECT_THAT(file.losses[0].reason, HasSubstr("segment "));
}

TEST(Inspect, TellsWhereRepeatedContentsWereListed) {
  const FileDescription file = describe(machine());
  ASSERT_TRUE(file.tree[4].listed_before);
  EXPECT_EQ(file.tree[4].first_listed, 2U);
  EXPECT_FALSE(file.tree[2].listed_before);
}

TEST(Inspect, ListsTheTextsOfNodesWhenAsked) {
  EXPECT_THAT(describe(machine()).properties, IsEmpty());
  const FileDescription file = describe(machine(), {.properties = true});
  ASSERT_EQ(file.properties.size(), 6U);
  EXPECT_EQ(file.properties[1].id, 1);
  EXPECT_EQ(file.properties[1].kind, "assembly");
  EXPECT_EQ(file.properties[1].name, "");
  EXPECT_THAT(file.properties[1].texts, ElementsAre(std::pair("JT_PROP_MEASUREMENT_UNITS", "Millimeters")));
  EXPECT_EQ(file.properties[0].name, "machine");
  EXPECT_THAT(file.properties[0].file, HasSubstr("loftbay_inspect_test.jt"));
}

TEST(Inspect, TellsSegmentsThatNothingReads) {
  EXPECT_THAT(describe(machine()).unread_segments, IsEmpty());
  for (const auto& segment : describe(machine()).segments) EXPECT_TRUE(segment.is_read) << segment.type;
}

TEST(Inspect, ATreeCanBeCut) {
  const FileDescription file = describe(machine(), {.max_nodes = 3});
  EXPECT_EQ(file.tree.size(), 3U);
  EXPECT_TRUE(file.tree_is_cut);
}

TEST(Inspect, SegmentsThatCannotBeReadAreListedThoughNobodyNeedsThem) {
  GraphBuilder graph = machine();
  EXPECT_THAT(describe(graph).unreadable_segments, IsEmpty());
  graph.lateSegment({5, 5, 5, {}}, 4, {});
  const fs::path path = fs::temp_directory_path() / "loftbay_inspect_cut_test.jt";
  auto bytes = graph.file();
  bytes.resize(bytes.size() - 50);                                 // of the second shape, a coarser level
  bytes[80 + 1 + 4 + 4 + 16 + 4 + 28 + 16 + 3] = std::byte{0x7f};  // the meta data lie behind the end
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  const FileDescription file = describeFile(loftbay::host::toProgramPath(path.string()));
  fs::remove(path);
  EXPECT_TRUE(file.loaded);
  EXPECT_THAT(file.losses, IsEmpty());
  EXPECT_THAT(file.unreadable_segments, ElementsAre(HasSubstr(jttk::from_maker::guidOf({5, 5, 5, {}}).text()),
                                                    HasSubstr("shape, level 0")));
}

TEST(Inspect, AFileThatCannotBeReadHasALoss) {
  const FileDescription file = describeFile("no such file.jt");
  EXPECT_FALSE(file.loaded);
  EXPECT_EQ(file.losses.size(), 1U);
}

}  // namespace
