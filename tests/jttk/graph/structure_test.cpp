// The product structure that people see, from scene graphs built here.
#include <gmock/gmock.h>

#include <functional>

#include "jttk/model/settings.h"
#include "tests/jttk/model/loaded.h"

namespace {

namespace pieces = loftbay::maker::pieces;
using jttk::testing::Loaded;
using jttk::testing::Recorder;
using loftbay::maker::pieces::Bytes;
using loftbay::maker::pieces::GraphBuilder;
using loftbay::maker::pieces::Ids;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

TEST(ProductStructure, APartitionAndItsSingleAssemblyAreOneNodeAndThePartitionsNameHolds) {
  GraphBuilder graph;
  graph.partition(0, {1}).name("engine.asm;3;0:");
  graph.metaData(1, {2, 3}).name("other.asm;3;0:");
  graph.part(2, {4}).name("bolt.part;1;0:");
  graph.metaData(3, {5}).name("cover.asm;1;0:");
  graph.triStrips(4);
  graph.part(5, {}).name("lid.part;1;0:");
  const Loaded model(graph);
  EXPECT_THAT(model.tree(),
              ElementsAre("assembly engine", "  part bolt", "  assembly cover", "    part lid"));
  EXPECT_THAT(model.recorder.losses, IsEmpty());
}

TEST(ProductStructure, APartitionAndItsSinglePartAreOnePart) {
  GraphBuilder graph;
  graph.partition(0, {1}).name("bolt.part;3;0:");
  graph.part(1, {2});
  graph.triStrips(2);
  const Loaded model(graph);
  EXPECT_THAT(model.tree(), ElementsAre("part bolt"));
  EXPECT_EQ(static_cast<JtkPart*>(model.root())->numShapes(0), 1);
}

TEST(ProductStructure, APartitionWithSeveralChildrenIsAnAssembly) {
  GraphBuilder graph;
  graph.partition(0, {1, 2}).name("pair");
  graph.part(1, {}).name("left");
  graph.part(2, {}).name("right");
  EXPECT_THAT(Loaded(graph).tree(), ElementsAre("assembly pair", "  part left", "  part right"));
}

TEST(ProductStructure, ThePartitionsSingleChildIsCountedAfterGroupsAreTakenAway) {
  GraphBuilder graph;
  graph.partition(0, {1, 2});
  graph.group(1, {});
  graph.group(2, {3});
  graph.group(3, {4}).name("group");
  graph.part(4, {}).name("pin.part;0;0:");
  EXPECT_THAT(Loaded(graph).tree(), ElementsAre("part pin"));
}

TEST(ProductStructure, ANamelessPartitionHasTheNameOfItsChildElseOfTheFile) {
  GraphBuilder named;
  named.partition(0, {1}, "stated.jt");
  named.metaData(1, {}).name("gear.asm;0;0:");
  EXPECT_THAT(Loaded(named).tree(), ElementsAre("assembly gear"));
  GraphBuilder nameless;
  nameless.partition(0, {1}, "stated.jt");
  nameless.metaData(1, {});
  EXPECT_THAT(Loaded(nameless, "folder\\sub.folder\\real.name.jt").tree(), ElementsAre("assembly real.name"));
}

TEST(ProductStructure, GroupsAreNoNodesAndTheirChildrenStandInTheirPlace) {
  GraphBuilder graph;
  graph.partition(0, {1, 2, 5}).name("root");
  graph.part(1, {}).name("a");
  graph.group(2, {3, 4});
  graph.part(3, {}).name("b");
  graph.part(4, {}).name("c");
  graph.part(5, {}).name("d");
  EXPECT_THAT(Loaded(graph).tree(),
              ElementsAre("assembly root", "  part a", "  part b", "  part c", "  part d"));
}

TEST(ProductStructure, OfASwitchTheSelectedChildCounts) {
  GraphBuilder graph;
  graph.partition(0, {1, 4}).name("root");
  graph.switchNode(1, {2, 3}, 1);
  graph.part(2, {}).name("summer");
  graph.part(3, {}).name("winter");
  graph.switchNode(4, {2, 3}, -1);
  EXPECT_THAT(Loaded(graph).tree(), ElementsAre("part root"));
}

TEST(ProductStructure, InstancesShareWhatTheyReferTo) {
  GraphBuilder graph;
  graph.partition(0, {1}).name("root");
  graph.metaData(1, {2, 3, 4});
  graph.instance(2, 5).name("wheel.asm;1;0:");
  graph.instance(3, 5).name("wheel.asm;1;1:");
  graph.instance(4, 6).name("bolt;0;0:");
  graph.metaData(5, {6});
  graph.part(6, {}).name("bolt.part;0;0:");
  EXPECT_THAT(Loaded(graph).tree(), ElementsAre("assembly root", "  instance wheel", "  =assembly wheel",
                                                "    part bolt", "  instance wheel", "  =assembly wheel",
                                                "    part bolt", "  instance bolt", "  =part bolt"));
}

// Reported when the model ends: the converter places parts by their instances and does not see it.
TEST(ProductStructure, InstancedPartsWithATransformOfTheirOwnAreNoted) {
  GraphBuilder graph;
  graph.partition(0, {1}).name("root");
  graph.metaData(1, {2, 3, 4, 5});
  graph.move(20, 1, 2, 3);
  graph.move(21, 0, 0, 0);
  graph.instance(2, 6).name("first");
  graph.instance(3, 7).name("of one that stays");
  graph.instance(4, 6).name("second");
  graph.instance(5, 8).name("of an assembly");
  graph.part(6, {}).name("moved").attributes({20});
  graph.part(7, {}).name("still").attributes({21});
  graph.metaData(8, {9}).name("assembly").attributes({20});
  graph.part(9, {}).name("no instance").attributes({20});
  const Bytes bytes = graph.file();
  const Recorder recorder;
  auto document = jttk::openDocument("folder\\machine.jt", bytes);
  ASSERT_TRUE(document);
  JtkHierarchy* const root = jttk::createRoot(std::move(*document));
  root->ref();
  jttk::testing::walk(root);
  EXPECT_THAT(recorder.notes, IsEmpty());
  root->unref();
  EXPECT_THAT(recorder.notes, ElementsAre("2 instanced parts lost their own transformation: first, second"));
}

// The converter takes the first part of a name for all of them. Nothing is lost by that where they look
// alike: if they differ only by a transform, or by a material that is not in force.
TEST(ProductStructure, PartsOfOneNameAreNotedWhereTheyLookDifferent) {
  const auto notes = [](const std::function<void(GraphBuilder&)>& build) {
    GraphBuilder graph;
    graph.material(20, {.diffuse = {0.25F, 0, 0, 1}});
    graph.material(21, {.diffuse = {0.5F, 0, 0, 1}});
    graph.material(22, {.diffuse = {0.5F, 0, 0, 1}});
    graph.move(30, 1, 2, 3);
    graph.partition(0, {1}).name("root");
    graph.metaData(1, {2, 3});
    build(graph);
    jttk::testing::Loaded model(graph);
    (void)model.tree();
    EXPECT_THAT(model.recorder.notes, IsEmpty());
    model.close();
    return model.recorder.notes;
  };
  // One part in two groups with these attributes.
  const auto inGroups = [&](const Ids& first, const Ids& second, const Ids& own) {
    return notes([&](GraphBuilder& graph) {
      graph.group(2, {4}).attributes(first);
      graph.group(3, {4}).attributes(second);
      graph.part(4, {}).name("bolt").attributes(own);
    });
  };
  const auto told =
      ElementsAre("1 part bears the name of an earlier part and got its geometry and material: bolt");
  EXPECT_THAT(inGroups({20}, {21}, {}), told);
  EXPECT_THAT(inGroups({20}, {}, {}), told);
  EXPECT_THAT(inGroups({20}, {21}, {22}), IsEmpty());
  EXPECT_THAT(inGroups({21}, {22}, {}), IsEmpty());
  EXPECT_THAT(inGroups({}, {30}, {}), IsEmpty());
  EXPECT_THAT(notes([](GraphBuilder& graph) {
                graph.part(2, {}).name("bolt");
                graph.part(3, {}).name("bolt");
              }),
              told);
}

TEST(ProductStructure, AGroupOrPartitionThatAnInstanceRefersToIsAnAssembly) {
  GraphBuilder graph;
  graph.partition(0, {1, 2}).name("root");
  graph.instance(1, 3).name("first");
  graph.instance(2, 4).name("second");
  graph.group(3, {5}).name("group");
  graph.partition(4, {5}, "inside.jt").name("box");
  graph.part(5, {}).name("ball");
  EXPECT_THAT(Loaded(graph).tree(),
              ElementsAre("assembly root", "  instance first", "  =assembly group", "    part ball",
                          "  instance second", "  =assembly box", "    part ball"));
}

TEST(ProductStructure, AnInstanceOfAnInstanceIsReachedThroughAnAssembly) {
  GraphBuilder graph;
  graph.partition(0, {1, 4}).name("root");
  graph.instance(1, 2).name("outer");
  graph.instance(2, 3).name("inner");
  graph.part(3, {}).name("ball");
  graph.part(4, {}).name("other");
  EXPECT_THAT(Loaded(graph).tree(), ElementsAre("assembly root", "  instance outer", "  =assembly inner",
                                                "    instance inner", "    =part ball", "  part other"));
}

TEST(ProductStructure, ShapesWithNoPartAboveAreInPartsOfTheirOwn) {
  GraphBuilder graph;
  graph.partition(0, {1}).name("root");
  graph.metaData(1, {2, 3, 6});
  graph.triStrips(2);
  graph.rangeLod(3, {4, 5});
  graph.triStrips(4);
  graph.triStrips(5);
  graph.instance(6, 2).name("again");
  const Loaded model(graph);
  EXPECT_THAT(model.tree(), ElementsAre("assembly root", "  part root", "  part root (2)", "  instance again",
                                        "  =part again"));
  EXPECT_EQ(static_cast<JtkPart*>(model.at({0}))->numShapeLODs(), 1);
  EXPECT_EQ(static_cast<JtkPart*>(model.at({1}))->numShapeLODs(), 2);
}

TEST(ProductStructure, HiddenNodesAreLeftOutAndNoted) {
  GraphBuilder graph;
  graph.partition(0, {1, 2, 4}).name("root");
  graph.part(1, {}).name("seen");
  graph.metaData(2, {3}).name("secret.asm;0;0:").flags(1);
  graph.part(3, {}).name("inside");
  graph.instance(4, 2).name("copy");
  const Loaded model(graph);
  EXPECT_THAT(model.tree(), ElementsAre("part root"));
  EXPECT_THAT(model.recorder.notes, ElementsAre(HasSubstr("\"secret\" is marked as not shown")));
  EXPECT_THAT(model.recorder.losses, IsEmpty());
}

TEST(ProductStructure, ADanglingInstanceRefersToAPartWithoutLevels) {
  GraphBuilder graph;
  graph.partition(0, {1, 2}).name("root");
  graph.instance(1, 77).name("lost.part;0;0:");
  graph.part(2, {}).name("seen");
  const Loaded model(graph);
  EXPECT_THAT(model.tree(), ElementsAre("assembly root", "  instance lost", "  =part lost", "  part seen"));
  EXPECT_EQ(static_cast<JtkPart*>(Loaded::target(model.at({0})))->numShapeLODs(), 0);
  EXPECT_THAT(model.recorder.losses, ElementsAre(HasSubstr("the instance 1 has a child 77, but")));
}

TEST(ProductStructure, CirclesAreReportedAndNotFollowed) {
  GraphBuilder graph;
  graph.partition(0, {1}).name("root");
  graph.metaData(1, {2, 3, 4}).name("outer");
  graph.instance(2, 1).name("itself");
  graph.metaData(3, {1}).name("inner");
  graph.part(4, {}).name("pin");
  const Loaded model(graph);
  EXPECT_THAT(model.tree(), ElementsAre("assembly root", "  instance itself", "  =part itself",
                                        "  assembly inner", "  part pin"));
  EXPECT_THAT(model.recorder.losses,
              ElementsAre(HasSubstr("the circle is not followed"), HasSubstr("the circle is not followed")));
}

TEST(ProductStructure, UnknownElementsAreSkippedAndTheirUseIsReported) {
  GraphBuilder graph;
  graph.partition(0, {1, 2}).name("root");
  graph.element(1, {0x12345678, 1, 1, {}}, pieces::Bytes(33));
  graph.part(2, {}).name("seen");
  const Loaded model(graph);
  EXPECT_THAT(model.tree(), ElementsAre("part root"));
  EXPECT_THAT(model.recorder.losses, ElementsAre(HasSubstr("of an unknown kind (12345678-")));
}

TEST(ProductStructure, AChainOfHundredThousandAssembliesIsWalked) {
  constexpr std::int32_t kDepth = 100'000;
  GraphBuilder graph;
  graph.partition(0, {1, kDepth + 2}).name("root");
  for (std::int32_t i = 1; i <= kDepth; ++i) graph.metaData(i, {i + 1});
  graph.part(kDepth + 1, {kDepth + 3});
  graph.part(kDepth + 2, {}).name("beside");
  graph.triStrips(kDepth + 3);
  const Loaded model(graph);
  struct Counts {
    int nodes = 0;
    int deepest = 0;
  };
  static Counts counts;
  counts = {};
  JtkTraverser* traverser = JtkEntityFactory::createTraverser();
  traverser->ref();
  traverser->setPreActionCallback([](JtkEntity*, int depth, int) {
    ++counts.nodes;
    counts.deepest = std::max(counts.deepest, depth);
    return 1;
  });
  traverser->traverse(model.root(), 0);
  traverser->unref();
  EXPECT_EQ(counts.nodes, kDepth + 3);
  EXPECT_EQ(counts.deepest, kDepth + 1);
}

TEST(ProductStructure, AChainOfHundredThousandGroupsIsSeenThrough) {
  constexpr std::int32_t kDepth = 100'000;
  GraphBuilder graph;
  graph.partition(0, {1}).name("root");
  for (std::int32_t i = 1; i <= kDepth; ++i) graph.group(i, {i + 1});
  graph.part(kDepth + 1, {kDepth + 2});
  for (std::int32_t i = kDepth + 2; i <= 2 * kDepth; ++i) graph.group(i, {i + 1});
  graph.triStrips(2 * kDepth + 1);
  const Loaded model(graph);
  ASSERT_EQ(model.root()->typeID(), JtkEntity::JtkPART);
  EXPECT_EQ(static_cast<JtkPart*>(model.root())->numShapes(0), 1);
}

// Every level is one recursion of the converter's walk, so the depth is limited.
TEST(ProductStructure, InstancesInsideInstancesEndAtFiveHundred) {
  GraphBuilder graph;
  graph.partition(0, {1, 3}).name("root");
  graph.instance(1, 2).name("first");
  graph.part(3, {}).name("beside");
  for (std::int32_t i = 0; i < 600; ++i) {
    const std::int32_t id = i == 0 ? 2 : 10 + 2 * i;
    graph.metaData(id, {11 + 2 * i});
    graph.instance(11 + 2 * i, i == 599 ? 3 : 10 + 2 * (i + 1)).name("level");
  }
  const Loaded model(graph);
  JtkHierarchy* node = Loaded::target(model.at({0}));
  int depth = 1;
  while (node->typeID() == JtkEntity::JtkASSEMBLY) {
    node = Loaded::target(static_cast<JtkAssembly*>(node)->getChild(0));
    ++depth;
  }
  EXPECT_EQ(depth, 501);
  EXPECT_EQ(node->typeID(), JtkEntity::JtkPART);
  EXPECT_EQ(static_cast<JtkPart*>(node)->numShapeLODs(), 0);
  EXPECT_THAT(model.recorder.losses, ElementsAre(HasSubstr("nested more than 500 deep")));
}

TEST(ProductStructure, ManyHiddenNodesAreNotedByNameAndThenByNumber) {
  GraphBuilder graph;
  pieces::Ids hidden;
  for (std::int32_t id = 1; id <= 150; ++id) hidden.push_back(id);
  graph.partition(0, hidden).name("root");
  for (const std::int32_t id : hidden) graph.part(id, {}).name("part" + std::to_string(id)).flags(1);
  const Loaded model(graph);
  ASSERT_EQ(model.recorder.notes.size(), 101U);
  EXPECT_THAT(model.recorder.notes[99], HasSubstr("\"part100\" is marked as not shown"));
  EXPECT_THAT(model.recorder.notes[100], HasSubstr("50 more nodes are marked as not shown"));
}

// Forty levels of assemblies with two children each, which are one: 2^40 occurrences.
TEST(ProductStructure, ModelsWithMorePlacesThanAnyoneCouldVisitAreCutAndReported) {
  GraphBuilder graph;
  graph.partition(0, {1, 1}).name("root");
  for (std::int32_t i = 1; i <= 40; ++i) graph.metaData(i, {i + 1, i + 1});
  graph.part(41, {});
  const jttk::testing::ScopedSettings settings;
  settings->max_placed_nodes = 1000;
  const Loaded model(graph);
  EXPECT_LE(model.tree().size(), 1001U);
  EXPECT_THAT(model.recorder.losses, ElementsAre(HasSubstr("more than 1000 nodes")));
}

TEST(ProductStructure, SharedEmptyGroupsCostNothing) {
  GraphBuilder graph;
  graph.partition(0, {1, 50}).name("root");
  for (std::int32_t i = 1; i < 45; ++i) graph.group(i, {i + 1, i + 1});
  graph.group(45, {});
  graph.metaData(50, {}).name("a");
  const Loaded model(graph);
  EXPECT_THAT(model.tree(), ElementsAre("assembly root"));
  EXPECT_THAT(model.recorder.losses, IsEmpty());
}

TEST(Names, TheTailOfASystemIsCut) {
  const std::pair<const char*, const char*> cases[] = {
      {"lever.asm;5;0:", "lever"},        {"lever.part;7;2:", "lever"},     {"lever.PaRt;-1;0:", "lever"},
      {"lever;-1;0:", "lever"},           {"a.b;c:d.asm;1;2:", "a.b;c:d"},  {"lever", "lever"},
      {"lever.asm", "lever.asm"},         {"lever.asm;1:", "lever.asm;1:"}, {"a;1;2;3:", "a;1"},
      {"lever.asm;5;0", "lever.asm;5;0"}, {"a;b:c;1:", "a;b:c;1:"}};
  for (const auto& [stored, shown] : cases) {
    GraphBuilder graph;
    graph.partition(0, {}).name(stored);
    EXPECT_THAT(Loaded(graph).tree(), ElementsAre("assembly " + std::string(shown))) << stored;
  }
}

TEST(Names, ANamelessNodeHasTheNameOfTheNearestNamedOneAboveOnTheFirstWay) {
  GraphBuilder graph;
  graph.partition(0, {1}).name("root");
  graph.metaData(1, {2, 3});
  graph.instance(2, 4).name("first");
  graph.instance(3, 4).name("second");
  graph.metaData(4, {5});
  graph.group(5, {6}).name("group");
  graph.metaData(6, {7});
  graph.part(7, {});
  EXPECT_THAT(Loaded(graph).tree(),
              ElementsAre("assembly root", "  instance first", "  =assembly first", "    assembly group",
                          "      part group", "  instance second", "  =assembly first", "    assembly group",
                          "      part group"));
}

TEST(Names, AnInstanceWithoutANameHasThatOfItsTarget) {
  GraphBuilder graph;
  graph.partition(0, {1, 2}).name("root");
  graph.instance(1, 3);
  graph.instance(2, 4);
  graph.part(3, {}).name("bolt");
  graph.part(4, {});
  EXPECT_THAT(Loaded(graph).tree(), ElementsAre("assembly root", "  instance bolt", "  =part bolt",
                                                "  instance root", "  =part root"));
}

// Parts of one name are one part to the converter, so inherited names must not be equal.
TEST(Names, InheritedNamesOfPartsAreMadeDifferent) {
  GraphBuilder graph;
  graph.partition(0, {1}).name("root");
  graph.metaData(1, {2, 3, 4, 5, 6, 7}).name("box");
  graph.part(2, {});
  graph.part(3, {});
  graph.part(4, {}).name("root (2)");
  graph.part(5, {});
  graph.part(6, {}).name("lid");
  graph.group(7, {8}).name("lid");
  graph.part(8, {});
  EXPECT_THAT(Loaded(graph).tree(),
              ElementsAre("assembly root", "  part root", "  part root (3)", "  part root (2)",
                          "  part root (4)", "  part lid", "  part lid (2)"));
}

TEST(Names, NamesInTheFileAreNeverChanged) {
  GraphBuilder graph;
  graph.partition(0, {1, 2}).name("root");
  graph.part(1, {}).name("bolt.part;0;0:");
  graph.part(2, {}).name("bolt.part;0;1:");
  EXPECT_THAT(Loaded(graph).tree(), ElementsAre("assembly root", "  part bolt", "  part bolt"));
}

}  // namespace
