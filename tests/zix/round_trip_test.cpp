// Every value that the converter sets comes back bit for bit.
#include <gmock/gmock.h>

#include <bit>
#include <cmath>
#include <limits>

#include "tests/zix/sample_scenes.h"
#include "tests/zix/scratch_folder.h"
#include "zix/mesh_figures.h"
#include "zix/reader.h"
#include "zix/scene_meshes.h"
#include "zix/validate.h"

namespace Orb::Zix {
namespace {

using loftbay::testing_support::addObject;
using loftbay::testing_support::fillSampleScene;
using loftbay::testing_support::ScratchFolder;
using loftbay::testing_support::writeSampleScene;
using ::testing::ElementsAre;

std::uint32_t bits(float value) { return std::bit_cast<std::uint32_t>(value); }

std::uint32_t findByName(const SceneFile& scene, std::string_view name) {
  for (std::uint32_t i = 0; i < scene.objectCount(); ++i) {
    if (scene.name(i) == name) return i;
  }
  ADD_FAILURE() << "no object is called " << name;
  return 0;
}

class RoundTrip : public ::testing::Test {
 protected:
  SceneFile reopen() {
    auto scene = SceneFile::open(path());
    if (!scene) throw std::runtime_error(scene.error().text());
    return std::move(*scene);
  }
  [[nodiscard]] std::string path() const { return folder_.programPath("scene.zix"); }

  ScratchFolder folder_;
};

TEST_F(RoundTrip, SceneRecordKeepsEveryText) {
  Scene_V1 scene("Model \xC3\xA4");
  scene.setApplicationInfo<double>("Loftbay 2.2.125.331", -0.0);
  scene.saveTo(path().c_str(), " ", true, false);
  scene.closeFile(path().c_str());
  const SceneFile file = reopen();
  EXPECT_EQ(file.modelName(), "Model \xC3\xA4");
  EXPECT_EQ(file.application(), "Loftbay 2.2.125.331");
  EXPECT_EQ(std::bit_cast<std::uint64_t>(file.applicationValue()), std::uint64_t{1} << 63);
  EXPECT_EQ(file.saveText(), " ");
  EXPECT_TRUE(file.firstFlag());
  EXPECT_FALSE(file.secondFlag());
  EXPECT_EQ(file.objectCount(), 0U);
  EXPECT_EQ(file.root(), format::kNone);
}

TEST_F(RoundTrip, IdsAreObjectNumberPlusOneAndType) {
  Scene_V1 scene("Model");
  scene.saveTo(path().c_str(), " ", true, true);
  for (const auto type : {ObjectType::Node, ObjectType::Shape, ObjectType::Mesh, ObjectType::Node}) {
    scene.createObject(type);
  }
  const ObjectId last = scene.createObject(ObjectType::Coordinates);
  EXPECT_EQ(last.first, 5U);
  EXPECT_EQ(last.second, 11U);
  scene.closeFile(path().c_str());
  const SceneFile file = reopen();
  ASSERT_EQ(file.objectCount(), 5U);
  EXPECT_EQ(file.type(4), ObjectType::Coordinates);
  EXPECT_EQ(file.object(3).ordinal, 1U);
}

TEST_F(RoundTrip, NamesKeepAnyBytes) {
  Scene_V1 scene("Model");
  scene.saveTo(path().c_str(), " ", true, true);
  std::string all_bytes;
  for (int c = 1; c < 256; ++c) all_bytes += static_cast<char>(c);
  scene.setName(scene.createObject(ObjectType::Node), all_bytes.c_str());
  scene.setName(scene.createObject(ObjectType::Node), nullptr);
  scene.createObject(ObjectType::Node);
  const ObjectId renamed = scene.createObject(ObjectType::Node);
  scene.setName(renamed, "first");
  scene.setName(renamed, "second");
  scene.closeFile(path().c_str());
  const SceneFile file = reopen();
  EXPECT_EQ(file.name(0), all_bytes);
  EXPECT_EQ(file.name(1), "");
  EXPECT_EQ(file.name(2), "");
  EXPECT_EQ(file.name(3), "second");
}

TEST_F(RoundTrip, EqualNamesOfOneTypeInARowStandInTheFileOnce) {
  Scene_V1 scene("Model");
  scene.saveTo(path().c_str(), " ", true, true);
  for (int i = 0; i < 100; ++i) scene.setName(scene.createObject(ObjectType::Mesh), "mesh");
  scene.closeFile(path().c_str());
  const SceneFile file = reopen();
  EXPECT_EQ(file.name(99), "mesh");
  EXPECT_EQ(file.object(0).name_offset, file.object(99).name_offset);
}

TEST_F(RoundTrip, TransformsKeepTheirBits) {
  const float nan_with_payload = std::bit_cast<float>(0x7FC12345U);
  const float values[10] = {0.1F, -0.0F, std::numeric_limits<float>::denorm_min(), 1, nan_with_payload,
                            0,    3,     std::numeric_limits<float>::infinity(),   2, -1e-30F};
  Scene_V1 scene("Model");
  scene.saveTo(path().c_str(), " ", true, true);
  const auto id = scene.createObject(ObjectType::Transform);
  scene.setTranslation(id, values[0], values[1], values[2]);
  scene.setRotation(id, values[3], values[4], values[5], values[6]);
  scene.setScale(id, values[7], values[8], values[9]);
  const auto untouched = scene.createObject(ObjectType::Transform);
  EXPECT_EQ(untouched.first, 2U);
  scene.closeFile(path().c_str());
  const SceneFile file = reopen();
  const auto record = file.transform(0);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(bits(record.translation[i]), bits(values[i]));
    EXPECT_EQ(bits(record.rotation_axis[i]), bits(values[3 + i]));
    EXPECT_EQ(bits(record.scale[i]), bits(values[7 + i]));
  }
  EXPECT_EQ(bits(record.rotation_angle_rad), bits(values[6]));
  EXPECT_EQ(record.flags, 7U);
  EXPECT_EQ(file.transform(1).flags, 0U);
  EXPECT_EQ(file.transform(1).scale[2], 1.0F);
}

TEST_F(RoundTrip, MaterialsKeepFourColoursAndTheAmbientIntensity) {
  writeSampleScene(path());
  const SceneFile file = reopen();
  const auto record = file.material(findByName(file, "Material"));
  EXPECT_THAT(record.colors[0], ElementsAre(0.75F, 0.5F, 0.25F, 0.0F));
  EXPECT_THAT(record.colors[1], ElementsAre(0.25F, 0.5F, 0.75F, 1.0F));
  EXPECT_THAT(record.colors[2], ElementsAre(0.0F, 0.125F, 0.0F, 1.0F));
  EXPECT_THAT(record.colors[3], ElementsAre(0.375F, 0.25F, 0.125F, 1.0F));
  EXPECT_EQ(record.ambient_intensity, 128.0F);
  EXPECT_EQ(record.flags, 31U);
}

TEST_F(RoundTrip, TreeKeepsOrderAndPlacement) {
  writeSampleScene(path());
  const SceneFile file = reopen();
  const std::uint32_t root = findByName(file, "root");
  const std::uint32_t plate = findByName(file, "plate");
  EXPECT_EQ(file.root(), root);
  EXPECT_THAT(file.children(root), ElementsAre(plate, findByName(file, "mirror")));
  EXPECT_THAT(file.children(plate), ElementsAre(findByName(file, "square"), findByName(file, "path")));
  EXPECT_EQ(file.object(plate).parent, root);
  EXPECT_EQ(file.object(plate).placement, findByName(file, "plate_orb_2"));
  EXPECT_EQ(file.object(root).placement, format::kNone);
}

TEST_F(RoundTrip, ArraysAreAlignedAndUnchanged) {
  writeSampleScene(path());
  const SceneFile file = reopen();
  const std::uint32_t mesh = file.children(findByName(file, "path"))[0];
  const MeshArrays arrays = meshArrays(file, mesh);
  EXPECT_EQ(arrays.type, MeshType::Lines);
  EXPECT_THAT(arrays.values, ElementsAre(0, 0, 0, 1, 0, 0, 1, 1, 0));
  EXPECT_THAT(arrays.indices, ElementsAre(0, 1, 2));
  EXPECT_THAT(arrays.lengths, ElementsAre(3));
  for (std::size_t i = 0; i < file.chunks().size(); ++i) EXPECT_EQ(file.chunks()[i].offset % 64, 0U);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(arrays.values.data()) % 64, 0U);
}

TEST_F(RoundTrip, ArraysOfEveryFloatBitPatternAndSizeSurvive) {
  Scene_V1 scene("Model");
  scene.saveTo(path().c_str(), " ", true, true);
  // Around the sizes of a vector register, a block of the box computation, a piece and the write buffer.
  const std::size_t counts[] = {0, 1, 3, 4, 5, 1023, 1024, 1025, 65535, 65536, 262144, 300001};
  std::vector<std::vector<float>> sent;
  for (const std::size_t count : counts) {
    std::vector<float> values(3 * count);
    for (std::size_t i = 0; i < values.size(); ++i) {
      values[i] = std::bit_cast<float>(static_cast<std::uint32_t>(i * 2654435761U));
    }
    const auto id = scene.createObject(ObjectType::Coordinates);
    std::vector<float> handed_over = values;
    scene.setValues<float>(id, handed_over.data(), count);
    std::fill(handed_over.begin(), handed_over.end(), -1.0F);  // copied before the call returned
    sent.push_back(std::move(values));
  }
  scene.closeFile(path().c_str());
  const SceneFile file = reopen();
  for (std::uint32_t i = 0; i < sent.size(); ++i) {
    const auto values = file.coordinateValues(i);
    ASSERT_EQ(values.size(), sent[i].size());
    EXPECT_TRUE(values.empty() || std::memcmp(values.data(), sent[i].data(), values.size_bytes()) == 0) << i;
  }
  EXPECT_EQ(validateFile(path()).error_count, 0U);
}

TEST_F(RoundTrip, OtherDimensionsKeepTheirTuples) {
  const float values[10] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
  Scene_V1 scene("Model");
  scene.saveTo(path().c_str(), " ", true, true);
  for (const unsigned char dimension : {std::uint8_t{1}, std::uint8_t{2}, std::uint8_t{5}}) {
    const auto id = scene.createObject(ObjectType::Coordinates);
    scene.setDimension(id, dimension);
    scene.setValues<float>(id, values, 10U / dimension);
  }
  scene.closeFile(path().c_str());
  const SceneFile file = reopen();
  EXPECT_EQ(file.coordinates(1).dimension, 2U);
  EXPECT_EQ(file.coordinateValues(2).size(), 10U);
  EXPECT_EQ(file.coordinateValues(2)[9], 10.0F);
}

TEST_F(RoundTrip, SceneOfOneRootNodeIsComplete) {
  Scene_V1 scene("Model");
  scene.saveTo(path().c_str(), " ", true, true);
  const auto root = addObject(scene, ObjectType::Node, "empty");
  scene.createDefaultViews(root);
  scene.closeFile(path().c_str());
  const SceneFile file = reopen();
  EXPECT_EQ(file.viewCount(), 7U);
  const auto report = validateFile(path());
  EXPECT_EQ(report.error_count + report.warning_count, 0U);
}

TEST_F(RoundTrip, DefaultViewsLookAtTheMiddleOfTheWorldBounds) {
  writeSampleScene(path());
  const SceneFile file = reopen();
  // plate: 2 * square(1), turned by 90 degrees, moved: x 8..10, y 20..22, z 30. mirror: x -4..0, y -5..0,
  // z -6..0.
  BoxD box;
  for (const PlacedMesh& placed : placedMeshes(file)) {
    BoxF local;
    addBounds(file, placed.mesh, placed.world, local, box);
  }
  EXPECT_DOUBLE_EQ(box.low[0], -4);
  EXPECT_NEAR(box.high[0], 10, 1e-6);
  EXPECT_DOUBLE_EQ(box.low[2], -6);
  EXPECT_NEAR(box.high[1], 22, 1e-6);
  std::vector<std::string> names;
  for (std::size_t i = 0; i < file.viewCount(); ++i) {
    names.emplace_back(file.viewName(i));
    const auto view = file.view(i);
    EXPECT_NEAR(view.target[0], 3, 1e-6);
    EXPECT_NEAR(view.target[1], 8.5, 1e-6);
    EXPECT_NEAR(view.target[2], 12, 1e-6);
  }
  EXPECT_THAT(names, ElementsAre("front", "back", "left", "right", "top", "bottom", "iso"));
}

TEST_F(RoundTrip, DefaultViewsAreFiniteWhateverThePointsAre) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float inf = std::numeric_limits<float>::infinity();
  const float most = std::numeric_limits<float>::max();
  for (const std::vector<float>& points : {std::vector{nan, nan, nan},
                                           {inf, 0, 0},
                                           {nan, 1, 2, 3, 4, 5},
                                           {most, most, most, -most, -most, -most}}) {
    Scene_V1 scene("Model");
    scene.saveTo(path().c_str(), " ", true, true);
    const auto root = scene.createObject(ObjectType::Node);
    const auto node = scene.createObject(ObjectType::Node);
    const auto larger = scene.createObject(ObjectType::Transform);
    scene.setScale(larger, 1e30F, 1, 1);
    scene.addComponent(root, node, larger);
    loftbay::testing_support::addShape(scene, node, "odd", {MeshType::Points, points, {0}, {1}});
    const auto nowhere = scene.createObject(ObjectType::Node);
    const auto infinite = scene.createObject(ObjectType::Transform);
    scene.setTranslation(infinite, inf, nan, 0);
    scene.addComponent(root, nowhere, infinite);
    loftbay::testing_support::addShape(scene, nowhere, "square", loftbay::testing_support::square(1));
    scene.createDefaultViews(root);
    scene.closeFile(path().c_str());
    const SceneFile file = reopen();
    ASSERT_EQ(file.viewCount(), 7U);
    for (std::size_t i = 0; i < file.viewCount(); ++i) {
      const auto view = file.view(i);
      for (std::size_t k = 0; k < 3; ++k) {
        EXPECT_TRUE(std::isfinite(view.position[k])) << file.viewName(i);
        EXPECT_TRUE(std::isfinite(view.target[k])) << file.viewName(i);
      }
      EXPECT_GT(view.height, 0);
      EXPECT_TRUE(std::isfinite(view.height)) << file.viewName(i);
    }
  }
}

TEST_F(RoundTrip, EqualCallsGiveEqualBytes) {
  writeSampleScene(path());
  writeSampleScene(folder_.programPath("second file with a longer name.zix"));
  EXPECT_EQ(folder_.read("scene.zix"), folder_.read("second file with a longer name.zix"));
  EXPECT_GT(folder_.read("scene.zix").size(), 1000U);
}

TEST_F(RoundTrip, ClosingReplacesTheOldFileOnly) {
  folder_.write("scene.zix", "old");
  folder_.write("other.tmp", "kept");
  writeSampleScene(path());
  EXPECT_EQ(folder_.read("scene.zix").substr(1, 3), "ZIX");
  EXPECT_THAT(folder_.names(), ElementsAre("other.tmp", "scene.zix"));
}

TEST_F(RoundTrip, DestroyedWithoutClosingLeavesNothingBehind) {
  folder_.write("scene.zix", "old");
  {
    Scene_V1 scene("Model");
    scene.saveTo(path().c_str(), " ", true, true);
    fillSampleScene(scene);
  }
  EXPECT_THAT(folder_.names(), ElementsAre("scene.zix"));
  EXPECT_EQ(folder_.read("scene.zix"), "old");
}

}  // namespace
}  // namespace Orb::Zix
