// The double that stands in for the scene writer: it reads what the writer reads, no more and no less.
#include "tests/doubles/recording_scene.h"

#include <gtest/gtest.h>

#include <vector>

#include "zix/zix.h"

namespace loftbay::doubles {
namespace {

using Orb::Zix::ObjectId;
using Orb::Zix::ObjectType;
using Orb::Zix::Scene_V1;

TEST(RecordingScene, ReadsCountTimesDimensionFloats) {
  resetScene();
  Scene_V1 scene("model");
  const std::vector<float> values = {1, 2, 3, 4, 5, 6};
  for (const int dimension : {1, 2, 3, 6}) {
    const ObjectId coordinates = scene.createObject(ObjectType::Coordinates);
    scene.setDimension(coordinates, static_cast<unsigned char>(dimension));
    scene.setValues(coordinates, values.data(), values.size() / static_cast<std::size_t>(dimension));
  }
  scene.setValues(scene.createObject(ObjectType::Coordinates), values.data(), 2);  // no dimension: three
  EXPECT_EQ(sceneCalls(),
            "Scene_V1(\"model\")\n"
            "#1 = createObject(Coordinates)\nsetDimension(#1, 1)\n"
            "setValues<float>(#1, 6: 1, 2, 3, 4, 5, 6)\n"
            "#2 = createObject(Coordinates)\nsetDimension(#2, 2)\n"
            "setValues<float>(#2, 3: 1 2, 3 4, 5 6)\n"
            "#3 = createObject(Coordinates)\nsetDimension(#3, 3)\n"
            "setValues<float>(#3, 2: 1 2 3, 4 5 6)\n"
            "#4 = createObject(Coordinates)\nsetDimension(#4, 6)\n"
            "setValues<float>(#4, 1: 1 2 3 4 5 6)\n"
            "#5 = createObject(Coordinates)\nsetValues<float>(#5, 2: 1 2 3, 4 5 6)\n");
}

}  // namespace
}  // namespace loftbay::doubles
