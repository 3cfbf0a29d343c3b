// What the observer is told of the nodes that a walk enters.
#include <gmock/gmock.h>

#include "jttk/interface/jttk.h"
#include "jttk/interface/settings.h"
#include "samples/maker/pieces/graph_builder.h"
#include "tests/jttk/model/loaded.h"
#include "tests/jttk/model/walk.h"

namespace {

using jttk::testing::Loaded;
using jttk::testing::Recorder;
using jttk::testing::ScopedSettings;
using loftbay::maker::GuidValue;
using loftbay::maker::pieces::GraphBuilder;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr GuidValue kSegment = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};

// Each entered node as "key=value, key=value", in the order of the walk.
class Entered final : public loftbay::diag::Observer {
 public:
  Entered() : before_(loftbay::diag::programSeams()) { loftbay::diag::programSeams().observer = this; }
  ~Entered() override { loftbay::diag::programSeams() = before_; }
  void entered(std::span<const loftbay::diag::NodeProperty> properties) override {
    std::string text;
    for (const auto& property : properties) {
      text += (text.empty() ? "" : ", ") + std::string(property.key) + "=" + std::string(property.value);
    }
    nodes.push_back(text);
  }
  void note(std::string_view text) override { notes.emplace_back(text); }
  void lost(std::string_view part, std::string_view reason) override {
    losses.push_back(std::string(part) + ": " + std::string(reason));
  }

  std::vector<std::string> nodes;
  std::vector<std::string> notes;
  std::vector<std::string> losses;

 private:
  loftbay::diag::ProgramSeams before_;
};

int goOn(JtkEntity*, int, int) { return 1; }

void walk(const Loaded& model) {
  JtkTraverser* traverser = JtkEntityFactory::createTraverser();
  traverser->ref();
  traverser->setPreActionCallback(&goOn);
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
  const Entered told;
  walk(model);
  EXPECT_THAT(told.nodes, IsEmpty());
}

TEST(NodeProperties, OfAnInstanceIncludeItsTargetsAndItsOwnWin) {
  const ScopedSettings settings;
  settings->node_properties = true;
  const Loaded model(wheelTwice());
  const Entered told;
  walk(model);
  EXPECT_THAT(told.nodes, ElementsAre("made by=us, state=released", "place=left, colour=red, Mass::=0.5",
                                      "colour=blue, Mass::=0.5"));
}

TEST(NodeProperties, InADamagedSegmentAreNotedOnceAndCostNothing) {
  const ScopedSettings settings;
  settings->node_properties = true;
  GraphBuilder graph = wheelTwice();
  graph.lateSegment(kSegment, 4, loftbay::maker::pieces::Bytes(30, std::byte{1}));
  const Loaded model(graph);
  const Entered told;
  walk(model);
  EXPECT_THAT(told.nodes, ElementsAre("made by=us, state=released", "place=left, colour=red", "colour=blue"));
  EXPECT_THAT(told.notes, ElementsAre(HasSubstr("properties: segment 00000001")));
  EXPECT_THAT(told.losses, IsEmpty());
}

}  // namespace
