// Wrong use of an id throws at once, names object and type, and changes nothing.
#include <gmock/gmock.h>

#include "tests/zix/sample_scenes.h"
#include "tests/zix/scratch_folder.h"
#include "zix/reader.h"
#include "zix/validate.h"

namespace Orb::Zix {
namespace {

using loftbay::testing_support::ScratchFolder;

struct Objects {
  Scene_V1 scene{"Model"};
  ObjectId root = named(ObjectType::Node, "root");
  ObjectId node = named(ObjectType::Node, "node");
  ObjectId shape = named(ObjectType::Shape, "shape");
  ObjectId mesh = named(ObjectType::Mesh, "mesh");
  ObjectId transform = named(ObjectType::Transform, "turn");
  ObjectId material = named(ObjectType::Material, "paint");
  ObjectId coordinates = named(ObjectType::Coordinates, "points");
  ObjectId indices = named(ObjectType::IndexArray, "numbers");

  ObjectId named(ObjectType type, const char* name) {
    return loftbay::testing_support::addObject(scene, type, name);
  }
};

struct WrongUse {
  const char* name;
  const char* message;
  void (*call)(Objects&);
};

class WrongUseOfIds : public ::testing::TestWithParam<WrongUse> {};

TEST_P(WrongUseOfIds, ThrowsAndNamesTheObject) {
  Objects objects;
  try {
    GetParam().call(objects);
    FAIL() << "nothing was thrown";
  } catch (const SceneError& error) {
    EXPECT_STREQ(error.what(), GetParam().message);
  }
}

constexpr float kOne = 1;

INSTANTIATE_TEST_SUITE_P(
    Scene, WrongUseOfIds,
    ::testing::Values(
        WrongUse{"ColourOnAMesh", "setColor: Mesh 'mesh' (object 4) is no Material",
                 [](Objects& o) { o.scene.setColor(o.mesh, ColorType::Diffuse, kOne, kOne, kOne, kOne); }},
        WrongUse{"UnknownColour", "setColor: Material 'paint' (object 6) has no colour 4",
                 [](Objects& o) {
                   o.scene.setColor(o.material, static_cast<ColorType>(4), kOne, kOne, kOne, kOne);
                 }},
        WrongUse{"AmbientIntensityOfANode", "setAmbientIntensity: Node 'root' (object 1) is no Material",
                 [](Objects& o) { o.scene.setAmbientIntensity(o.root, 1); }},
        WrongUse{"IdNeverGiven", "setName: no object of this scene has the id (9, 4)",
                 [](Objects& o) {
                   o.scene.setName({9, 4}, "x");
                 }},
        WrongUse{"IdZero", "setName: no object of this scene has the id (0, 0)",
                 [](Objects& o) { o.scene.setName({}, "x"); }},
        WrongUse{"IdWithTheWrongSecondHalf", "setName: no object of this scene has the id (1, 18)",
                 [](Objects& o) {
                   o.scene.setName({1, 18}, "x");
                 }},
        WrongUse{"UnknownType", "createObject: there is no object type 17",
                 [](Objects& o) { o.scene.createObject(static_cast<ObjectType>(17)); }},
        WrongUse{"AttachedTwice",
                 "addComponent: Node 'node' (object 2) hangs under Node 'root' (object 1) already",
                 [](Objects& o) {
                   o.scene.addComponent(o.root, o.node);
                   o.scene.addComponent(o.root, o.node);
                 }},
        WrongUse{"Cycle",
                 "addComponent: Node 'root' (object 1) would hang under itself: cycle through Node 'node' "
                 "(object 2)",
                 [](Objects& o) {
                   o.scene.addComponent(o.root, o.node);
                   o.scene.addComponent(o.node, o.root);
                 }},
        WrongUse{"UnderItself",
                 "addComponent: Node 'node' (object 2) would hang under itself: cycle through Node 'node' "
                 "(object 2)",
                 [](Objects& o) { o.scene.addComponent(o.node, o.node); }},
        WrongUse{"MeshUnderANode",
                 "addComponent: Mesh 'mesh' (object 4) cannot hang under Node 'root' (object 1)",
                 [](Objects& o) { o.scene.addComponent(o.root, o.mesh); }},
        WrongUse{"MaterialInTheTree",
                 "addComponent: Material 'paint' (object 6) cannot hang under Node 'root' (object 1)",
                 [](Objects& o) { o.scene.addComponent(o.root, o.material); }},
        WrongUse{"PlacedByANode", "addComponent: Node 'root' (object 1) is no Transform",
                 [](Objects& o) { o.scene.addComponent(o.root, o.node, o.root); }},
        WrongUse{"TranslationOfANode", "setTranslation: Node 'node' (object 2) is no Transform",
                 [](Objects& o) { o.scene.setTranslation(o.node, 1, 2, 3); }},
        WrongUse{"RotationOfAShape", "setRotation: Shape 'shape' (object 3) is no Transform",
                 [](Objects& o) { o.scene.setRotation(o.shape, 1, 0, 0, 1); }},
        WrongUse{"ScaleOfAMaterial", "setScale: Material 'paint' (object 6) is no Transform",
                 [](Objects& o) { o.scene.setScale(o.material, 1, 1, 1); }},
        WrongUse{"MeshTypeOfAShape", "setMeshType: Shape 'shape' (object 3) is no Mesh",
                 [](Objects& o) { o.scene.setMeshType(o.shape, MeshType::Lines); }},
        WrongUse{"UnknownMeshType", "setMeshType: Mesh 'mesh' (object 4) cannot have the mesh type 3",
                 [](Objects& o) { o.scene.setMeshType(o.mesh, static_cast<MeshType>(3)); }},
        WrongUse{"DimensionZero", "setDimension: Coordinates 'points' (object 7) cannot have the dimension 0",
                 [](Objects& o) { o.scene.setDimension(o.coordinates, 0); }},
        WrongUse{"DimensionAfterTheValues",
                 "setDimension: Coordinates 'points' (object 7) has its values already",
                 [](Objects& o) {
                   o.scene.setValues<float>(o.coordinates, nullptr, 0);
                   o.scene.setDimension(o.coordinates, 2);
                 }},
        WrongUse{"FloatsIntoIndices", "setValues: IndexArray 'numbers' (object 8) is no Coordinates",
                 [](Objects& o) { o.scene.setValues<float>(o.indices, &kOne, 0); }},
        WrongUse{"IndicesIntoFloats", "setValues: Coordinates 'points' (object 7) is no IndexArray",
                 [](Objects& o) { o.scene.setValues<unsigned int>(o.coordinates, nullptr, 0); }},
        WrongUse{"ValuesTwice", "setValues: IndexArray 'numbers' (object 8) has its values already",
                 [](Objects& o) {
                   o.scene.setValues<unsigned int>(o.indices, nullptr, 0);
                   o.scene.setValues<unsigned int>(o.indices, nullptr, 0);
                 }},
        WrongUse{"NoData", "setValues: IndexArray 'numbers' (object 8) was given no data",
                 [](Objects& o) { o.scene.setValues<unsigned int>(o.indices, nullptr, 1); }},
        WrongUse{"CountThatOverflows",
                 "setValues: Coordinates 'points' (object 7) was given more values than memory can hold",
                 [](Objects& o) { o.scene.setValues<float>(o.coordinates, &kOne, std::uint64_t{1} << 62); }},
        WrongUse{"CoordinatesTwice", "setCoordinates: Mesh 'mesh' (object 4) has coordinates already",
                 [](Objects& o) {
                   o.scene.setCoordinates(o.mesh, o.coordinates);
                   o.scene.setCoordinates(o.mesh, o.coordinates);
                 }},
        WrongUse{"CoordinatesThatAreIndices",
                 "setCoordinates: IndexArray 'numbers' (object 8) is no Coordinates",
                 [](Objects& o) { o.scene.setCoordinates(o.mesh, o.indices); }},
        WrongUse{"ConnectivityTwice", "setConnectivity: Mesh 'mesh' (object 4) has a connectivity already",
                 [](Objects& o) {
                   o.scene.setConnectivity(o.mesh, o.indices, o.indices);
                   o.scene.setConnectivity(o.mesh, o.indices, o.indices);
                 }},
        WrongUse{"ConnectivityThatIsCoordinates",
                 "setConnectivity: Coordinates 'points' (object 7) is no IndexArray",
                 [](Objects& o) { o.scene.setConnectivity(o.mesh, o.indices, o.coordinates); }},
        WrongUse{"MaterialOnATransform", "setMaterial: Transform 'turn' (object 5) cannot have a material",
                 [](Objects& o) { o.scene.setMaterial(o.transform, o.material); }},
        WrongUse{"MaterialThatIsAMesh", "setMaterial: Mesh 'mesh' (object 4) is no Material",
                 [](Objects& o) { o.scene.setMaterial(o.mesh, o.mesh); }},
        WrongUse{"MaterialTwice", "setMaterial: Mesh 'mesh' (object 4) has a material already",
                 [](Objects& o) {
                   o.scene.setMaterial(o.mesh, o.material);
                   o.scene.setMaterial(o.mesh, o.material);
                 }},
        WrongUse{"ViewsOfAShape", "createDefaultViews: Shape 'shape' (object 3) is no Node",
                 [](Objects& o) { o.scene.createDefaultViews(o.shape); }},
        WrongUse{"SaveToTwice", "saveTo: the scene is bound to  already",
                 [](Objects& o) {
                   o.scene.saveTo("", " ", true, true);
                   o.scene.saveTo("", " ", true, true);
                 }}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(WrongUseOfScene, NothingIsPossibleAfterCloseFile) {
  const ScratchFolder folder;
  Objects o;
  const std::string path = folder.programPath("scene.zix");
  o.scene.saveTo(path.c_str(), " ", true, true);
  o.scene.closeFile(path.c_str());
  EXPECT_THROW(o.scene.setName(o.root, "late"), SceneError);
  EXPECT_THROW(o.scene.createObject(ObjectType::Node), SceneError);
  EXPECT_THROW(o.scene.addComponent(o.root, o.node), SceneError);
  EXPECT_THROW(o.scene.createDefaultViews(o.root), SceneError);
  EXPECT_THROW(o.scene.saveTo(path.c_str(), " ", true, true), SceneError);
  EXPECT_THROW(o.scene.closeFile(path.c_str()), SceneError);
  EXPECT_EQ(validateFile(path).error_count, 0U);
}

TEST(WrongUseOfScene, RefusedCallsLeaveNoTraceInTheFile) {
  const ScratchFolder folder;
  const auto write = [&](const std::string& name, bool misuse) {
    Objects o;
    const std::string path = folder.programPath(name);
    o.scene.saveTo(path.c_str(), " ", true, true);
    o.scene.addComponent(o.root, o.node);
    if (misuse) {
      EXPECT_THROW(o.scene.addComponent(o.node, o.root), SceneError);
      EXPECT_THROW(o.scene.setMaterial(o.root, o.mesh), SceneError);
      EXPECT_THROW(o.scene.setCoordinates(o.mesh, o.mesh), SceneError);
      EXPECT_THROW(o.scene.setValues<unsigned int>(o.indices, nullptr, 3), SceneError);
    }
    o.scene.closeFile(path.c_str());
  };
  write("good.zix", false);
  write("misused.zix", true);
  EXPECT_EQ(folder.read("good.zix"), folder.read("misused.zix"));
}

TEST(AddComponent, AnswersTheNumberOfChildrenBefore) {
  Objects o;
  EXPECT_EQ(o.scene.addComponent(o.root, o.node), 0U);
  EXPECT_EQ(o.scene.addComponent(o.root, o.shape, o.transform), 1U);
  EXPECT_EQ(o.scene.addComponent(o.shape, o.mesh), 0U);
}

}  // namespace
}  // namespace Orb::Zix
