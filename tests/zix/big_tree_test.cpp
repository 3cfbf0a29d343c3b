// Deep and wide trees, built in both directions. No step may recurse or take more than linear time.
#include <gmock/gmock.h>

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

}  // namespace
}  // namespace Orb::Zix
