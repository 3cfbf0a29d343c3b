// Polylines as line meshes.
#include "tests/doubles/job_fixture.h"

namespace loftbay::doubles {
namespace {

class LineShape : public JobTest {
 protected:
  LineShape() { convert::ignoreLines = false; }
  void convertShape(Shape& shape, bool optimize) {
    toolkit().root = &product.part("wire", {&shape});
    EXPECT_TRUE(convert(optimize));
  }
  std::string values() { return sceneLines("setValues<unsigned int>"); }
};

TEST_F(LineShape, TwoPolylinesOfThreeAndTwoVertices) {
  convertShape(product.countedSets(JtkEntity::JtkLINESTRIPSET, {3, 2}), false);
  EXPECT_EQ(values(),
            "setValues<unsigned int>(#5, 5: 0 1 2 3 4)\n"
            "setValues<unsigned int>(#6, 2: 3 2)\n");
  EXPECT_EQ(sceneLines("setMeshType"), "setMeshType(#3, Lines)\n");
}

TEST_F(LineShape, OptimizeMergesASharedEndAndKeepsTheIndexCount) {
  convertShape(product.polylines({{0, 0, 0, 1, 0, 0, 2, 0, 0}, {2, 0, 0, 3, 0, 0}}), true);
  EXPECT_EQ(values(),
            "setValues<unsigned int>(#5, 5: 0 1 2 2 3)\n"
            "setValues<unsigned int>(#6, 2: 3 2)\n");
  EXPECT_EQ(sceneLines("setValues<float>"), "setValues<float>(#4, 4: 0 0 0, 1 0 0, 2 0 0, 3 0 0)\n");
}

TEST_F(LineShape, EmptySetsLeaveLengthsOfZeroAtTheEnd) {
  convertShape(product.countedSets(JtkEntity::JtkLINESTRIPSET, {0, 3, 2}), false);
  EXPECT_EQ(values(),
            "setValues<unsigned int>(#5, 5: 0 1 2 3 4)\n"
            "setValues<unsigned int>(#6, 3: 3 2 0)\n");
}

TEST_F(LineShape, ANegativeVertexCountIsALengthAsItIs) {
  auto& shape = product.countedSets(JtkEntity::JtkLINESTRIPSET, {2, 0, 3});
  shape.sets[1].claimed_vertices = -1;
  convertShape(shape, false);
  EXPECT_EQ(values(),
            "setValues<unsigned int>(#5, 5: 0 1 2 3 4)\n"
            "setValues<unsigned int>(#6, 3: 2 4294967295 3)\n");
}

TEST_F(LineShape, TheSetCountIsAskedForAgainAfterEverySet) {
  auto& shape = product.countedSets(JtkEntity::JtkLINESTRIPSET, {2, 3, 4});
  shape.first_counts = {2, 2, 2, 2};  // to both writers, before the first and after it
  convertShape(shape, false);
  EXPECT_EQ(logLines("Coord Size"), "obJt2Zix::Write2DElements(): Coord Size  = 9\n");
  EXPECT_EQ(sceneLines("setValues<unsigned int>(#6"), "setValues<unsigned int>(#6, 2: 2 3)\n");
}

TEST_F(LineShape, WithoutOptimizeTheNormalSizeIsZeroWhateverTheSetsHold) {
  auto& shape = product.countedSets(JtkEntity::JtkLINESTRIPSET, {2});
  shape.sets[0].normals = {0, 0, 1, 0, 0, 1};
  shape.sets[0].colors = {1, 0, 0, 0, 1, 0};
  shape.sets[0].texture_coordinates = {0, 0, 0};
  convertShape(shape, false);
  EXPECT_EQ(logLines("Size"),
            "obJt2Zix::Write2DElements(): Coord Size  = 2\n"
            "obJt2Zix::Write2DElements(): Normal Size = 0\n"
            "obJt2Zix::Write2DElements(): Color Size  = 2\n");
}

TEST_F(LineShape, OptimizeLogsColoursBeforeAndAfter) {
  auto& shape = product.polylines({{0, 0, 0, 1, 0, 0, 0, 0, 0}});
  shape.sets[0].colors = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  convertShape(shape, true);
  EXPECT_EQ(logLines("Size"),
            "obJt2Zix::Write2DElements(): Coord Size = 3\n"
            "obJt2Zix::Write2DElements(): Coord Size after RDV = 2\n"
            "obJt2Zix::Write2DElements(): Color Size = 3\n"
            "obJt2Zix::Write2DElements(): Color Size after RDV = 2\n");
}

TEST_F(LineShape, WithoutSetsNothingIsMade) {
  convertShape(product.polylines({}), true);
  EXPECT_EQ(logLines("Write2DElements"),
            "obJt2Zix::Write2DElements():Start\n"
            "obJt2Zix::Write2DElements(): Shape  Name = wire\n"
            "obJt2Zix::Write2DElements(): No of Prims = 0\n"
            "obJt2Zix::Write2DElements():End - No. of Prims is not valid\n");
  EXPECT_EQ(sceneLines("createObject"), "#1 = createObject(Node)\n");
}

}  // namespace
}  // namespace loftbay::doubles
