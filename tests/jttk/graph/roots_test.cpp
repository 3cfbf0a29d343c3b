// Which partition is the root, and what cannot be reached from it.
#include <gmock/gmock.h>

#include "tests/jttk/model/loaded.h"

namespace {

using jttk::testing::Loaded;
using jttk::testing::walk;
using loftbay::maker::pieces::GraphBuilder;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

void addPart(GraphBuilder& graph, std::int32_t id, const std::string& name) {
  graph.part(id, {id + 1}).name(name);
  graph.triStrips(id + 1);
}

TEST(Root, IsThePartitionThatIsNobodysChildWhereverItStands) {
  for (const char* version : {"9.5", "10.0"}) {
    GraphBuilder graph(version);
    graph.partition(5, {10}).name("left");
    addPart(graph, 10, "wheel");
    graph.metaData(1, {5, 6});
    graph.partition(6, {20}).name("right");
    addPart(graph, 20, "axle");
    graph.partition(0, {1}).name("machine");
    const Loaded model(graph);
    EXPECT_THAT(model.tree(), ElementsAre("assembly machine", "  part left", "  part right")) << version;
    EXPECT_THAT(model.recorder.losses, IsEmpty()) << version;
  }
}

TEST(Root, AReferenceThatStandsFirstIsNotTheRoot) {
  GraphBuilder graph;
  graph.partition(5, {}, "gone.jt").name("gone");
  graph.partition(0, {1}).name("machine");
  graph.metaData(1, {5, 10});
  addPart(graph, 10, "wheel");
  const Loaded model(graph);
  EXPECT_THAT(model.tree(), ElementsAre("assembly machine", "  part gone", "  part wheel"));
  EXPECT_THAT(model.recorder.losses, ElementsAre(HasSubstr("\"gone.jt\" was not found")));
}

TEST(Root, OfSeveralTheFirstIsTakenAndThatIsTold) {
  GraphBuilder graph;
  graph.partition(3, {10}).name("first");
  addPart(graph, 10, "wheel");
  graph.partition(4, {20}).name("second");
  addPart(graph, 20, "axle");
  const Loaded model(graph);
  EXPECT_THAT(model.tree(), ElementsAre("part first"));
  EXPECT_THAT(model.recorder.losses,
              ElementsAre(AllOf(HasSubstr("2 partitions are at the top"),
                                HasSubstr("the partition 3 is taken for the root")),
                          AllOf(HasSubstr("1 node with geometry"), HasSubstr("tri-strip set 21"))));
}

TEST(Root, WhereNoPartitionIsFreeTheFirstThatHoldsSomethingIsTakenAndThatIsTold) {
  GraphBuilder graph;
  graph.partition(7, {}, "gone.jt").name("gone");
  graph.partition(3, {1}).name("machine");
  graph.metaData(1, {10, 3, 7});
  addPart(graph, 10, "wheel");
  const Loaded model(graph);
  EXPECT_EQ(walk(model.root()).shapes.size(), 1U);
  EXPECT_THAT(model.recorder.losses,
              ElementsAre(AllOf(HasSubstr("no partition is at the top"),
                                HasSubstr("the partition 3 is taken for the root")),
                          HasSubstr("the circle is not followed"), HasSubstr("was not found")));
}

TEST(Root, WhereItsElementIsLostWhatStoodBelowItTakesItsPlace) {
  GraphBuilder graph;
  graph.element(0, {1, 2, 3, {}}, {});
  graph.nullShape(30);
  graph.metaData(1, {5, 10}).name("machine");
  graph.partition(5, {}, "gone.jt").name("gone");
  addPart(graph, 10, "wheel");
  const Loaded model(graph);
  EXPECT_THAT(model.tree(), ElementsAre("assembly machine", "  part gone", "  part wheel"));
  EXPECT_THAT(model.recorder.losses,
              ElementsAre(HasSubstr("the assembly 1 is taken for the root"), HasSubstr("was not found")));
}

TEST(Unreachable, ShapesAndReferencesAreToldWithTheirIds) {
  GraphBuilder graph;
  graph.partition(0, {10}).name("machine");
  addPart(graph, 10, "wheel");
  addPart(graph, 20, "lost");
  graph.group(30, {31, 32, 33});
  graph.triStrips(31);
  graph.nullShape(32);
  graph.partition(33, {}, "axle.jt");
  const Loaded model(graph);
  EXPECT_THAT(model.recorder.losses,
              ElementsAre(AllOf(HasSubstr("no way leads from the root to 3 nodes with geometry"),
                                HasSubstr(": tri-strip set 21, tri-strip set 31, partition 33"))));
}

TEST(Unreachable, ManyShapesAreOneLossWithTheirNumber) {
  GraphBuilder graph;
  graph.partition(0, {1}).name("machine");
  graph.part(1, {});
  for (std::int32_t id = 10; id < 40; ++id) graph.triStrips(id);
  const Loaded model(graph);
  EXPECT_THAT(model.recorder.losses,
              ElementsAre(AllOf(HasSubstr("30 nodes with geometry"), HasSubstr("tri-strip set 14, …"))));
}

TEST(Unreachable, WhatIsHiddenOrNotSelectedCanBeReached) {
  GraphBuilder graph;
  graph.partition(0, {1, 2}).name("machine");
  graph.part(1, {10}).flags(1).name("hidden");
  graph.triStrips(10);
  graph.part(2, {3});
  graph.switchNode(3, {11, 12}, 1);
  graph.triStrips(11);
  graph.triStrips(12);
  const Loaded model(graph);
  EXPECT_THAT(model.recorder.losses, IsEmpty());
}

}  // namespace
