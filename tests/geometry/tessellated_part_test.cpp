// Shapes that were tessellated on load.
#include "tests/doubles/job_fixture.h"

namespace loftbay::doubles {
namespace {

class TessellatedPart : public JobTest {
 protected:
  void convertShape(Shape& shape) {
    toolkit().root = &product.tessellatedPart("block", {&shape});
    EXPECT_TRUE(convert());
  }
  void convertStrips(const std::vector<int>& lengths) {
    convertShape(product.countedSets(JtkEntity::JtkTRISTRIPSET, lengths));
  }
  std::string values() { return sceneLines("setValues<unsigned int>"); }
};

TEST_F(TessellatedPart, OneStripOfFourVertices) {
  convertStrips({4});
  EXPECT_EQ(values(),
            "setValues<unsigned int>(#5, 6: 1 0 2 1 2 3)\n"
            "setValues<unsigned int>(#6, 2: 3 3)\n");
  EXPECT_EQ(sceneLines("setValues<float>"), "setValues<float>(#4, 4: 0 0 10, 1 0.5 9, 2 1 8, 3 1.5 7)\n");
}

TEST_F(TessellatedPart, ALongStripAlternatesToItsEnd) {
  convertStrips({7, 3});
  EXPECT_EQ(values(),
            "setValues<unsigned int>(#5, 18: 1 0 2 1 2 3 3 2 4 3 4 5 5 4 6 8 7 9)\n"
            "setValues<unsigned int>(#6, 6: 3 3 3 3 3 3)\n");
}

TEST_F(TessellatedPart, TwoStripsOfThreeVertices) {
  convertStrips({3, 3});
  EXPECT_EQ(values(),
            "setValues<unsigned int>(#5, 6: 1 0 2 4 3 5)\n"
            "setValues<unsigned int>(#6, 2: 3 3)\n");
}

TEST_F(TessellatedPart, AStripOfTwoVerticesAddsThemAndMovesOnByTwo) {
  convertStrips({2, 3});
  EXPECT_EQ(values(),
            "setValues<unsigned int>(#5, 3: 3 2 4)\n"
            "setValues<unsigned int>(#6, 1: 3)\n");
  EXPECT_EQ(sceneLines("setValues<float>").substr(0, 23), "setValues<float>(#4, 5:");
}

TEST_F(TessellatedPart, LogsThreeLinesOfItsOwnAndNoMore) {
  convertStrips({3});
  EXPECT_EQ(logLines("WriteShape"),
            "obJt2Zix::WriteShape():ZIX Geometry is constructed\n"
            "obJt2Zix::WriteShape():ZIX material is set\n"
            "obJt2Zix::WriteShape():End\n");
}

TEST_F(TessellatedPart, WithoutAMaterialItWearsTheBuiltInOne) {
  convertStrips({3});
  EXPECT_EQ(sceneLines("setColor(#7, Diffuse"), "setColor(#7, Diffuse, 0.698, 0.698, 0.698, 0)\n");
}

TEST_F(TessellatedPart, TheLastMaterialOfSeveralIsInForce) {
  auto& first = product.part("first", {&product.countedSets(JtkEntity::JtkTRISTRIPSET, {3})});
  first.material = &product.material();
  auto& block = product.tessellatedPart("block", {&product.countedSets(JtkEntity::JtkTRISTRIPSET, {3})});
  block.material = &product.material();
  block.material->diffuse = {0, 1, 0, 1};
  toolkit().root = &product.assembly("root", {&first, &block});
  EXPECT_TRUE(convert());
  EXPECT_EQ(logLines("diffuseColor"),
            "obJt2Zix::WriteMaterial():diffuseColor : 0.5 0.25 0.125\n"
            "obJt2Zix::WriteMaterial():diffuseColor : 0 1 0\n");
}

TEST_F(TessellatedPart, TheShapesOwnMaterialIsNotAskedFor) {
  auto& shape = product.countedSets(JtkEntity::JtkTRISTRIPSET, {3});
  shape.material = &product.material();
  convertShape(shape);
  EXPECT_EQ(logLines("diffuseColor"), "obJt2Zix::WriteMaterial():diffuseColor : 0.698 0.698 0.698\n");
}

TEST_F(TessellatedPart, WithoutSetsItGetsAMeshWithEmptyArrays) {
  convertStrips({});
  EXPECT_EQ(sceneLines("setValues"),
            "setValues<float>(#4, 0:)\n"
            "setValues<unsigned int>(#5, 0:)\n"
            "setValues<unsigned int>(#6, 0:)\n");
  EXPECT_EQ(sceneLines("createObject(Shape)"), "#2 = createObject(Shape)\n");
}

TEST_F(TessellatedPart, AsksForEverySetTwiceAndReleasesWhatItGets) {
  auto& shape = product.countedSets(JtkEntity::JtkTRISTRIPSET, {3, 4});
  shape.sets[1].normals = {0, 0, 1};
  convertShape(shape);  // the fixture compares arrays handed out with arrays released
  EXPECT_EQ(linesWith(toolkitCalls(), "getPrimitiveSetGeometry"),
            "getPrimitiveSetGeometry(0)\ngetPrimitiveSetGeometry(1)\n"
            "getPrimitiveSetGeometry(0)\ngetPrimitiveSetGeometry(1)\n");
}

TEST_F(TessellatedPart, SetsWithoutATriangleDoNoHarm) {
  auto& shape = product.countedSets(JtkEntity::JtkTRISTRIPSET, {1, 0, 3});
  shape.sets[1].claimed_vertices = 5;  // promised and not given
  convertShape(shape);
  EXPECT_EQ(sceneLines("setValues<float>"), "setValues<float>(#4, 4: 0 0 10, 1 0.5 9, 2 1 8, 3 1.5 7)\n");
  EXPECT_EQ(sceneLines("setValues<unsigned int>(#5"), "setValues<unsigned int>(#5, 3: 2 1 3)\n");
}

// Every set counts by its vertices less two, also those that make no triangle.
TEST_F(TessellatedPart, LengthsFollowTheVerticesAndNotTheTrianglesMade) {
  convertStrips({1, 5});
  EXPECT_EQ(values(),
            "setValues<unsigned int>(#5, 9: 2 1 3 2 3 4 4 3 5)\n"
            "setValues<unsigned int>(#6, 2: 3 3)\n");
}

TEST_F(TessellatedPart, DoesNotMergeVertices) {
  convertShape(product.strips({{0, 0, 0, 0, 0, 0, 0, 0, 0}}));
  EXPECT_EQ(sceneLines("setValues<float>"), "setValues<float>(#4, 3: 0 0 0, 0 0 0, 0 0 0)\n");
}

}  // namespace
}  // namespace loftbay::doubles
