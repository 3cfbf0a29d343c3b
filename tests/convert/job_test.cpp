// The job's frame: members, the root's name, results and failures of whole jobs.
#include <gmock/gmock.h>

#include <algorithm>
#include <stdexcept>

#include "host/path.h"
#include "tests/doubles/job_fixture.h"

namespace loftbay::doubles {
namespace {

using convert::obJt2Zix;

std::string rootNameOf(JobTest& /*test*/, const char* input) {
  resetScene();
  bool success = false;
  const obJt2Zix job(input, "o.zix", &success, true);
  return linesWith(sceneCalls(), "setName(#1, ");
}

class Job : public JobTest {};

TEST_F(Job, TakesTheRootNameFromTheFileNameWithoutThreeCharactersBeforeTheLast) {
  EXPECT_EQ(rootNameOf(*this, "C:\\a\\part.jt"), "setName(#1, \"part\")\n");
  EXPECT_EQ(rootNameOf(*this, "C:\\a\\model.jt"), "setName(#1, \"modet\")\n");
  EXPECT_EQ(rootNameOf(*this, "C:\\data\\x.longer"), "setName(#1, \"x.lor\")\n");
}

TEST_F(Job, TakesABareFileNameAsAWhole) {
  EXPECT_EQ(rootNameOf(*this, "bracket.jt"), "setName(#1, \"bracket\")\n");
}

TEST_F(Job, DoesNotTakeASlashForASeparator) {
  EXPECT_EQ(rootNameOf(*this, "models/part.jt"), "setName(#1, \"models/part\")\n");
}

TEST_F(Job, NamesTheRootOfAFourCharacterFileAfterItsLastCharacter) {
  EXPECT_EQ(rootNameOf(*this, "C:\\a.jt"), "setName(#1, \"t\")\n");
}

TEST_F(Job, FileNameUnderFourCharactersLeavesTheConstructorAsOutOfRange) {
  toolkit().root = &product.assembly("root");
  bool success = false;
  for (const char* const path : {"C:\\long folder\\.jt", "abc", "", "C:\\x\\"}) {
    resetScene();
    try {
      const obJt2Zix job(path, "o.zix", &success, true);
      FAIL() << path;
    } catch (const std::out_of_range& error) {
      EXPECT_STREQ(error.what(), "invalid string position");
    }
    // The scene never got a file name and was never closed, but was destroyed.
    EXPECT_EQ(linesWith(sceneCalls(), "File"), "");
    EXPECT_EQ(linesWith(sceneCalls(), "~Scene_V1"), "~Scene_V1()\n");
  }
  EXPECT_EQ(linesWith(toolkitCalls(), "importFile"), "");
  EXPECT_EQ(logLines("Conversion completed"), "");
}

TEST_F(Job, FailingToolkitStartGivesFalseAndNoCloseButTheCompletedLine) {
  toolkit().importers = 0;
  EXPECT_FALSE(convert());
  EXPECT_EQ(logLines("CloseJt"), "");
  EXPECT_EQ(logLines("completed"), "obJt2Zix::Conversion completed.\n");
  EXPECT_EQ(sceneLines("createObject"), "");
  EXPECT_EQ(linesWith(toolkitCalls(), "fini"), "");
  EXPECT_EQ(startup_failures.str(), "The JT toolkit gives no importer.\n");
  EXPECT_EQ(observer.losses, (std::vector<std::string>{host::toHostPath(input_path) +
                                                       ": the JT toolkit could not be started"}));
  EXPECT_THAT(observer.notes, testing::IsEmpty());
}

// Reading has no failure: the scene is saved with its root alone, and the toolkit shut down.
TEST_F(Job, FileThatDoesNotLoadGivesTrueAndASavedSceneWithTheRootAlone) {
  EXPECT_TRUE(convert());
  EXPECT_EQ(sceneLines("createObject"), "#1 = createObject(Node)\n");
  EXPECT_EQ(sceneLines("closeFile"), "closeFile(\"C:\\out\\scene.zix\")\n");
  EXPECT_EQ(linesWith(toolkitCalls(), "fini"), "fini\n");
  EXPECT_THAT(observer.notes, testing::IsEmpty());
}

TEST_F(Job, SceneThatFailsToSaveGivesTrue) {
  toolkit().root = &product.assembly("root");
  letSceneThrow("closeFile");
  EXPECT_TRUE(convert());
  EXPECT_THAT(boxes, testing::ElementsAre("None: Failed to save"));
  EXPECT_EQ(observer.losses,
            (std::vector<std::string>{host::toHostPath(output_path) + ": planned failure of closeFile"}));
}

TEST_F(Job, SwallowsWhateverSaveToThrows) {
  toolkit().root = &product.assembly("root");
  letSceneThrow("saveTo", 1, Throws::Number);
  EXPECT_TRUE(convert());
  EXPECT_THAT(boxes, testing::IsEmpty());
  EXPECT_EQ(logLines("Conversion completed"), "obJt2Zix::Conversion completed.\n");
}

TEST_F(Job, ExceptionOfAnotherSceneOperationLeavesTheJob) {
  toolkit().root = &product.assembly("root");
  letSceneThrow("addComponent");
  bool success = false;
  EXPECT_THROW(obJt2Zix("part.jt", "o.zix", &success, true), Orb::Zix::SceneError);
  EXPECT_EQ(sceneLines("closeFile"), "");
  EXPECT_EQ(sceneLines("~Scene_V1"), "~Scene_V1()\n");
}

TEST_F(Job, TwoJobsInARowKeepTheIgnoreOptionsAndHaveFreshMembers) {
  convert::ignoreLines = false;
  toolkit().root =
      &product.part("part", {&product.polylines({{0, 0, 0, 1, 0, 0}}), &product.points({{0, 0, 0}})});
  EXPECT_TRUE(convert());
  const std::string first_scene = sceneCalls();
  const std::string first_log = log();
  resetScene();
  EXPECT_TRUE(convert());
  EXPECT_EQ(sceneCalls(), first_scene);
  EXPECT_EQ(log(), first_log + first_log);
  EXPECT_FALSE(convert::ignoreLines);
  EXPECT_TRUE(convert::ignorePoints);
}

// The first job leaves its stacks, names and parts behind in every way that a job can.
TEST_F(Job, NothingOfAnEarlierJobReachesTheNext) {
  const auto colored = [this](const char* name, float at) -> Part& {
    auto& part = product.part(name, {&product.strips({{at, 0, 0, 1, 0, 0, 0, 1, 0}})});
    part.material = &product.material();
    part.material->diffuse = {at, 0, 0, 1};
    return part;
  };
  auto& plain = product.part("bolt", {&product.strips({{7, 0, 0, 1, 0, 0, 0, 1, 0}})});
  auto& second_tree = product.assembly("root", {&plain});
  toolkit().root = &second_tree;
  EXPECT_TRUE(convert());
  const std::string expected = sceneCalls();

  auto& instanced = product.assembly("sub", {&colored("bolt", 1), &colored("nut", 2)});
  auto& block = product.tessellatedPart("block", {});
  block.transform = translation(1, 2, 3);
  toolkit().root = &product.assembly("root", {&product.instance("i", instanced), &block});
  toolkit().tess_params_throw = true;
  toolkit().before_enter = [&](JtkEntity* node) {
    if (node != &block) return;
    convert::activeConverter->inInstancedAssembly = true;
    convert::activeConverter->unwindPending = true;
    convert::activeConverter->unwindMark = 1;
  };
  EXPECT_TRUE(convert());

  toolkit().root = &second_tree;
  toolkit().tess_params_throw = false;
  toolkit().before_enter = nullptr;
  resetScene();
  EXPECT_TRUE(convert());
  EXPECT_EQ(sceneCalls(), expected);
}

TEST_F(Job, MembersHaveTheirInitialValuesWhenTheWalkBegins) {
  toolkit().root = &product.assembly("root");
  bool looked = false;
  toolkit().before_enter = [&](JtkEntity*) {
    const obJt2Zix& job = *convert::activeConverter;
    looked = true;
    EXPECT_EQ(job.inputPath, input_path);
    EXPECT_EQ(job.outputPath, output_path);
    EXPECT_EQ(job.parentStack.size(), 1U);
    EXPECT_EQ(job.parentStack[0], job.rootId);
    EXPECT_EQ(job.usedNames, std::vector<std::string>{"part"});
    EXPECT_EQ(job.nameCounts, std::vector<std::uint32_t>{2});
    EXPECT_TRUE(job.materialStack.empty());
    EXPECT_TRUE(job.partsByName.empty());
    EXPECT_EQ(job.spareCounter, 0U);
    EXPECT_FALSE(job.inInstancedAssembly);
    EXPECT_FALSE(job.unwindPending);
    EXPECT_EQ(job.unwindMark, -1);
    for (const float scale : job.spareScale) EXPECT_EQ(scale, 1.0F);
    EXPECT_NE(job.tessParams, nullptr);
    EXPECT_TRUE(job.optimize);
  };
  EXPECT_TRUE(convert());
  EXPECT_TRUE(looked);
}

// In this order they are made, and destroyed the other way round: the scene before the stacks and paths.
TEST_F(Job, MembersStandInTheirOrder) {
  bool success = false;
  const obJt2Zix job("part.jt", "o.zix", &success, true);
  const auto place = [&job](const auto& member) {
    return reinterpret_cast<const char*>(&member) - reinterpret_cast<const char*>(&job);
  };
  const std::vector<std::ptrdiff_t> places = {
      place(job.inputPath),     place(job.outputPath),   place(job.parentStack),
      place(job.usedNames),     place(job.nameCounts),   place(job.materialStack),
      place(job.partsByName),   place(job.spareCounter), place(job.inInstancedAssembly),
      place(job.unwindPending), place(job.unwindMark),   place(job.spareScale),
      place(job.scene),         place(job.rootId),       place(job.tessParams),
      place(job.optimize)};
  EXPECT_TRUE(std::ranges::is_sorted(places)) << testing::PrintToString(places);
}

TEST_F(Job, KeepsPointingAtTheLastJob) {
  EXPECT_TRUE(convert());
  EXPECT_NE(convert::activeConverter, nullptr);
}

TEST_F(Job, DestructionLogsNothingAndCallsNothingInTheToolkit) {
  bool success = false;
  auto job = std::make_unique<obJt2Zix>("part.jt", "o.zix", &success, true);
  const std::string log_before = log();
  const std::string toolkit_before = toolkitCalls();
  EXPECT_EQ(sceneLines("~Scene_V1"), "");
  job.reset();
  EXPECT_EQ(log(), log_before);
  EXPECT_EQ(toolkitCalls(), toolkit_before);
  EXPECT_EQ(sceneLines("~Scene_V1"), "~Scene_V1()\n");
}

TEST_F(Job, WithoutShapesStillWritesTheRootTheViewsAndTheFile) {
  toolkit().root = &product.other();
  EXPECT_TRUE(convert());
  EXPECT_EQ(sceneLines("#1"), "#1 = createObject(Node)\nsetName(#1, \"part\")\ncreateDefaultViews(#1)\n");
  EXPECT_THAT(sceneCalls(),
              testing::EndsWith("createDefaultViews(#1)\ncloseFile(\"C:\\out\\scene.zix\")\n~Scene_V1()\n"));
}

}  // namespace
}  // namespace loftbay::doubles
