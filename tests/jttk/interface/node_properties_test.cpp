// What the observer is told of the nodes that a walk enters.
#include <gmock/gmock.h>

#include "jttk/interface/jttk.h"
#include "jttk/interface/settings.h"
#include "samples/maker/pieces/graph_builder.h"
#include "tests/jttk/model/loaded.h"
#include "tests/jttk/model/walk.h"

namespace {

using jttk::testing::Loaded;
using jttk::testing::ScopedSettings;
using loftbay::maker::GuidValue;
using loftbay::maker::pieces::GraphBuilder;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr GuidValue kSegment = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};

// Targets of instances are not entered.
void traverse(const Loaded& model) {
  JtkTraverser* traverser = JtkEntityFactory::createTraverser();
  traverser->ref();
  traverser->traverse(model.root(), 0);
  traverser->unref();
}

GraphBuilder wheelTwice() {
  GraphBuilder graph("9.5");
  graph.partition(0, {1}).property("made by", "us");
  graph.metaData(1, {2, 3}).property("made by", "them").property("state", "released");
  graph.instance(2, 4).property("place", "left");
  graph.instance(3, 4).property("colour", "blue");
  graph.part(4, {5}).property("colour", "red").metaData(kSegment, {{"Mass::", 0.5F}});
  graph.triStrips(5);
  return graph;
}

TEST(NodeProperties, AreToldOnlyWhereSettingsAsk) {
  const Loaded model(wheelTwice());
  traverse(model);
  EXPECT_THAT(model.recorder.entered_nodes, IsEmpty());
}

TEST(NodeProperties, OfAnInstanceIncludeItsTargetsAndItsOwnWin) {
  const ScopedSettings settings;
  settings->node_properties = true;
  const Loaded model(wheelTwice());
  traverse(model);
  EXPECT_THAT(model.recorder.entered_nodes,
              ElementsAre("made by=us, state=released", "place=left, colour=red, Mass::=0.5",
                          "colour=blue, Mass::=0.5"));
}

TEST(NodeProperties, InADamagedSegmentAreNotedOnceAndCostNothing) {
  const ScopedSettings settings;
  settings->node_properties = true;
  GraphBuilder graph = wheelTwice();
  graph.lateSegment(kSegment, 4, loftbay::maker::pieces::Bytes(30, std::byte{1}));
  const Loaded model(graph);
  traverse(model);
  EXPECT_THAT(model.recorder.entered_nodes,
              ElementsAre("made by=us, state=released", "place=left, colour=red", "colour=blue"));
  EXPECT_THAT(model.recorder.notes, ElementsAre(HasSubstr("properties: segment 00000001")));
  EXPECT_THAT(model.recorder.losses, IsEmpty());
}

}  // namespace
