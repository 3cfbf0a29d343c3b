// Point sets as point meshes.
#include "tests/doubles/job_fixture.h"

namespace loftbay::doubles {
namespace {

class PointShape : public JobTest {
 protected:
  PointShape() { convert::ignorePoints = false; }
  void convertShape(Shape& shape, bool optimize) {
    toolkit().root = &product.part("cloud", {&shape});
    EXPECT_TRUE(convert(optimize));
  }
};

TEST_F(PointShape, FourPointsGiveCountFourInAllThreeValueCalls) {
  convertShape(product.countedSets(JtkEntity::JtkPOINTSET, {3, 1}), true);
  EXPECT_EQ(sceneLines("setValues"),
            "setValues<float>(#4, 4: 0 0 10, 1 0.5 9, 2 1 8, 3 1.5 7)\n"
            "setValues<unsigned int>(#5, 4: 0 1 2 3)\n"
            "setValues<unsigned int>(#6, 4: 1 1 1 1)\n");
  EXPECT_EQ(sceneLines("setMeshType"), "setMeshType(#3, Points)\n");
}

TEST_F(PointShape, PointsThatCoincideAllStayWithOptimizeOnOrOff) {
  for (const bool optimize : {true, false}) {
    resetScene();
    convertShape(product.points({{1, 1, 1, 1, 1, 1}}), optimize);
    EXPECT_EQ(sceneLines("setValues<float>"), "setValues<float>(#4, 2: 1 1 1, 1 1 1)\n");
    EXPECT_EQ(logLines("Optimize"), "");
  }
}

TEST_F(PointShape, SetsWithoutPointsGiveAMeshWithEmptyArrays) {
  convertShape(product.countedSets(JtkEntity::JtkPOINTSET, {0, 0}), true);
  EXPECT_EQ(sceneLines("setValues"),
            "setValues<float>(#4, 0:)\n"
            "setValues<unsigned int>(#5, 0:)\n"
            "setValues<unsigned int>(#6, 0:)\n");
}

TEST_F(PointShape, TheSetCountIsAskedForAgainAfterEverySet) {
  auto& shape = product.countedSets(JtkEntity::JtkPOINTSET, {2, 3});
  shape.first_counts = {1, 1, 1};  // to both writers, and before the first set
  convertShape(shape, false);
  EXPECT_EQ(logLines("No of Prims"), "obJt2Zix::WritePointElements(): No of Prims = 1\n");
  EXPECT_EQ(logLines("Coord Size"), "obJt2Zix::WritePointElements(): Coord Size  = 5\n");
}

TEST_F(PointShape, LogsCoordinatesAndColoursButNoNormals) {
  auto& shape = product.points({{1, 1, 1}});
  shape.sets[0].colors = {1, 0, 0};
  shape.sets[0].normals = {0, 0, 1};
  convertShape(shape, false);
  EXPECT_EQ(logLines("Size"),
            "obJt2Zix::WritePointElements(): Coord Size  = 1\n"
            "obJt2Zix::WritePointElements(): Color Size  = 1\n");
}

TEST_F(PointShape, WithoutSetsNothingIsMade) {
  convertShape(product.points({}), false);
  EXPECT_EQ(logLines("WritePointElements"),
            "obJt2Zix::WritePointElements():Start\n"
            "obJt2Zix::WritePointElements(): Shape  Name = cloud\n"
            "obJt2Zix::WritePointElements(): No of Prims = 0\n"
            "obJt2Zix::WritePointElements():End - No. of Prims is not valid\n");
}

}  // namespace
}  // namespace loftbay::doubles
