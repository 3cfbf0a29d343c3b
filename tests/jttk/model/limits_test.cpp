// What small files may cost: models that would need more than any machine has are cut, which is reported
// once, and what fits is there. Counts decide, never the time.
#include <gmock/gmock.h>

#include <filesystem>

#include "host/path.h"
#include "jttk/model/settings.h"
#include "samples/maker/guids.h"
#include "samples/maker/pieces/limit_bombs.h"
#include "samples/maker/pieces/shapes.h"
#include "samples/maker/pieces/write_file.h"
#include "tests/jttk/model/loaded.h"

namespace {

namespace guids = loftbay::maker::guids;
namespace pieces = loftbay::maker::pieces;
namespace fs = std::filesystem;
using namespace jttk::testing;
using namespace loftbay::maker::pieces;
using jttk::Model;
using jttk::WorkBudget;
using loftbay::maker::GuidValue;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// What a conversion visits: every node with its name, and the shapes of level 0.
struct Visited {
  std::size_t nodes = 0;
  std::size_t shapes = 0;
  std::size_t name_bytes = 0;
};

void visit(JtkHierarchy* node, Visited& visited) {
  ++visited.nodes;
  visited.name_bytes += node->getName().text().size();
  if (node->typeID() == JtkEntity::JtkINSTANCE) {
    visit(static_cast<JtkInstance*>(node)->getReferencedNode(), visited);
  } else if (node->typeID() == JtkEntity::JtkASSEMBLY) {
    auto* const assembly = static_cast<JtkAssembly*>(node);
    const int count = assembly->numChildren();
    for (int i = 0; i < count; ++i) {
      JtkHierarchy* child = assembly->getChild(i);
      if (child == nullptr) return;
      visit(child, visited);
    }
  } else {
    auto* const part = static_cast<JtkPart*>(node);
    if (part->requiresTessellation() != 0) ++visited.shapes;
    const int count = part->numShapeLODs() < 1 ? 0 : part->numShapes(0);
    for (int i = 0; i < count; ++i) {
      if (shapeOf(part, 0, i) != nullptr) ++visited.shapes;
    }
    dynamic_cast<jttk::ModelNode&>(*node).wasLeft();
  }
}

Visited visit(JtkHierarchy* root) {
  Visited visited;
  visit(root, visited);
  return visited;
}

WorkBudget& budgetOf(JtkHierarchy* root) {
  return dynamic_cast<jttk::ModelNode&>(*root).model().library().budget();
}

class Limits : public ::testing::Test {
 protected:
  const jttk::testing::ScopedSettings settings_;
};

TEST_F(Limits, InstancesOfInstancesAreCutAtTheNumberOfPlaces) {
  const GraphBuilder bomb = instancesOfInstances();
  const std::size_t size = bomb.file().size();
  ASSERT_LT(size, 2500U);
  const Loaded model(bomb);
  const Visited visited = visit(model.root());
  const std::size_t limit = 50'000 + 4 * size;
  EXPECT_LE(visited.nodes, limit + limit / 2);
  EXPECT_GE(visited.nodes, limit / 5);
  EXPECT_GE(visited.shapes, limit / 10);
  EXPECT_THAT(model.recorder.losses,
              ElementsAre(AllOf(HasSubstr("places more than " + std::to_string(limit) + " nodes"),
                                HasSubstr("--max-places"))));
}

TEST_F(Limits, OfTwoMillionEqualChildrenThoseThatFitComeWithTheirShapes) {
  const GraphBuilder bomb = equalChildren(2'000'000);
  const std::size_t size = bomb.file().size();
  ASSERT_LT(size, 10'000U);
  const Loaded model(bomb);
  const Visited visited = visit(model.root());
  const std::size_t limit = 50'000 + 4 * size;
  // A shape costs as much as eight occurrences.
  EXPECT_LE(visited.nodes, limit + 1);
  EXPECT_GE(visited.shapes, limit / 10);
  EXPECT_LE(visited.shapes, limit / 8);
  EXPECT_THAT(model.recorder.losses, ElementsAre(HasSubstr("--max-places")));
}

TEST_F(Limits, TheNumberOfPlacesIsTheUsersWhereHeGivesOne) {
  settings_->max_placed_nodes = 100'000;
  {
    const Loaded model(equalChildren(10'000));
    EXPECT_EQ(visit(model.root()).nodes, 10'001U);
    EXPECT_THAT(model.recorder.losses, IsEmpty());
  }
  settings_->max_placed_nodes = 10;
  const Loaded model(equalChildren(10'000));
  EXPECT_EQ(visit(model.root()).nodes, 11U);
  EXPECT_THAT(model.recorder.losses, ElementsAre(HasSubstr("places more than 10 nodes")));
}

TEST_F(Limits, LongNamesTakeThePlacesOfOthers) {
  constexpr std::size_t kChildren = 40'000;
  GraphBuilder graph;
  graph.partition(0, Ids(kChildren, 1)).name("root");
  graph.part(1, {2}).name(std::string(100'000, 'n'));
  graph.triStrips(2);
  graph.pack();
  const Loaded model(graph);
  const Visited visited = visit(model.root());
  EXPECT_LE(visited.name_bytes, 64 * (50'000 + 4 * graph.file().size()) + 200'000);
  EXPECT_GE(visited.nodes, 10U);
  EXPECT_THAT(model.recorder.losses, ElementsAre(HasSubstr("--max-places")));
}

TEST_F(Limits, HiddenChildrenThatAreLookedAtAgainAndAgainCostPlaces) {
  // A group of many hidden children and a shown one, placed many times.
  constexpr std::size_t kHidden = 100'000;
  GraphBuilder graph;
  graph.partition(0, Ids(40'000, 1)).name("root");
  Ids children(kHidden, 3);
  children.push_back(2);
  graph.metaData(1, children).name("assembly");
  graph.part(2, {}).name("shown");
  graph.part(3, {}).name("hidden").flags(1);
  graph.pack();
  const Loaded model(graph);
  const Visited visited = visit(model.root());
  const std::uint64_t looks = visited.nodes / 2 * kHidden;
  EXPECT_LE(looks, 2 * 64 * (50'000 + 4 * graph.file().size()));
  EXPECT_GT(visited.nodes, 20U);
  EXPECT_THAT(model.recorder.losses, ElementsAre(HasSubstr("--max-places")));
}

TEST_F(Limits, FilesThatAllReferToEachOtherAreCutAtTheNumberOfPlaces) {
  constexpr std::size_t kFiles = 30;
  const fs::path folder =
      fs::temp_directory_path() /
      ("loftbay_limits_" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()));
  fs::remove_all(folder);
  fs::create_directories(folder);
  std::size_t size = 0;
  for (std::size_t k = 0; k < kFiles; ++k) {
    const Bytes bytes = friendOfAll(k, kFiles).file();
    size += bytes.size();
    writeFile(folder / friendName(k), bytes);
  }
  Recorder recorder;
  JtkEntity* const root = import(loftbay::host::toProgramPath((folder / friendName(0)).string()));
  ASSERT_NE(root, nullptr);
  const Visited visited = visit(static_cast<JtkHierarchy*>(root));
  root->unref();
  fs::remove_all(folder);
  EXPECT_EQ(recorder.files.size(), kFiles);
  const std::size_t limit = 50'000 + 4 * size;
  EXPECT_LE(visited.nodes, 2 * limit);
  EXPECT_GE(visited.nodes, limit / 8);
  EXPECT_GE(visited.shapes, kFiles);
  const auto is_limit = [](const std::string& loss) {
    return loss.find("--max-places") != std::string::npos;
  };
  EXPECT_EQ(std::count_if(recorder.losses.begin(), recorder.losses.end(), is_limit), 1);
  // The others are the cycles.
  EXPECT_LE(recorder.losses.size(), 1 + kFiles * (kFiles - 1));
}

TEST_F(Limits, AShapeThatIsPlacedOftenCountsByItsCorners) {
  settings_->max_placed_nodes = 1000;
  GraphBuilder graph;
  graph.partition(0, Ids(900, 1)).name("root");
  graph.part(1, {2}).name("part");
  graph.setGeometry(
      shapeElement(guids::kTriStripLod, pieces::PacketForm::V9,
                   topologicalRepData(polygonSymbols(320), 320, 0, {pieces::PacketForm::V9, true, 2})));
  graph.triStrips(2);
  const Loaded model(graph);
  const Visited visited = visit(model.root());
  // Eight occurrences for each shape and, for its corners, at least ten more.
  EXPECT_GE(visited.shapes, 30U);
  EXPECT_LE(visited.shapes, 55U);
  EXPECT_THAT(model.recorder.losses, ElementsAre(HasSubstr("--max-places")));
}

TEST_F(Limits, ASegmentThatDoesNotUnpackIsUnpackedOnce) {
  constexpr std::size_t kBytes = 4'000'000;
  const Loaded model(failingSegment(300, kBytes));
  const Visited visited = visit(model.root());
  EXPECT_EQ(visited.nodes, 302U);
  EXPECT_EQ(visited.shapes, 1U);
  // Twice in all: with and without what follows the stated length.
  EXPECT_LE(budgetOf(model.root()).unpackedBytes(), 2 * kBytes + 200'000);
  EXPECT_THAT(model.recorder.losses, ElementsAre(HasSubstr("ends too early")));
}

TEST_F(Limits, PackedDataUnpackToWhatTheFileMayCostAndTheRestComes) {
  const GraphBuilder bomb = packedZeros(120'000'000);
  const std::size_t size = bomb.file().size();
  const std::uint64_t limit = (16U << 20U) + 256 * size;
  ASSERT_LT(limit, 60'000'000U);
  {
    const Loaded model(bomb);
    EXPECT_EQ(visit(model.root()).shapes, 1U);
    EXPECT_LE(budgetOf(model.root()).unpackedBytes(), limit + 1);
    EXPECT_THAT(model.recorder.losses,
                ElementsAre(AllOf(HasSubstr("zeros: "), HasSubstr("segment "), HasSubstr("--max-unpacked"),
                                  HasSubstr("unpacks to more than " + std::to_string(limit) + " bytes"))));
  }
  settings_->max_unpacked_bytes = 130'000'000;
  const Loaded model(bomb);
  visit(model.root());
  EXPECT_THAT(model.recorder.losses, ElementsAre(::testing::Not(HasSubstr("--max-unpacked"))));
}

TEST_F(Limits, ASceneGraphBeyondTheLimitIsToldWithItsOption) {
  settings_->max_unpacked_bytes = 1000;
  const auto document = jttk::openDocument("folder\\machine.jt", instancesOfInstances().file());
  ASSERT_FALSE(document);
  EXPECT_THAT(document.error().what, HasSubstr("unpacks to more than 1000 bytes (--max-unpacked)"));
}

TEST_F(Limits, ExactGeometryThatManyPartsHaveIsTessellatedOnce) {
  const auto work = [](std::size_t parts) {
    GraphBuilder graph;
    Ids children;
    for (std::size_t i = 0; i < parts; ++i) children.push_back(static_cast<std::int32_t>(1 + i));
    graph.partition(0, children).name("root");
    constexpr GuidValue kSegment{7, 1, 2, {}};
    for (std::size_t i = 0; i < parts; ++i) {
      graph.part(children[i], {})
          .name("part " + std::to_string(i))
          .lateLoaded("JT_LLPROP_XTBREP", kSegment, 17);
    }
    graph.exactGeometry(kSegment, bumpyFaces(1));
    const Loaded model(graph);
    EXPECT_EQ(visit(model.root()).shapes, parts);
    EXPECT_THAT(model.recorder.losses, IsEmpty());
    return budgetOf(model.root()).exact().taken();
  };
  EXPECT_GT(work(1), 1000U);
  EXPECT_EQ(work(20), work(1));
}

TEST_F(Limits, FacesCountByTheWorkOnTheirTrianglesToo) {
  const auto work = [](int faces) {
    const Loaded model(facesOfOneEdge(100, faces));
    EXPECT_EQ(visit(model.root()).shapes, 2U);
    EXPECT_THAT(model.recorder.losses, IsEmpty());
    return budgetOf(model.root()).exact().taken();
  };
  // Of two faces one has to be made again, so that they do not share their edges inside: take more.
  const std::uint64_t more = (work(12) - work(4)) / 8;
  // The edge has some thousand points: each has to be placed in the plane and among the others.
  EXPECT_GT(more, 60'000U);
}

TEST_F(Limits, ManyFacesOfOneEdgeAreCutAndTheRestComes) {
  const GraphBuilder bomb = facesOfOneEdge(200, 180);
  ASSERT_LT(bomb.file().size(), 10'000U);
  const Loaded model(bomb);
  EXPECT_EQ(visit(model.root()).shapes, 2U);
  EXPECT_EQ(budgetOf(model.root()).exact().left(), 0U);
  EXPECT_THAT(model.recorder.losses, ElementsAre(HasSubstr("exact geometry of the model needs more work")));
}

TEST_F(Limits, WorkOnExactGeometryIsLimitedOverAllParts) {
  const GraphBuilder bomb = costlyParts(8, 2);
  std::uint64_t of_one = 0;
  {
    const Loaded model(costlyParts(1, 2));
    EXPECT_EQ(visit(model.root()).shapes, 1U);
    of_one = budgetOf(model.root()).exact().taken();
    EXPECT_THAT(model.recorder.losses, IsEmpty());
  }
  const Loaded model(bomb);
  auto& work = budgetOf(model.root()).exact();
  ASSERT_GT(work.left(), 4 * of_one);
  work.spend(work.left() - 3 * of_one - of_one / 2);
  const Visited visited = visit(model.root());
  EXPECT_EQ(visited.nodes, 9U);
  EXPECT_GE(visited.shapes, 3U);
  EXPECT_LE(visited.shapes, 4U);
  EXPECT_EQ(work.left(), 0U);
  EXPECT_THAT(
      model.recorder.losses,
      ElementsAre(AllOf(HasSubstr("part 3: "), HasSubstr("exact geometry of the model needs more work"))));
}

}  // namespace
