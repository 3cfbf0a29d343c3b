// One wrong bit in an array: what uses the array says so. And what commands tell as JSON, and how long it
// gets.
#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "tests/zix/run_program.h"
#include "tests/zix/sample_scenes.h"
#include "tests/zix/scratch_folder.h"
#include "zix/reader.h"
#include "zix/scene_meshes.h"

namespace Orb::Zix {
namespace {

using loftbay::testing_support::addObject;
using loftbay::testing_support::runProgram;
using loftbay::testing_support::ScratchFolder;
using ::testing::HasSubstr;

class ArrayDamage : public ::testing::Test {
 protected:
  ArrayDamage() {
    loftbay::testing_support::writeSampleScene(folder_.programPath("a.zix"));
    std::string bytes = folder_.read("a.zix");
    const auto scene = SceneFile::open(folder_.programPath("a.zix"));
    const std::uint32_t mesh = placedMeshes(*scene)[0].mesh;
    chunk_ = scene->coordinates(scene->mesh(mesh).coordinates).chunk;
    bytes[static_cast<std::size_t>(scene->chunks()[chunk_].offset) + 5] ^= 1;
    folder_.write("bad.zix", bytes);
  }
  loftbay::testing_support::ProgramResult zix(std::vector<std::string> arguments) {
    for (std::string& argument : arguments) {
      if (argument.find('.') != std::string::npos) argument = folder_.hostPath(argument);
    }
    return runProgram(folder_, "zix", arguments);
  }

  ScratchFolder folder_;
  std::uint32_t chunk_ = 0;
};

TEST_F(ArrayDamage, EndsWhatUsesTheArrayUnlessItIsForced) {
  for (const std::vector<std::string>& command : {std::vector<std::string>{"export", "bad.zix", "o.glb"},
                                                  {"export", "bad.zix", "o.stl"},
                                                  {"export", "bad.zix", "o.obj"},
                                                  {"render", "bad.zix", "o.png"},
                                                  {"diff", "bad.zix", "bad.zix"},
                                                  {"diff", "a.zix", "bad.zix"}}) {
    const auto refused = zix(command);
    EXPECT_EQ(refused.code, 1) << command[0];
    EXPECT_THAT(refused.err, HasSubstr("bad.zix: cannot be read at offset "));
    EXPECT_THAT(refused.err,
                HasSubstr("the array is damaged: its checksum is not the one that the file states"));
    EXPECT_THAT(folder_.names(),
                ::testing::Not(::testing::Contains(command[2].substr(0, 1) == "o" ? command[2] : "o")));
  }
  for (const char* out : {"o.glb", "o.stl", "o.obj", "o.png"}) {
    const auto forced = zix({out[2] == 'p' ? "render" : "export", "bad.zix", out, "--force"});
    EXPECT_EQ(forced.code, 0) << out;
    EXPECT_THAT(forced.err, HasSubstr("its checksum is not the one that the file states; used as it is"));
    EXPECT_THAT(folder_.names(), ::testing::Contains(out));
  }
  EXPECT_EQ(zix({"diff", "bad.zix", "bad.zix", "--force"}).code, 0);
  EXPECT_EQ(zix({"export", "a.zix", "o.glb"}).code, 0);
  EXPECT_EQ(zix({"tree", "bad.zix"}).code, 0) << "the tables are sound";
}

TEST_F(ArrayDamage, IsToldOnceForEachArray) {
  auto scene = SceneFile::open(folder_.programPath("bad.zix"));
  const std::uint32_t mesh = placedMeshes(*scene)[0].mesh;
  EXPECT_NO_THROW(static_cast<void>(meshArrays(*scene, mesh))) << "nobody asked";
  int told = 0;
  scene->verifyArrays([&](const std::string&) { ++told; });
  for (int i = 0; i < 3; ++i) static_cast<void>(meshArrays(*scene, mesh));
  EXPECT_EQ(told, 1);
  scene->verifyArrays();
  EXPECT_THROW(static_cast<void>(meshArrays(*scene, mesh)), SceneReadError);
}

TEST_F(ArrayDamage, ValidateTellsItAsJson) {
  const auto result = zix({"validate", "bad.zix", "--json"});
  EXPECT_EQ(result.code, 1);
  const auto json = nlohmann::json::parse(result.out);
  EXPECT_EQ(json["valid"], false);
  EXPECT_EQ(json["errors"], 1);
  EXPECT_EQ(json["findings"].size(), 1U);
  EXPECT_EQ(json["findings"][0]["severity"], "error");
  EXPECT_TRUE(json["findings"][0]["offset"].is_number());
  const auto sound = zix({"validate", "a.zix", "--json"});
  EXPECT_EQ(sound.code, 0);
  EXPECT_EQ(nlohmann::json::parse(sound.out)["valid"], true);
}

TEST_F(ArrayDamage, LongNamesAreCutInTheTreeAndWholeInItsJson) {
  const std::string name = std::string(199, 'n') + "\u00FC" + std::string(100000, 'x');
  {
    Scene_V1 scene("Model");
    const std::string path = folder_.programPath("long.zix");
    scene.saveTo(path.c_str(), " ", true, true);
    const auto root = addObject(scene, ObjectType::Node, name);
    loftbay::testing_support::addShape(scene, root, "part", loftbay::testing_support::square(1));
    scene.createDefaultViews(root);
    scene.closeFile(path.c_str());
  }
  const auto text = zix({"tree", "long.zix"});
  EXPECT_EQ(text.code, 0);
  EXPECT_EQ(text.out.substr(0, text.out.find('\n')),
            "Node \"" + std::string(199, 'n') + "\u2026 (" + std::to_string(name.size()) + " bytes)\"");
  const auto json = nlohmann::json::parse(zix({"tree", "long.zix", "--json", "--properties"}).out);
  ASSERT_EQ(json["objects"].size(), 3U);
  EXPECT_EQ(json["objects"][0]["name"], name);
  EXPECT_TRUE(json["objects"][0]["parent"].is_null());
  EXPECT_EQ(json["objects"][2]["parent"], json["objects"][1]["number"]);
  EXPECT_EQ(json["objects"][2]["level"], 2);
  EXPECT_EQ(json["objects"][2]["elements"], 2);
  EXPECT_EQ(json["objects"][2]["properties"].size(), 0U);
}

}  // namespace
}  // namespace Orb::Zix
