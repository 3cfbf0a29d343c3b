// The scene's root and its save.
#include <gmock/gmock.h>

#include "host/path.h"
#include "scene/scene_setup.h"
#include "tests/doubles/job_fixture.h"

namespace loftbay::doubles {
namespace {

using testing::ElementsAre;

class SceneSetup : public JobTest {
 protected:
  SceneSetup() { toolkit().root = &product.assembly("part"); }
};

TEST_F(SceneSetup, ThePartNamedLikeTheModelGetsANumber) {
  EXPECT_TRUE(convert());
  EXPECT_EQ(sceneLines("setName"), "setName(#1, \"part\")\nsetName(#2, \"part_orb_2\")\n");
}

TEST_F(SceneSetup, FailingViewsShowTheBoxAndSkipTheClose) {
  letSceneThrow("createDefaultViews");
  EXPECT_TRUE(convert());
  EXPECT_THAT(boxes, ElementsAre("None: Failed to save"));
  EXPECT_EQ(sceneLines("closeFile"), "");
  EXPECT_THAT(observer.losses, ElementsAre(host::toHostPath("C:\\out\\scene.zix") +
                                           ": planned failure of createDefaultViews"));
}

TEST_F(SceneSetup, AFailingCloseThatThrowsNoTextIsStillALoss) {
  letSceneThrow("closeFile", 1, Throws::Number);
  EXPECT_TRUE(convert());
  EXPECT_THAT(boxes, ElementsAre("None: Failed to save"));
  EXPECT_EQ(observer.losses.size(), 1U);
}

TEST_F(SceneSetup, TheBoxComesBetweenTheMemoryLines) {
  std::string log_at_box;
  diag::programSeams().showMessageBox = [&](std::string_view, diag::BoxIcon) { log_at_box = log(); };
  letSceneThrow("closeFile");
  EXPECT_TRUE(convert());
  EXPECT_THAT(log_at_box,
              testing::EndsWith(
                  "obJt2Zix::WriteZix():Start\n"
                  "obJt2Zix::WriteZix():b4 Writing ZIX:Memory Usage: 5 Kb\t\tPeak Memory Usage :7 Kb\t\n"));
  EXPECT_EQ(logLines("WriteZix"),
            "obJt2Zix::WriteZix():Start\n"
            "obJt2Zix::WriteZix():b4 Writing ZIX:Memory Usage: 5 Kb\t\tPeak Memory Usage :7 Kb\t\n"
            "obJt2Zix::WriteZix():after Writing ZIX:Memory Usage: 5 Kb\t\tPeak Memory Usage :7 Kb\t\n"
            "obJt2Zix::WriteZix():End\n");
}

// The root and the save by themselves: they need no job and leave its log lines to it.
TEST_F(SceneSetup, IsThereWithoutAJob) {
  std::vector<std::string> used = {"plate"};
  std::vector<std::uint32_t> next = {2};
  scene::NameMaker names(used, next);
  {
    Orb::Zix::Scene_V1 written("Model");
    const auto root = scene::createRoot(written, names, "plate");
    letSceneThrow("closeFile");
    scene::save(written, root, "C:\\out\\plate.zix");
  }
  EXPECT_EQ(sceneCalls(),
            "Scene_V1(\"Model\")\n"
            "#1 = createObject(Node)\n"
            "setName(#1, \"plate_orb_2\")\n"
            "createDefaultViews(#1)\n"
            "closeFile(\"C:\\out\\plate.zix\") -> throws\n"
            "~Scene_V1()\n");
  EXPECT_THAT(boxes, ElementsAre("None: Failed to save"));
  EXPECT_EQ(observer.counts[diag::Counted::Nodes], 1U);
  EXPECT_EQ(log(), "");
}

}  // namespace
}  // namespace loftbay::doubles
