// Deep and wide trees, built in both directions, and every command on them. No step may recurse or take more
// than linear time.
#include <gmock/gmock.h>

#include <algorithm>

#include "tests/zix/run_program.h"
#include "tests/zix/sample_scenes.h"
#include "tests/zix/scratch_folder.h"
#include "zix/reader.h"
#include "zix/scene_meshes.h"
#include "zix/validate.h"

namespace Orb::Zix {
namespace {

using loftbay::testing_support::ScratchFolder;

class BigTree : public ::testing::Test {
 protected:
  void SetUp() override { scene_.saveTo(path().c_str(), " ", true, true); }
  [[nodiscard]] std::string path() const { return folder_.programPath("scene.zix"); }

  std::vector<ObjectId> makeNodes(int count) {
    std::vector<ObjectId> nodes;
    for (int i = 0; i < count; ++i) nodes.push_back(scene_.createObject(ObjectType::Node));
    return nodes;
  }
  void finishAndCheck(const ObjectId& root, std::size_t count) {
    scene_.createDefaultViews(root);
    scene_.closeFile(path().c_str());
    const auto file = SceneFile::open(path());
    ASSERT_TRUE(file) << file.error().text();
    EXPECT_EQ(file->objectCount(), count);
    EXPECT_TRUE(placedMeshes(*file).empty());
    const auto report = validateFile(path());
    EXPECT_EQ(report.error_count + report.warning_count, 0U);
  }

  ScratchFolder folder_;
  Scene_V1 scene_{"Model"};
};

TEST_F(BigTree, HundredThousandLevelsFromTheTop) {
  const auto nodes = makeNodes(100000);
  for (std::size_t i = 1; i < nodes.size(); ++i) scene_.addComponent(nodes[i - 1], nodes[i]);
  finishAndCheck(nodes.front(), nodes.size());
}

TEST_F(BigTree, HundredThousandLevelsFromTheBottom) {
  const auto nodes = makeNodes(100000);
  for (std::size_t i = 1; i < nodes.size(); ++i) scene_.addComponent(nodes[i], nodes[i - 1]);
  finishAndCheck(nodes.back(), nodes.size());
}

TEST_F(BigTree, MillionChildrenOfOneNode) {
  const auto nodes = makeNodes(1000001);
  for (std::size_t i = 1; i < nodes.size(); ++i) EXPECT_EQ(scene_.addComponent(nodes[0], nodes[i]), i - 1);
  finishAndCheck(nodes.front(), nodes.size());
}

// The commands on a scene with one square somewhere, once as it is and once converted to other formats.
class BigTreeTools : public BigTree {
 protected:
  void finish(const ObjectId& root) {
    scene_.createDefaultViews(root);
    scene_.closeFile(path().c_str());
  }
  loftbay::testing_support::ProgramResult zix(const std::vector<std::string>& arguments) {
    return loftbay::testing_support::runProgram(folder_, "zix", arguments);
  }
  void expectAllCommandsToWork(std::size_t objects_in_tree) {
    const std::string scene = folder_.hostPath("scene.zix");
    EXPECT_EQ(zix({"validate", scene}).code, 0);
    const auto tree = zix({"tree", scene});
    EXPECT_EQ(tree.code, 0);
    EXPECT_EQ(static_cast<std::size_t>(std::count(tree.out.begin(), tree.out.end(), '\n')), objects_in_tree);
    EXPECT_EQ(zix({"info", scene}).code, 0);
    const auto info = zix({"info", scene, "--json"});
    EXPECT_EQ(info.code, 0);
    EXPECT_THAT(info.out, ::testing::HasSubstr("\"triangles\": 2"));
    EXPECT_EQ(zix({"diff", scene, scene}).code, 0);
    for (const char* name : {"a.glb", "a.stl", "a.obj"}) {
      EXPECT_EQ(zix({"export", scene, folder_.hostPath(name)}).code, 0) << name;
      EXPECT_FALSE(folder_.read(name).empty());
    }
    EXPECT_EQ(zix({"render", scene, folder_.hostPath("a.png"), "--size", "64x48"}).code, 0);
  }
};

TEST_F(BigTreeTools, WorkOnAHundredThousandLevels) {
  const auto nodes = makeNodes(100000);
  for (std::size_t i = 1; i < nodes.size(); ++i) scene_.addComponent(nodes[i - 1], nodes[i]);
  loftbay::testing_support::addShape(scene_, nodes.back(), "square", loftbay::testing_support::square(1));
  finish(nodes.front());
  expectAllCommandsToWork(nodes.size() + 2);
}

TEST_F(BigTreeTools, WorkOnAMillionChildren) {
  const auto nodes = makeNodes(1000001);
  for (std::size_t i = 1; i < nodes.size(); ++i) scene_.addComponent(nodes[0], nodes[i]);
  loftbay::testing_support::addShape(scene_, nodes.back(), "square", loftbay::testing_support::square(1));
  finish(nodes.front());
  expectAllCommandsToWork(nodes.size() + 2);
}

}  // namespace
}  // namespace Orb::Zix
