// Properties: what a program sets is in the next scene that is closed, and in no other.
#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "tests/zix/run_program.h"
#include "tests/zix/sample_scenes.h"
#include "tests/zix/scratch_folder.h"
#include "tests/zix/zix_builder.h"
#include "zix/reader.h"
#include "zix/scene_diff.h"
#include "zix/validate.h"

namespace Orb::Zix {

static bool operator==(const SceneFile::Property& a, const SceneFile::Property& b) {
  return a.key == b.key && a.value == b.value;
}

namespace {

using loftbay::testing_support::addObject;
using loftbay::testing_support::runProgram;
using loftbay::testing_support::ScratchFolder;
using loftbay::testing_support::ZixBuilder;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

using Property = SceneFile::Property;

class Properties : public ::testing::Test {
 protected:
  Properties() { dropPendingProperties(); }

  // A scene of a root and two nodes; `set` is called with their ids before it is closed.
  template <typename Set>
  void write(const char* name, Set set) {
    loftbay::testing_support::writeScene(folder_.programPath(name),
                                         [&](Scene_V1& scene, const ObjectId& root) {
                                           const auto first = addObject(scene, ObjectType::Node, "first");
                                           const auto second = addObject(scene, ObjectType::Node, "second");
                                           scene.addComponent(root, first);
                                           scene.addComponent(root, second);
                                           set(first, second);
                                         });
  }
  [[nodiscard]] SceneFile read(const char* name) const {
    EXPECT_EQ(validateFile(folder_.programPath(name)).error_count, 0U);
    auto scene = SceneFile::open(folder_.programPath(name));
    EXPECT_TRUE(scene.has_value()) << scene.error().text();
    return std::move(*scene);
  }

  ScratchFolder folder_;
};

TEST_F(Properties, AreReadBackInTheOrderInWhichTheyWereSet) {
  write("a.zix", [](const ObjectId& first, const ObjectId& second) {
    EXPECT_TRUE(setObjectProperty(second, "Mass", "2 kg"));
    EXPECT_TRUE(setSceneProperty("zeta", "1"));
    EXPECT_TRUE(setObjectProperty(first, "Material", "Steel"));
    EXPECT_TRUE(setSceneProperty("alpha", ""));
    EXPECT_TRUE(setObjectProperty(second, "Material", "Steel"));
    EXPECT_TRUE(setObjectProperty(second, "Mass", "3 kg")) << "instead of the first value, at its place";
  });
  const SceneFile scene = read("a.zix");
  EXPECT_EQ(scene.header().minor_version, 1);
  EXPECT_THAT(scene.sceneProperties(), ElementsAre(Property{"zeta", "1"}, Property{"alpha", ""}));
  EXPECT_THAT(scene.properties(0), IsEmpty());
  EXPECT_THAT(scene.properties(1), ElementsAre(Property{"Material", "Steel"}));
  EXPECT_THAT(scene.properties(2), ElementsAre(Property{"Mass", "3 kg"}, Property{"Material", "Steel"}));
  EXPECT_FALSE(scene.unit());
}

TEST_F(Properties, AreTheNextScenesOnly) {
  EXPECT_TRUE(setSceneProperty("key", "value"));
  write("a.zix", [](const auto&, const auto&) {});
  write("b.zix", [](const auto&, const auto&) {});
  EXPECT_EQ(read("a.zix").sceneProperties().size(), 1U);
  EXPECT_THAT(read("b.zix").sceneProperties(), IsEmpty());
}

TEST_F(Properties, OfASceneThatIsNotClosedOrCannotBeSavedAreGone) {
  {
    Scene_V1 scene("Model");
    EXPECT_TRUE(setSceneProperty("key", "value"));
  }
  write("a.zix", [](const auto&, const auto&) {});
  EXPECT_THAT(read("a.zix").sceneProperties(), IsEmpty());
  {
    const std::string path = folder_.programPath("no such folder/b.zix");
    Scene_V1 scene("Model");
    scene.saveTo(path.c_str(), " ", true, true);
    EXPECT_TRUE(setSceneProperty("key", "value"));
    EXPECT_THROW(scene.closeFile(path.c_str()), SceneError);
    // An old scene's end takes nothing from the next one.
    EXPECT_TRUE(setSceneProperty("next", "value"));
  }
  write("c.zix", [](const auto&, const auto&) {});
  EXPECT_THAT(read("c.zix").sceneProperties(), ElementsAre(Property{"next", "value"}));
}

// What a walk enters gets a Node of its own, or Shapes only.
TEST_F(Properties, OfWhatIsEnteredGoToTheNextNodeElseToEveryShape) {
  const std::string path = folder_.programPath("a.zix");
  Scene_V1 scene("Model");
  scene.saveTo(path.c_str(), " ", true, true);
  addObject(scene, ObjectType::Node, "root");
  const Orb::Zix::Property of_node[] = {{"kind", "node"}, {"", "without a key"}};
  EXPECT_EQ(setPropertiesOfEntered(of_node), 1U);
  addObject(scene, ObjectType::Transform, "is none of both");
  addObject(scene, ObjectType::Node, "entered");
  addObject(scene, ObjectType::Node, "second");
  addObject(scene, ObjectType::Shape, "shape of the node");
  const Orb::Zix::Property of_shapes[] = {{"kind", "shapes"}};
  EXPECT_EQ(setPropertiesOfEntered(of_shapes), 0U);
  addObject(scene, ObjectType::Shape, "first shape");
  addObject(scene, ObjectType::Shape, "second shape");
  EXPECT_EQ(setPropertiesOfEntered({}), 0U);
  addObject(scene, ObjectType::Shape, "of nobody");
  scene.closeFile(path.c_str());

  const SceneFile written = read("a.zix");
  std::vector<std::string> owners;
  for (std::uint32_t object = 0; object < written.objectCount(); ++object) {
    for (const auto& [key, value] : written.properties(object)) {
      owners.push_back(std::string(written.name(object)) + ": " + std::string(key) + " " +
                       std::string(value));
    }
  }
  EXPECT_THAT(owners,
              ElementsAre("entered: kind node", "first shape: kind shapes", "second shape: kind shapes"));
}

TEST_F(Properties, OfAnObjectThatDoesNotExistFailTheCloseAndLeaveNothing) {
  EXPECT_THROW(write("a.zix",
                     [](const ObjectId& first, const ObjectId&) {
                       EXPECT_TRUE(setObjectProperty({99, first.second}, "key", "value"));
                     }),
               SceneError);
  EXPECT_THAT(folder_.names(), IsEmpty());
  EXPECT_THROW(static_cast<void>(setObjectProperty({}, "key", "value")), SceneError);
}

TEST_F(Properties, KeysHaveOneToAThousandAndTwentyFourBytes) {
  EXPECT_FALSE(setSceneProperty("", "value"));
  EXPECT_FALSE(setSceneProperty(std::string(1025, 'k'), "value"));
  EXPECT_TRUE(setSceneProperty(std::string(1024, 'k'), "value"));
  write("a.zix", [](const auto&, const auto&) {});
  EXPECT_EQ(read("a.zix").sceneProperties().size(), 1U);
}

TEST_F(Properties, EqualTextsAreStoredOnce) {
  const std::string long_value(10000, 'v');
  write("a.zix", [&](const ObjectId& first, const ObjectId& second) {
    EXPECT_TRUE(setObjectProperty(first, "key", long_value));
    EXPECT_TRUE(setObjectProperty(second, "key", long_value));
  });
  EXPECT_LT(folder_.read("a.zix").size(), 15000U);
}

TEST_F(Properties, ASceneWithoutAnyIsOneOfTheFirstVersion) {
  write("a.zix", [](const auto&, const auto&) {});
  const SceneFile scene = read("a.zix");
  EXPECT_EQ(scene.header().minor_version, 0);
  for (std::size_t i = 0; i < scene.chunks().size(); ++i)
    EXPECT_NE(scene.chunks()[i].type, format::kPropertyChunk);
}

TEST_F(Properties, UnitIsThatOfTheScene) {
  const auto unitOf = [&](std::string_view name, std::string_view metres) {
    write("a.zix", [&](const ObjectId& first, const ObjectId&) {
      if (!name.empty()) {
        EXPECT_TRUE(setSceneProperty("unit", name));
      }
      if (!metres.empty()) {
        EXPECT_TRUE(setSceneProperty("unit_metres", metres));
      }
      EXPECT_TRUE(setObjectProperty(first, "unit", "parsec"));
    });
    const SceneFile scene = read("a.zix");
    const auto unit = scene.unit();
    return unit ? std::string(unit->name) + " " + (unit->metres ? std::to_string(*unit->metres) : "unknown")
                : "none";
  };
  EXPECT_EQ(unitOf("millimeter", "0.001"), "millimeter 0.001000");
  EXPECT_EQ(unitOf("mile", "1609.344"), "mile 1609.344000");
  EXPECT_EQ(unitOf("micrometer", "1e-06"), "micrometer 0.000001");
  EXPECT_EQ(unitOf("cubit", ""), "cubit unknown");
  EXPECT_EQ(unitOf("", "0.001"), "none");
  for (const char* wrong :
       {"0", "-1", "inf", "nan", "0.001 ", " 0.001", "1,5", "x", "1e999", ".5", "1.", "1.e3", "0x1p3", "+1"})
    EXPECT_EQ(unitOf("odd", wrong), "odd unknown") << wrong;
}

// --- what a reader refuses --------------------------------------------------------------------------------

std::string codeOf(const ZixBuilder& built) {
  const std::string file = built.build();
  const std::vector<std::uint64_t> aligned = [&] {
    std::vector<std::uint64_t> words(file.size() / 8 + 1);
    std::memcpy(words.data(), file.data(), file.size());
    return words;
  }();
  const auto bytes = std::as_bytes(std::span(aligned)).first(file.size());
  const auto scene = SceneFile::fromBytes(bytes);
  if (!scene) return scene.error().code;
  const auto report = validateBytes(bytes);
  return report.messages.empty() ? "accepted" : report.messages[0].code;
}

ZixBuilder twoNodes() {
  ZixBuilder built;
  built.add(ZixBuilder::plain(static_cast<std::uint32_t>(ObjectType::Node)));
  built.add(ZixBuilder::plain(static_cast<std::uint32_t>(ObjectType::Node)));
  built.children = {1};
  built.objects[0].child_count = 1;
  built.objects[1].parent = 0;
  built.scene.root = 0;
  return built;
}

struct RowCase {
  const char* name;
  const char* code;
  void (*add)(ZixBuilder&);
};

class PropertyRows : public ::testing::TestWithParam<RowCase> {};

TEST_P(PropertyRows, AreChecked) {
  ZixBuilder built = twoNodes();
  EXPECT_EQ(codeOf(built), "accepted");
  GetParam().add(built);
  EXPECT_EQ(codeOf(built), GetParam().code);
}

using B = ZixBuilder;
constexpr std::uint32_t kScene = format::kNone;
INSTANTIATE_TEST_SUITE_P(
    Reader, PropertyRows,
    ::testing::Values(RowCase{"Right", "accepted",
                              [](B& b) {
                                b.addProperty(kScene, "b", "1");
                                b.addProperty(kScene, "a", "1");
                                b.addProperty(0, "a", "1");
                                b.addProperty(1, "a", "1");
                              }},
                      RowCase{"SceneBehindAnObject", "PROPERTY_ORDER",
                              [](B& b) {
                                b.addProperty(0, "a", "1");
                                b.addProperty(kScene, "a", "1");
                              }},
                      RowCase{"ObjectsOutOfOrder", "PROPERTY_ORDER",
                              [](B& b) {
                                b.addProperty(1, "a", "1");
                                b.addProperty(0, "a", "1");
                              }},
                      RowCase{"KeyTwiceInTheLastGroup", "PROPERTY_ORDER",
                              [](B& b) {
                                b.addProperty(1, "a", "1");
                                b.addProperty(1, "b", "1");
                                b.addProperty(1, "a", "2");
                              }},
                      RowCase{"KeyTwiceInAnEarlierGroup", "PROPERTY_ORDER",
                              [](B& b) {
                                b.addProperty(kScene, "a", "1");
                                b.addProperty(kScene, "a", "2");
                                b.addProperty(1, "b", "1");
                              }},
                      RowCase{"EmptyKey", "PROPERTY_KEY", [](B& b) { b.addProperty(0, "", "1"); }},
                      RowCase{"LongKey", "PROPERTY_KEY",
                              [](B& b) { b.addProperty(0, std::string(1025, 'k'), "1"); }},
                      RowCase{"NoSuchObject", "OBJECT_NUMBER", [](B& b) { b.addProperty(2, "a", "1"); }},
                      RowCase{"KeyOutsideTheTexts", "TEXT_RANGE",
                              [](B& b) {
                                b.addProperty(0, "a", "1");
                                b.properties[0].key_offset = 2;
                              }},
                      RowCase{"ValueOutsideTheTexts", "TEXT_RANGE",
                              [](B& b) {
                                b.addProperty(0, "a", "1");
                                b.properties[0].value_size = 2;
                              }},
                      RowCase{"ReservedIsIgnored", "accepted",
                              [](B& b) {
                                b.addProperty(0, "a", "1");
                                b.properties[0].reserved = 7;
                              }},
                      RowCase{"NoText", "PROPERTY_NOT_UTF8", [](B& b) { b.addProperty(1, "a", "\xff"); }},
                      RowCase{"TwoChunks", "DUPLICATE_CHUNK",
                              [](B& b) {
                                b.addProperty(0, "a", "1");
                                b.others.push_back({format::kPropertyChunk, 32, ""});
                              }},
                      RowCase{"NoRows", "accepted",
                              [](B& b) {
                                b.others.push_back({format::kPropertyChunk, 32, ""});
                              }},
                      RowCase{"OtherRecordSize", "RECORD_SIZE",
                              [](B& b) {
                                b.others.push_back({format::kPropertyChunk, 40, ""});
                              }},
                      // In a file of the first version the type is as unknown as to a reader of that version.
                      RowCase{"InAFileOfTheFirstVersion", "accepted",
                              [](B& b) {
                                b.minor_version = 0;
                                b.others.push_back({format::kPropertyChunk, 7, "skipped"});
                              }}),
    [](const auto& test) { return std::string(test.param.name); });

// --- the tools --------------------------------------------------------------------------------------------

TEST_F(Properties, AreShownByInfoAndTree) {
  write("a.zix", [](const ObjectId& first, const ObjectId&) {
    EXPECT_TRUE(setSceneProperty("unit", "inch"));
    EXPECT_TRUE(setSceneProperty("unit_metres", "0.0254"));
    EXPECT_TRUE(setSceneProperty("by", "\xff\n"));
    EXPECT_TRUE(setObjectProperty(first, "Mass", "2 kg"));
  });
  const std::string path = folder_.hostPath("a.zix");
  const auto json = nlohmann::ordered_json::parse(runProgram(folder_, "zix", {"info", "--json", path}).out);
  EXPECT_EQ(json["format_version"], "1.1");
  EXPECT_EQ(json["unit"].dump(), R"({"name":"inch","metres":0.0254})");
  EXPECT_EQ(json["properties"].size(), 3U);
  EXPECT_EQ(json["properties"]["by"], "\xEF\xBF\xBD\n");
  EXPECT_THAT(runProgram(folder_, "zix", {"info", path}).out,
              HasSubstr("unit               inch (0.0254 m)\n"
                        "property           \"unit\" = \"inch\"\n"));
  EXPECT_EQ(runProgram(folder_, "zix", {"tree", path}).out,
            "Node \"root\"\n  Node \"first\"\n  Node \"second\"\n");
  EXPECT_EQ(runProgram(folder_, "zix", {"tree", "--properties", path}).out,
            "Node \"root\"\n  Node \"first\"\n      \"Mass\" = \"2 kg\"\n  Node \"second\"\n");
}

TEST_F(Properties, AreComparedByDiff) {
  write("a.zix", [](const ObjectId& first, const ObjectId&) {
    EXPECT_TRUE(setSceneProperty("unit", "inch"));
    EXPECT_TRUE(setObjectProperty(first, "Mass", "2 kg"));
    EXPECT_TRUE(setObjectProperty(first, "Only", "here"));
    EXPECT_TRUE(setObjectProperty(first, "Same", "x"));
  });
  write("b.zix", [](const ObjectId& first, const ObjectId&) {
    EXPECT_TRUE(setObjectProperty(first, "Same", "x"));
    EXPECT_TRUE(setObjectProperty(first, "Mass", "3 kg"));
    EXPECT_TRUE(setObjectProperty(first, "There", ""));
  });
  const SceneFile a = read("a.zix");
  const SceneFile b = read("b.zix");
  EXPECT_EQ(diffScenes(a, a, -1).count, 0U);
  EXPECT_THAT(diffScenes(a, b, -1).differences,
              ElementsAre("root/first: the property \"Mass\" is \"2 kg\" and \"3 kg\"",
                          "root/first: the property \"Only\" is in the first scene only",
                          "root/first: the property \"There\" is in the second scene only",
                          "scene: the property \"unit\" is in the first scene only"));
}

}  // namespace
}  // namespace Orb::Zix
