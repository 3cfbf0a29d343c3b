// Which level of detail is handed out first, what is reported about it, and about contents that a scene
// cannot hold.
#include <gmock/gmock.h>

#include "jttk/interface/inspect.h"
#include "jttk/interface/part.h"
#include "jttk/model/settings.h"
#include "samples/maker/guids.h"
#include "samples/maker/pieces/shapes.h"
#include "tests/jttk/brep/models.h"
#include "tests/jttk/model/loaded.h"

namespace {

namespace guids = loftbay::maker::guids;
namespace pieces = loftbay::maker::pieces;
using jttk::testing::Loaded;
using jttk::testing::partOf;
using jttk::testing::shapeOf;
using loftbay::maker::GuidValue;
using loftbay::maker::pieces::Bytes;
using loftbay::maker::pieces::GraphBuilder;
using loftbay::maker::pieces::Ids;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr GuidValue kLateSegment{7, 1, 2, {}};

Bytes exactBox() {
  auto model = jttk::brep::models::box(0.02, 0.03, 0.05);
  model.finish();
  return jttk::brep::segmentOf(model);
}

class FirstLevel : public testing::Test {
 protected:
  const jttk::testing::ScopedSettings settings_;
  enum class Holds { Nothing, NullShape, EmptyMesh, Damage, Ulp, Shapes };
  // A part, node 1, with a level of one group for each of `levels`; group k has k + 1 shapes, so that the
  // number of shapes shows which level it was.
  static GraphBuilder withLevels(const std::vector<Holds>& levels) {
    Ids groups;
    for (std::size_t k = 0; k < levels.size(); ++k) groups.push_back(static_cast<int>(10 + k));
    GraphBuilder graph = partOf({2});
    graph.rangeLod(2, groups);
    int id = 100;
    for (std::size_t k = 0; k < levels.size(); ++k) {
      Ids shapes;
      for (std::size_t i = 0; i <= k && levels[k] != Holds::Nothing; ++i) {
        shapes.push_back(id);
        add(graph, id++, levels[k]);
      }
      graph.group(groups[k], shapes);
    }
    return graph;
  }
  static void add(GraphBuilder& graph, int id, Holds what) {
    switch (what) {
      case Holds::Nothing:
        break;
      case Holds::NullShape:
        graph.nullShape(id);
        break;
      case Holds::EmptyMesh:
        graph.triStripsOfNothing(id);
        break;
      case Holds::Damage:
        graph.emptyTriStrips(id).lateLoaded("JT_LLPROP_SHAPEIMPL", {9, 9, 9, {}}, 7);
        break;
      case Holds::Ulp:
        graph.emptyTriStrips(id).lateLoaded("JT_LLPROP_ULP", {8, 8, 8, {}}, 20);
        break;
      case Holds::Shapes:
        graph.triStrips(id);
        break;
    }
  }
  // The number of shapes of every level.
  static std::vector<int> levelsOf(JtkHierarchy* node) {
    auto* part = static_cast<JtkPart*>(node);
    std::vector<int> counts;
    for (int level = 0; level < part->numShapeLODs(); ++level) counts.push_back(part->numShapes(level));
    return counts;
  }
};

TEST_F(FirstLevel, IsTheFirstOneWithGeometryAndEmptyOnesBeforeItAreNoted) {
  for (const Holds empty : {Holds::Nothing, Holds::NullShape, Holds::EmptyMesh}) {
    Loaded model(withLevels({empty, empty, Holds::Shapes, Holds::Shapes}));
    EXPECT_THAT(levelsOf(model.root()), ElementsAre(3, 4));
    EXPECT_NE(shapeOf(model.root(), 0, 0), nullptr);
    model.close();
    EXPECT_THAT(model.recorder.losses, IsEmpty());
    EXPECT_THAT(
        model.recorder.notes,
        ElementsAre("1 part is shown by another level of detail because the wanted one is empty: part"));
  }
}

TEST_F(FirstLevel, AStepDownBecauseOfDamageIsALoss) {
  Loaded model(withLevels({Holds::Damage, Holds::Shapes}));
  EXPECT_THAT(levelsOf(model.root()), ElementsAre(2));
  model.close();
  EXPECT_THAT(
      model.recorder.losses,
      ElementsAre(AllOf(HasSubstr("part: "), HasSubstr("is not in the table of contents")),
                  AllOf(HasSubstr("part: "), HasSubstr("machine.jt: level of detail 0 cannot be read; "
                                                       "level 1 is shown instead"))));
  EXPECT_THAT(model.recorder.notes, IsEmpty());
}

TEST_F(FirstLevel, ALevelWithOneGoodShapeStays) {
  GraphBuilder graph = partOf({2});
  graph.rangeLod(2, {3, 6});
  graph.group(3, {4, 5});
  add(graph, 4, Holds::Damage);
  add(graph, 5, Holds::Shapes);
  graph.triStrips(6);
  Loaded model(graph);
  EXPECT_THAT(levelsOf(model.root()), ElementsAre(2, 1));
  EXPECT_EQ(shapeOf(model.root(), 0, 0), nullptr);
  EXPECT_NE(shapeOf(model.root(), 0, 1), nullptr);
  model.close();
  EXPECT_EQ(model.recorder.losses.size(), 1U);
}

TEST_F(FirstLevel, APlaceholderForGeometryThatIsNotReadIsNotedWhereFacetsStandIn) {
  Loaded model(withLevels({Holds::Ulp, Holds::Shapes}));
  EXPECT_THAT(levelsOf(model.root()), ElementsAre(2));
  model.close();
  EXPECT_THAT(model.recorder.losses, IsEmpty());
  EXPECT_THAT(model.recorder.notes,
              ElementsAre(HasSubstr("exact geometry is of a kind that is not read: part")));
}

TEST_F(FirstLevel, WhereNothingYieldsTheLossNamesTheKind) {
  const Loaded model(withLevels({Holds::Ulp}));
  EXPECT_THAT(levelsOf(model.root()), ElementsAre(1));
  EXPECT_EQ(shapeOf(model.root(), 0, 0), nullptr);
  EXPECT_THAT(model.recorder.losses, ElementsAre(AllOf(HasSubstr("part: "), HasSubstr("ULP"))));
}

TEST_F(FirstLevel, ExactGeometryThatIsReadComesBeforeCoarserLevels) {
  for (const Holds first : {Holds::NullShape, Holds::Damage}) {
    GraphBuilder graph = withLevels({first, Holds::Shapes});
    GraphBuilder::NodeSettings(graph, 1).lateLoaded("JT_LLPROP_XTBREP", kLateSegment, 17);
    graph.exactGeometry(kLateSegment, exactBox());
    const Loaded model(graph);
    EXPECT_EQ(static_cast<JtkPart*>(model.root())->requiresTessellation(), 1);
    EXPECT_EQ(model.recorder.losses.size(), first == Holds::Damage ? 1U : 0U);
  }
}

TEST_F(FirstLevel, DamagedExactGeometryBesideShapesThatShowNothingIsALoss) {
  for (const bool wanted : {true, false}) {
    settings_->exact_geometry = wanted;
    GraphBuilder graph = withLevels({Holds::EmptyMesh, Holds::NullShape});
    GraphBuilder::NodeSettings(graph, 1).lateLoaded("JT_LLPROP_XTBREP", kLateSegment, 17);
    graph.exactGeometry(kLateSegment, Bytes(20));
    const Loaded model(graph);
    for (int twice = 0; twice < 2; ++twice) {
      EXPECT_EQ(static_cast<JtkPart*>(model.root())->requiresTessellation(), 0);
    }
    EXPECT_EQ(model.recorder.losses.size(), 1U);
  }
}

TEST_F(FirstLevel, IsDecodedOnceWhateverTheCacheHolds) {
  settings_->shape_cache_bytes = 0;
  GraphBuilder graph = withLevels({Holds::Shapes, Holds::Shapes});
  const Loaded model(graph);
  auto* part = static_cast<jttk::PartObject*>(model.root());
  EXPECT_THAT(levelsOf(part), ElementsAre(1, 2));
  const auto decoded = part->model().shapeArrays(part->part().levels()[0][0].ref, "part");
  EXPECT_EQ(static_cast<jttk::ShapeObject*>(shapeOf(part, 0, 0))->arrays(), decoded.get());
  // And it is not kept for longer than the part is visited.
  const std::weak_ptr<const jttk::ShapeArrays> watched = decoded;
  EXPECT_EQ(decoded.use_count(), 3);
  part->wasLeft();
  EXPECT_EQ(decoded.use_count(), 1);
}

TEST_F(FirstLevel, TheSettingNamesALevelAndTheLastStandsForAllBeyondIt) {
  for (const auto& [wanted, shapes] :
       {std::pair{0U, 1}, {1U, 2}, {2U, 3}, {7U, 3}, {jttk::kCoarsestLevel, 3}}) {
    settings_->level_of_detail = wanted;
    Loaded model(withLevels({Holds::Shapes, Holds::Shapes, Holds::Shapes}));
    EXPECT_EQ(levelsOf(model.root()).front(), shapes) << wanted;
    model.close();
    EXPECT_THAT(model.recorder.losses, IsEmpty());
    EXPECT_THAT(model.recorder.notes, IsEmpty());
  }
}

TEST_F(FirstLevel, FromAnEmptyLevelTheSettingGoesToCoarserOnesThenToFinerOnes) {
  settings_->level_of_detail = 1;
  const auto first = [](const std::vector<Holds>& levels) {
    const Loaded model(withLevels(levels));
    return levelsOf(model.root()).front();
  };
  EXPECT_EQ(first({Holds::Shapes, Holds::NullShape, Holds::Nothing, Holds::Shapes}), 4);
  EXPECT_EQ(first({Holds::Shapes, Holds::Shapes, Holds::Nothing}), 2);
  EXPECT_EQ(first({Holds::Shapes, Holds::NullShape, Holds::Nothing}), 1);
}

// Whatever kind a part's only geometry is, it is reported by name: also if it belongs to a node below the
// part, and also in descriptions.
TEST(UnreadGeometry, IsALossThatNamesTheType) {
  for (const auto& [type, name] :
       {std::pair{20, "ULP"}, {24, "LWPA"}, {2, "JT B-Rep"}, {33, "STEP B-Rep"}, {77, "type 77"}}) {
    for (const int node : {1, 2, 3}) {
      GraphBuilder graph = partOf({2});
      graph.group(2, {3});
      graph.nullShape(3);
      GraphBuilder::NodeSettings(graph, node).lateLoaded("JT_LLPROP_OTHER", kLateSegment, type);
      const Loaded model(graph);
      auto* part = static_cast<JtkPart*>(model.root());
      static_cast<void>(part->requiresTessellation());
      static_cast<void>(part->numShapeLODs());
      EXPECT_THAT(model.recorder.losses, ElementsAre(AllOf(HasSubstr("part: "), HasSubstr(name)))) << node;
    }
  }
}

TEST(Dropped, WhatTheSceneHasNoPlaceForIsNotedWithACount) {
  pieces::ShapeOptions colors;
  colors.bindings = 0x12;
  constexpr GuidValue kLight{0x10dd1028, 0x2ac8, 0x11d1, {0x9b, 0x6b, 0x00, 0x80, 0xc7, 0xbb, 0x59, 0x97}};
  constexpr GuidValue kTexture{0x10dd1073, 0x2ac8, 0x11d1, {0x9b, 0x6b, 0x00, 0x80, 0xc7, 0xbb, 0x59, 0x97}};
  GraphBuilder graph = partOf({2, 3});
  graph.setGeometry(
      pieces::shapeElement(guids::kTriStripLod, pieces::PacketForm::V9,
                           pieces::topologicalRepData(pieces::tetrahedronSymbols(7), 4, 12, colors)));
  graph.triStrips(2).property("JT_LAYER", "7").property("Player::", "one");
  graph.triStrips(3).property("JT_PROP_LAYER_FILTER", "7");
  graph.element(20, kLight, Bytes(1));
  graph.element(21, kTexture, Bytes(1));
  graph.element(22, kTexture, Bytes(1));
  GraphBuilder::NodeSettings(graph, 1).lateLoaded("JT_LLPROP_PMI", kLateSegment, 3).attributes({20, 21, 22});
  graph.lateSegment(kLateSegment, 3, Bytes(4));
  // Only the key states its type.
  constexpr GuidValue kByKey{7, 1, 3, {}};
  GraphBuilder::NodeSettings(graph, 1).lateLoaded("JT_LLPROP_PMI", kByKey, 4);
  graph.lateSegment(kByKey, 4, Bytes(4));
  Loaded model(graph);
  for (int twice = 0; twice < 2; ++twice) {
    for (const int i : {0, 1}) EXPECT_NE(shapeOf(model.root(), 0, i), nullptr);
    static_cast<jttk::PartObject*>(model.root())->wasLeft();
  }
  EXPECT_THAT(model.recorder.notes, IsEmpty());
  model.close();
  EXPECT_THAT(model.recorder.losses, IsEmpty());
  EXPECT_THAT(model.recorder.notes,
              ElementsAre("2 segments of product manufacturing information (PMI) are not converted",
                          "2 shapes have vertex colours, which are not converted",
                          "2 texture images are not converted", "1 light is not converted",
                          "2 properties name layers; layers and layer filters are not converted"));
}

TEST(Dropped, ColoursOfFacetsThatExactGeometryReplacesAreNoted) {
  const jttk::testing::ScopedSettings settings;
  settings->exact_geometry = true;
  constexpr std::array<float, 4> kColor = {0.25F, 0, 0, 1};
  for (const auto& other :
       {std::array{0.5F, 0.0F, 0.0F, 1.0F}, std::array{0.25F, 0.0F, 0.0F, 0.5F}, kColor}) {
    const bool different = other != kColor;
    GraphBuilder graph = partOf({2, 3});
    GraphBuilder::NodeSettings(graph, 1).lateLoaded("JT_LLPROP_XTBREP", kLateSegment, 17);
    graph.exactGeometry(kLateSegment, exactBox());
    graph.material(20, {.diffuse = kColor});
    graph.material(21, {.diffuse = other});
    graph.triStrips(2).attributes({20});
    graph.triStrips(3).attributes({21});
    Loaded model(graph);
    for (int twice = 0; twice < 2; ++twice) {
      EXPECT_EQ(static_cast<JtkPart*>(model.root())->requiresTessellation(), 1);
    }
    model.close();
    EXPECT_EQ(model.recorder.notes.size(), different ? 1U : 0U);
    if (different) {
      EXPECT_THAT(model.recorder.notes,
                  ElementsAre(HasSubstr("1 part has facets of several colours, and the exact geometry")));
    }
  }
}

}  // namespace
