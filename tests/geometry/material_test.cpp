// JT materials in the scene.
#include "tests/doubles/job_fixture.h"

namespace loftbay::doubles {
namespace {

class MaterialTest : public JobTest {
 protected:
  // Writes the material onto the mesh #1 of an otherwise empty scene, as object #2.
  void write(JtkMaterial* material) {
    bool success = false;
    convert::obJt2Zix job("part.jt", "o.zix", &success, true);
    toolkit().calls.clear();
    job.WriteMaterial(material, job.rootId);
  }
};

TEST_F(MaterialTest, AnOpaqueAlphaGivesZero) {
  Material material;
  material.diffuse = {1, 0.5F, 0.25F, 1.0F};
  write(&material);
  EXPECT_EQ(sceneLines("Diffuse"), "setColor(#2, Diffuse, 1, 0.5, 0.25, 0)\n");
  EXPECT_EQ(logLines("Transparency"), "obJt2Zix::WriteMaterial():Transparency : 0\n");
}

TEST_F(MaterialTest, AnAlphaOfAQuarterGivesThreeQuarters) {
  Material material;
  material.diffuse = {1, 0.5F, 0.25F, 0.25F};
  write(&material);
  EXPECT_EQ(sceneLines("Diffuse"), "setColor(#2, Diffuse, 1, 0.5, 0.25, 0.75)\n");
  EXPECT_EQ(logLines("Transparency"), "obJt2Zix::WriteMaterial():Transparency : 0.75\n");
}

TEST_F(MaterialTest, OtherColoursReachTheSceneWithAlphaOne) {
  Material material;  // their JT alphas are 0.9, 0.8 and 0.7
  write(&material);
  EXPECT_EQ(sceneLines("setColor"),
            "setColor(#2, Diffuse, 0.5, 0.25, 0.125, 0)\n"
            "setColor(#2, Ambient, 0.1, 0.2, 0.3, 1)\n"
            "setColor(#2, Emission, 0, 0.0625, 0, 1)\n"
            "setColor(#2, Specular, 1, 1, 0.75, 1)\n");
}

TEST_F(MaterialTest, ShininessIsTheAmbientIntensityAsItIs) {
  Material material;
  material.shininess = 128;
  write(&material);
  EXPECT_EQ(logLines("shinniness"), "obJt2Zix::WriteMaterial():shinniness   : 128\n");
  EXPECT_EQ(sceneLines("Intensity"), "setAmbientIntensity(#2, 128)\n");
}

TEST_F(MaterialTest, AsksForTheValuesInTheirOrder) {
  Material material;
  write(&material);
  EXPECT_EQ(toolkitCalls(),
            "getDiffuseColor\ngetAmbientColor\ngetEmissionColor\ngetShininess\ngetSpecularColor\n");
}

TEST_F(MaterialTest, NoMaterialIsOpaqueGreyWithoutGloss) {
  write(nullptr);
  EXPECT_EQ(logLines("WriteMaterial"),
            "obJt2Zix::WriteMaterial():Start\n"
            "obJt2Zix::WriteMaterial():diffuseColor : 0.698 0.698 0.698\n"
            "obJt2Zix::WriteMaterial():ambientColor : 0.698 0.698 0.698\n"
            "obJt2Zix::WriteMaterial():emissionColor: 0 0 0\n"
            "obJt2Zix::WriteMaterial():specularColor: 0 0 0\n"
            "obJt2Zix::WriteMaterial():shinniness   : 128\n"
            "obJt2Zix::WriteMaterial():Transparency : 0\n"
            "obJt2Zix::WriteMaterial():End\n");
  EXPECT_EQ(sceneLines("#2"),
            "#2 = createObject(Material)\n"
            "setName(#2, \"Material\")\n"
            "setMaterial(#1, #2)\n"
            "setColor(#2, Diffuse, 0.698, 0.698, 0.698, 0)\n"
            "setColor(#2, Ambient, 0.698, 0.698, 0.698, 1)\n"
            "setColor(#2, Emission, 0, 0, 0, 1)\n"
            "setColor(#2, Specular, 0, 0, 0, 1)\n"
            "setAmbientIntensity(#2, 128)\n");
}

TEST_F(MaterialTest, ColoursThatTheToolkitDoesNotGiveAreTheBuiltInOnes) {
  Material material;
  material.has_colors = false;
  write(&material);
  EXPECT_EQ(sceneLines("Diffuse"), "setColor(#2, Diffuse, 0.698, 0.698, 0.698, 0)\n");
  EXPECT_EQ(sceneLines("Intensity"), "setAmbientIntensity(#2, 128)\n");
}

TEST_F(MaterialTest, EveryMeshGetsAnObjectOfItsOwnAndNoneIsMadeUnique) {
  auto& part = product.part("p", {&product.countedSets(JtkEntity::JtkTRISTRIPSET, {3}),
                                  &product.countedSets(JtkEntity::JtkTRISTRIPSET, {3})});
  part.material = &product.material();
  toolkit().root = &part;
  EXPECT_TRUE(convert());
  EXPECT_EQ(sceneLines("\"Material"), "setName(#7, \"Material\")\nsetName(#13, \"Material\")\n");
}

}  // namespace
}  // namespace loftbay::doubles
