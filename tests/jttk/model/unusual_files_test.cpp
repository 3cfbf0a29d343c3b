// What files of other writers may hold, each once: the model is the same as if it were written as usual.
#include <gmock/gmock.h>

#include "jttk/graph/read_scene_graph.h"
#include "jttk/interface/part.h"
#include "jttk/model/settings.h"
#include "samples/maker/guids.h"
#include "samples/maker/pieces/shapes.h"
#include "tests/jttk/model/loaded.h"

namespace {

namespace guids = loftbay::maker::guids;
namespace pieces = loftbay::maker::pieces;
using jttk::testing::Loaded;
using jttk::testing::moveOf;
using jttk::testing::partOf;
using jttk::testing::redOf;
using jttk::testing::shapeOf;
using loftbay::maker::GuidValue;
using loftbay::maker::pieces::GraphBuilder;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* kGenerations[] = {"8.1", "9.5", "10.5"};
constexpr GuidValue kNobodysKind{0x12345678, 1, 2, {3}};
constexpr GuidValue kWireHarness{
    0x4cc7a521, 0x0728, 0x11d3, {0x9d, 0x8b, 0x00, 0xa0, 0xc9, 0xc7, 0xdd, 0xc2}};

TEST(UnusualFiles, AGroupOfAnUnknownKindHoldsItsChildren) {
  for (const char* version : kGenerations) {
    GraphBuilder graph(version);
    graph.move(20, 1, 2, 3);
    graph.partition(0, {1}).name("machine");
    graph.metaData(1, {2});
    graph.unknownGroup(2, kNobodysKind, {3, 4}).attributes({20});
    graph.part(3, {}).name("left");
    graph.part(4, {}).name("right");
    const Loaded model(graph);
    EXPECT_THAT(model.recorder.losses, IsEmpty()) << version;
    ASSERT_EQ(static_cast<JtkAssembly*>(model.root())->numChildren(), 2);
    EXPECT_THAT(moveOf(model.at({1})), ElementsAre(1, 2, 3));
  }
}

TEST(UnusualFiles, AShapeNodeOfAnUnknownKindIsWhatItsSegmentIs) {
  for (const GuidValue& kind : {kNobodysKind, kWireHarness}) {
    GraphBuilder graph = partOf({2, 3});
    graph.triStrips(2);
    graph.unknownShape(3, kind).lateLoaded("JT_LLPROP_SHAPEIMPL", graph.shapeSegment(2), 7);
    const Loaded model(graph);
    JtkShape* shape = shapeOf(model.root(), 0, 1);
    ASSERT_NE(shape, nullptr);
    EXPECT_EQ(shape->typeID(), JtkEntity::JtkTRISTRIPSET);
    EXPECT_THAT(model.recorder.losses, IsEmpty());
  }
}

TEST(UnusualFiles, AnUnknownNodeWithoutABaseTypeIsMissedWhereItIsAChild) {
  GraphBuilder graph;
  graph.partition(0, {1}).name("machine");
  graph.metaData(1, {2, 3});
  graph.element(2, kNobodysKind, {});
  graph.part(3, {}).name("part");
  const Loaded model(graph);
  EXPECT_THAT(model.recorder.losses, ElementsAre(HasSubstr("a child 2 of an unknown kind")));
  EXPECT_EQ(static_cast<JtkAssembly*>(model.root())->numChildren(), 1);
}

TEST(UnusualFiles, ANodeThatTheTableListsTwiceHasAllItsProperties) {
  for (const char* version : kGenerations) {
    GraphBuilder graph(version);
    graph.splitPropertyTable();
    graph.partition(0, {1}).name("machine");
    graph.part(1, {2}).property("A::", "1").name("part").property("B::", "2");
    graph.triStrips(2).property("layer", "7").property("colour::", "red");
    const jttk::Document document = [&] {
      auto bytes = graph.file();
      auto opened = jttk::openDocument("machine.jt", bytes);
      EXPECT_TRUE(opened.has_value());
      return std::move(**opened);
    }();
    EXPECT_THAT(document.graph.damage, IsEmpty());
    const auto& nodes = document.graph.nodes;
    EXPECT_EQ(document.label(1), "part");
    EXPECT_EQ(nodes[1].properties.count, 3U);
    EXPECT_EQ(nodes[2].properties.count, 2U);
    EXPECT_NE(document.graph.findLateLoaded(nodes[2], "JT_LLPROP_SHAPEIMPL"), jttk::kNone);
    const auto& first = document.graph.properties[nodes[1].properties.first];
    EXPECT_EQ(document.graph.text(first.key) + document.graph.text(first.value), "A::1");
  }
}

TEST(UnusualFiles, GeometryIsFoundUnderAnotherKeyToo) {
  GraphBuilder graph = partOf({2, 3});
  graph.triStrips(2);
  graph.emptyTriStrips(3)
      .lateLoaded("JT_LLPROP_METADATA", {1, 2, 3, {}}, 4)
      .lateLoaded("JT_LLPROP_SHAPE", graph.shapeSegment(2), 7);
  const Loaded model(graph);
  ASSERT_NE(shapeOf(model.root(), 0, 1), nullptr);
  EXPECT_EQ(shapeOf(model.root(), 0, 1)->getPrimitiveSetCount(),
            shapeOf(model.root(), 0, 0)->getPrimitiveSetCount());
  EXPECT_THAT(model.recorder.losses, IsEmpty());
}

TEST(UnusualFiles, AShapeThatCountsNothingNeedsNoGeometry) {
  GraphBuilder graph = partOf({2});
  graph.triStripsOfNothing(2);
  const Loaded model(graph);
  JtkShape* shape = shapeOf(model.root(), 0, 0);
  ASSERT_NE(shape, nullptr);
  EXPECT_EQ(shape->getPrimitiveSetCount(), 0);
  EXPECT_THAT(model.recorder.losses, IsEmpty());
}

// Colours do not reach the scene: the shape stays, and notes name the first shapes of a file.
TEST(UnusualFiles, ColoursThatCannotBeReadAreNoted) {
  pieces::ShapeOptions options;
  options.bindings = 0x22;
  pieces::Bytes rep = pieces::topologicalRepData(pieces::tetrahedronSymbols(7), 4, 12, options);
  rep.back() ^= std::byte{1};  // of the hash of the colours, which come last
  GraphBuilder graph;
  graph.setGeometry(pieces::shapeElement(guids::kTriStripLod, pieces::PacketForm::V9, rep));
  graph.partition(0, {1}).name("root");
  pieces::Ids children;
  for (int i = 0; i < 30; ++i) children.push_back(2 + i);
  graph.part(1, children).name("part");
  for (int i = 0; i < 30; ++i) graph.triStrips(2 + i);
  const Loaded model(graph);
  for (int i = 0; i < 30; ++i) EXPECT_NE(shapeOf(model.root(), 0, i), nullptr);
  EXPECT_THAT(model.recorder.losses, IsEmpty());
  ASSERT_EQ(model.recorder.notes.size(), 21U);
  EXPECT_THAT(
      model.recorder.notes.front(),
      HasSubstr("tri-strip set 2 was read without some of its vertex attributes: colours do not agree"));
  EXPECT_THAT(model.recorder.notes.back(), HasSubstr("more shapes were read without"));
}

// The size decides whether a palette index follows, whatever the version is.
TEST(UnusualFiles, AttributesOf10MayHaveAPaletteIndex) {
  for (const std::uint32_t version : {1U, 2U, 3U}) {
    for (const bool palette : {false, true}) {
      GraphBuilder graph("10.5");
      graph.setBaseAttribute(version, palette);
      graph.move(20, 4, 5, 6);
      GraphBuilder::Material material;
      material.diffuse = {0.25F, 0.5F, 0.75F, 1};
      graph.material(21, material);
      graph.partition(0, {1}).name("part");
      graph.part(1, {}).attributes({20, 21});
      const Loaded model(graph);
      EXPECT_THAT(moveOf(model.root()), ElementsAre(4, 5, 6)) << version << palette;
      EXPECT_EQ(redOf(model.root()), 0.25F) << version << palette;
      EXPECT_THAT(model.recorder.losses, IsEmpty());
    }
  }
}

// A light that ends too early costs nothing.
TEST(UnusualFiles, AttributesThatChangeNothingMayBeOfAnyForm) {
  GraphBuilder graph;
  const GuidValue light{0x10dd1028, 0x2ac8, 0x11d1, {0x9b, 0x6b, 0x00, 0x80, 0xc7, 0xbb, 0x59, 0x97}};
  graph.element(20, light, {std::byte{1}});
  graph.element(21, kNobodysKind, {});
  graph.partition(0, {1}).name("part").attributes({20, 21, 99});
  graph.part(1, {});
  const Loaded model(graph);
  EXPECT_THAT(model.recorder.losses, IsEmpty());
}

TEST(UnusualFiles, APartitionWithChildrenNeedsNothingBehindThem) {
  for (const char* version : kGenerations) {
    GraphBuilder graph(version);
    graph.partition(0, {1}).name("machine");
    graph.part(1, {}).name("part");
    pieces::Bytes bytes = graph.segment();
    // The length of the file name: behind length, GUID, base type, id, base node, children, flags.
    const int major = std::stoi(version);
    const std::size_t number = major == 8 ? 0 : major == 9 ? 2 : 1;
    const std::size_t at = 4 + 16 + 1 + 4 + number + 8 + number + 8 + (major >= 10 ? 1 : 0) + 4;
    bytes[at + 3] = std::byte{0x7f};
    jttk::Segment segment;
    segment.data = bytes;
    const auto read = jttk::readSceneGraph(segment, {major, 0}, jttk::ByteOrder::Little);
    ASSERT_TRUE(read.has_value());
    EXPECT_THAT(read->damage, IsEmpty()) << version;
    EXPECT_EQ(read->nodes.size(), 2U);
  }
}

// Two tri-strip sets, the first with a changed representation and with these attributes.
GraphBuilder withRepData(const pieces::Bytes& rep, const pieces::Ids& attributes = {}) {
  GraphBuilder graph = partOf({2, 3});
  const pieces::ShapeOptions options;
  const auto element = [&](const pieces::Bytes& data) {
    return pieces::shapeElement(guids::kTriStripLod, pieces::PacketForm::V9, data);
  };
  graph.setGeometry(element(rep));
  graph.triStrips(2).attributes(attributes);
  graph.setGeometry(element(pieces::topologicalRepData(pieces::tetrahedronSymbols(7), 4, 12, options)));
  graph.triStrips(3);
  return graph;
}

// It is reported once, however often the shape is asked for.
TEST(UnusualFiles, ADoubtfulMeshIsHandedOutAndTold) {
  pieces::Bytes rep =
      pieces::topologicalRepData(pieces::tetrahedronSymbols(0), 4, 0, {pieces::PacketForm::V9, false, 2});
  rep[pieces::topologyBytes(pieces::tetrahedronSymbols(0), pieces::PacketForm::V9).size() - 1] ^=
      std::byte{1};
  const Loaded model(withRepData(rep));
  for (int i = 0; i < 2; ++i) {
    JtkShape* shape = shapeOf(model.root(), 0, i);
    ASSERT_NE(shape, nullptr);
    EXPECT_GT(shape->getPrimitiveSetCount(), 0);
    static_cast<void>(shapeOf(model.root(), 0, i));
  }
  EXPECT_THAT(model.recorder.losses,
              ElementsAre(AllOf(HasSubstr("machine.jt: segment "), HasSubstr("tri-strip set"),
                                HasSubstr("the topology arrays do not agree with their hash (at byte "),
                                HasSubstr("the shape is doubtful, and is kept"))));
  EXPECT_THAT(model.recorder.notes, IsEmpty());
}

TEST(UnusualFiles, CoordinatesThatOnlyTheBoxConfirmsAreNoted) {
  pieces::Bytes rep =
      pieces::topologicalRepData(pieces::tetrahedronSymbols(0), 4, 0, {pieces::PacketForm::V9, true, 2});
  rep.back() ^= std::byte{1};
  for (const bool moved : {false, true}) {
    // If the shape's node has a transform, its box may be the transformed one: then it is not used.
    GraphBuilder graph = withRepData(rep, moved ? pieces::Ids{20} : pieces::Ids{});
    graph.move(20, 1, 2, 3);
    const Loaded model(graph);
    EXPECT_EQ(shapeOf(model.root(), 0, 0) == nullptr, moved);
    EXPECT_NE(shapeOf(model.root(), 0, 1), nullptr);
    EXPECT_EQ(model.recorder.losses.size(), moved ? 1U : 0U);
    if (moved) continue;
    EXPECT_THAT(model.recorder.notes,
                ElementsAre(HasSubstr("coordinates do not agree with their hash, but fill the box")));
  }
}

TEST(UnusualFiles, CoordinatesOutsideOfTheBoxAreNotedWhereNoHashIsKnown) {
  GraphBuilder graph = partOf({2});
  graph.setShapeBox({0, 0, 0, 1, 1, 1});
  graph.triStrips(2);
  const Loaded model(graph);
  EXPECT_NE(shapeOf(model.root(), 0, 0), nullptr);
  EXPECT_THAT(model.recorder.losses, IsEmpty());
  EXPECT_THAT(model.recorder.notes, ElementsAre(HasSubstr("coordinates lie outside of the box")));
}

// Each of them fits, all together do not.
TEST(UnusualFiles, TheMemoryOfAShapeThatNobodyHoldsGoesBack) {
  const jttk::testing::ScopedSettings settings;
  settings->max_memory_bytes = 20'000;
  settings->shape_cache_bytes = 0;
  constexpr int kShapes = 200;
  pieces::Ids ids;
  for (int i = 0; i < kShapes; ++i) ids.push_back(2 + i);
  GraphBuilder graph = partOf(ids);
  for (const auto id : ids) graph.triStrips(id);
  const Loaded model(graph);
  for (int i = 0; i < kShapes; ++i) {
    EXPECT_NE(shapeOf(model.root(), 0, i), nullptr) << i;
    static_cast<jttk::PartObject*>(model.root())->wasLeft();
  }
  EXPECT_THAT(model.recorder.losses, IsEmpty());
}

TEST(UnusualFiles, AShapeBeyondTheMemoryLimitIsToldAndTheOthersStay) {
  const auto large =
      pieces::topologicalRepData(pieces::polygonSymbols(1000), 1000, 0, {pieces::PacketForm::V9, true, 2});
  {
    const jttk::testing::ScopedSettings settings;
    settings->max_memory_bytes = 20'000;
    const Loaded model(withRepData(large));
    EXPECT_EQ(shapeOf(model.root(), 0, 0), nullptr);
    // What the others took is given back, so that any number of them fits one after the other.
    for (int i = 0; i < 100; ++i) EXPECT_NE(shapeOf(model.root(), 0, 1), nullptr);
    EXPECT_THAT(model.recorder.losses,
                ElementsAre(HasSubstr("more memory is asked for than the limit of 20000")));
  }
  const Loaded model(withRepData(large));
  EXPECT_NE(shapeOf(model.root(), 0, 0), nullptr);
  EXPECT_THAT(model.recorder.losses, IsEmpty());
}

}  // namespace
