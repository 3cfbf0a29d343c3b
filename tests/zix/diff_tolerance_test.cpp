// When two numbers of two scenes are equal: by their bits, or within a tolerance.
#include <gmock/gmock.h>

#include <cmath>
#include <functional>
#include <limits>

#include "tests/zix/run_program.h"
#include "tests/zix/sample_scenes.h"
#include "tests/zix/scratch_folder.h"
#include "zix/scene_diff.h"

namespace Orb::Zix {
namespace {

using loftbay::testing_support::addObject;
using loftbay::testing_support::addShape;
using loftbay::testing_support::runProgram;
using loftbay::testing_support::SampleMesh;
using loftbay::testing_support::ScratchFolder;
using loftbay::testing_support::square;

constexpr double kOnlyBits = -1;
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

class DiffTolerance : public ::testing::Test {
 protected:
  // Writes a number to one field of a scene.
  using Place = std::function<void(Scene_V1&, float)>;

  std::string write(const std::string& name, float value, const Place& place) {
    const std::string path = folder_.programPath(name);
    Scene_V1 scene("Model");
    scene.saveTo(path.c_str(), " ", true, true);
    place(scene, value);
    scene.closeFile(path.c_str());
    return path;
  }
  std::uint64_t differences(float first, float second, double tolerance, const Place& place) {
    const auto a = SceneFile::open(write("a.zix", first, place));
    const auto b = SceneFile::open(write("b.zix", second, place));
    return diffScenes(*a, *b, tolerance).count;
  }

  static void asCoordinate(Scene_V1& scene, float value) {
    SampleMesh mesh = square(8);
    mesh.points[4] = value;
    addShape(scene, addObject(scene, ObjectType::Node, "root"), "shape", mesh);
  }
  static void asTranslation(Scene_V1& scene, float value) {
    const auto root = addObject(scene, ObjectType::Node, "root");
    const auto transform = scene.createObject(ObjectType::Transform);
    scene.setTranslation(transform, 0, value, 0);
    scene.addComponent(root, addObject(scene, ObjectType::Node, "part"), transform);
  }
  static void asApplicationValue(Scene_V1& scene, float value) {
    addObject(scene, ObjectType::Node, "root");
    scene.setApplicationInfo<double>("Application", static_cast<double>(value));
  }

  ScratchFolder folder_;
};

TEST_F(DiffTolerance, NumbersMayDifferByTheToleranceAndByNoMore) {
  for (const Place& place : {Place(asCoordinate), Place(asTranslation), Place(asApplicationValue)}) {
    for (const float sign : {-1.0F, 1.0F}) {
      EXPECT_EQ(differences(2, 2 + sign * 0.25F, 0.25, place), 0U);
      EXPECT_EQ(differences(2, 2 + sign * 0.25F, 0.2499, place), 1U);
      EXPECT_EQ(differences(2, 2 + sign * 0.25F, 0, place), 1U);
      EXPECT_EQ(differences(2, 2 + sign * 0.25F, kOnlyBits, place), 1U);
    }
    EXPECT_EQ(differences(2, 2, kOnlyBits, place), 0U);
  }
}

// The absolute difference counts, not the relative one.
TEST_F(DiffTolerance, LargeNumbersMayDifferByNoMoreThanSmallOnes) {
  EXPECT_EQ(differences(16777216, 16777218, 1.5, asCoordinate), 1U);
  EXPECT_EQ(differences(16777216, 16777218, 2, asCoordinate), 0U);
  EXPECT_EQ(differences(1e-30F, -1e-30F, 1e-29, asCoordinate), 0U);
}

TEST_F(DiffTolerance, WithoutOneTheSignOfZeroAndTheBitsOfWhatIsNoNumberCount) {
  for (const Place& place : {Place(asCoordinate), Place(asTranslation), Place(asApplicationValue)}) {
    EXPECT_EQ(differences(0, -0.0F, kOnlyBits, place), 1U);
    EXPECT_EQ(differences(0, -0.0F, 0, place), 0U);
    EXPECT_EQ(differences(kNan, kNan, kOnlyBits, place), 0U);
    EXPECT_EQ(differences(kNan, -kNan, kOnlyBits, place), 1U);
    EXPECT_EQ(differences(kNan, -kNan, 0, place), 0U);
  }
}

TEST_F(DiffTolerance, NoToleranceIsLargeEnoughForWhatIsNoNumber) {
  EXPECT_EQ(differences(kNan, 1, 1e300, asCoordinate), 1U);
  EXPECT_EQ(differences(1, kNan, 1e300, asCoordinate), 1U);
  EXPECT_EQ(differences(kInfinity, 1, 1e300, asCoordinate), 1U);
  EXPECT_EQ(differences(kInfinity, -kInfinity, 1e300, asCoordinate), 1U);
  EXPECT_EQ(differences(kInfinity, kInfinity, 0, asCoordinate), 0U);
}

TEST_F(DiffTolerance, TheProgramTakesItFromItsOption) {
  write("a.zix", 2, asCoordinate);
  write("b.zix", 2.25F, asCoordinate);
  const std::string a = folder_.hostPath("a.zix");
  const std::string b = folder_.hostPath("b.zix");
  EXPECT_EQ(runProgram(folder_, "zix", {"diff", a, b}).code, 1);
  EXPECT_EQ(runProgram(folder_, "zix", {"diff", a, b, "--tolerance", "0.2"}).code, 1);
  EXPECT_EQ(runProgram(folder_, "zix", {"diff", a, b, "--tolerance", "0.25"}).code, 0);
}

}  // namespace
}  // namespace Orb::Zix
