// A scene's file that becomes shorter while it is open: an error with file and offset, never a signal.
#include <gmock/gmock.h>

#include "tests/zix/sample_scenes.h"
#include "tests/zix/scratch_folder.h"
#include "zix/export.h"
#include "zix/reader.h"
#include "zix/render.h"
#include "zix/scene_diff.h"
#include "zix/scene_info.h"
#include "zix/scene_meshes.h"
#include "zix/validate.h"

#ifndef _WIN32  // there a file that is open cannot be shortened

namespace Orb::Zix {
namespace {

using loftbay::testing_support::ScratchFolder;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class Shrinking : public ::testing::Test {
 protected:
  // A scene of one mesh with arrays of many pages, open, whose file then ends after `size` bytes.
  SceneFile shrunkTo(std::uintmax_t size) {
    Scene_V1 scene("Model");
    const std::string path = folder_.programPath("scene.zix");
    scene.saveTo(path.c_str(), " ", true, true);
    const auto root = scene.createObject(ObjectType::Node);
    const auto shape = scene.createObject(ObjectType::Shape);
    const auto mesh = scene.createObject(ObjectType::Mesh);
    const auto coordinates = scene.createObject(ObjectType::Coordinates);
    const auto indices = scene.createObject(ObjectType::IndexArray);
    const auto lengths = scene.createObject(ObjectType::IndexArray);
    constexpr unsigned kTriangles = 100000;
    const std::vector<float> points(std::size_t{3} * kTriangles, 1.0F);
    std::vector<unsigned> corners;
    for (unsigned i = 0; i < 3 * kTriangles; ++i) corners.push_back(i % kTriangles);
    scene.setValues<float>(coordinates, points.data(), kTriangles);
    scene.setValues<unsigned>(indices, corners.data(), corners.size());
    scene.setValues<unsigned>(lengths, std::vector<unsigned>(kTriangles, 3).data(), kTriangles);
    scene.setMeshType(mesh, MeshType::Triangles);
    scene.setCoordinates(mesh, coordinates);
    scene.setConnectivity(mesh, indices, lengths);
    scene.addComponent(shape, mesh);
    scene.addComponent(root, shape);
    scene.createDefaultViews(root);
    scene.closeFile(path.c_str());
    auto file = SceneFile::open(path);
    EXPECT_TRUE(file);
    std::filesystem::resize_file(folder_.path() / "scene.zix", size);
    return std::move(*file);
  }

  template <typename Call>
  std::string failureOf(Call call) {
    try {
      call();
    } catch (const SceneReadError& error) {
      return error.what();
    }
    return "";
  }

  ScratchFolder folder_;
};

TEST_F(Shrinking, WhatReadsAnArrayNamesFileAndPlace) {
  const SceneFile scene = shrunkTo(20000);
  const auto says = [&](const std::string& failure) {
    EXPECT_THAT(failure, HasSubstr(folder_.hostPath("scene.zix") + ": cannot be read at offset "));
    EXPECT_THAT(failure, HasSubstr("the file ends at or before byte "));
  };
  const auto ignore = [](std::string_view) {};
  says(failureOf([&] { meshArrays(scene, 2); }));
  says(failureOf([&] { writeInfoText(scene, ignore); }));
  says(failureOf([&] { writeInfoJson(scene, ignore); }));
  says(failureOf([&] { writeTree(scene, ignore); }));
  says(failureOf([&] { diffScenes(scene, scene, -1); }));
  says(failureOf([&] { render(scene, *findCamera(scene, "iso"), 64, 48, {}); }));
  says(failureOf([&] { static_cast<void>(scene.verifyChunk(0)); }));
}

TEST_F(Shrinking, AnExportLeavesTheOldFile) {
  const SceneFile scene = shrunkTo(20000);
  using Exporter = ExportResult (*)(const SceneFile&, std::string_view);
  const std::pair<const char*, Exporter> exporters[] = {
      {"out.glb", [](const SceneFile& from, std::string_view to) { return exportGlb(from, to); }},
      {"out.stl", exportStl},
      {"out.obj", exportObj}};
  for (const auto& exporter : exporters) {
    const char* const name = exporter.first;
    folder_.write(name, "old");
    EXPECT_THAT(failureOf([&] { static_cast<void>(exporter.second(scene, folder_.programPath(name))); }),
                HasSubstr("cannot be read"));
    EXPECT_EQ(folder_.read(name), "old") << name;
  }
  EXPECT_THAT(folder_.names(), ElementsAre("out.glb", "out.obj", "out.stl", "scene.zix"));
}

TEST_F(Shrinking, WhatIsStillThereCanBeUsed) {
  const SceneFile scene = shrunkTo(1300000);
  EXPECT_EQ(scene.objectCount(), 6U);
  EXPECT_EQ(scene.modelName(), "Model");
  EXPECT_EQ(scene.coordinateValues(3).size(), 300000U);
  EXPECT_THROW(static_cast<void>(scene.indexValues(4)), SceneReadError);
}

TEST_F(Shrinking, AScenesTablesCanBeGoneToo) {
  shrunkTo(64);
  const auto report = validateFile(folder_.programPath("scene.zix"));
  ASSERT_EQ(report.error_count, 1U);
  EXPECT_EQ(report.messages[0].code, "TRUNCATED");
}

TEST_F(Shrinking, AMappedSceneHoldsWhatTheReadOneHolds) {
  loftbay::testing_support::writeSampleScene(folder_.programPath("scene.zix"));
  const auto read = SceneFile::open(folder_.programPath("scene.zix"));
  const auto mapped = SceneFile::openMapped(folder_.programPath("scene.zix"));
  ASSERT_TRUE(read);
  ASSERT_TRUE(mapped);
  EXPECT_EQ(mapped->size(), read->size());
  EXPECT_EQ(diffScenes(*read, *mapped, -1).count, 0U);
}

}  // namespace
}  // namespace Orb::Zix

#endif
