// Triangle strips as triangle meshes.
#include <gmock/gmock.h>

#include "diag/memory_report.h"
#include "geometry/strips.h"
#include "tests/doubles/job_fixture.h"

namespace loftbay::doubles {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

geometry::RawVector<std::uint32_t> triangles(const std::vector<std::int32_t>& lengths) {
  return geometry::trianglesOfStrips(lengths);
}
geometry::RawVector<std::uint32_t> triangles(const std::vector<std::int32_t>& lengths,
                                             const std::vector<std::uint32_t>& vertex_of) {
  return geometry::trianglesOfStrips(lengths, vertex_of);
}

TEST(Strips, OfThreeVerticesIsOneTriangleThatBeginsWithTheNewest) {
  EXPECT_THAT(triangles({3}), ElementsAre(2, 0, 1));
}

TEST(Strips, OfFiveVerticesAlternates) {
  EXPECT_THAT(triangles({5}), ElementsAre(2, 0, 1, 3, 2, 1, 4, 2, 3));
}

TEST(Strips, TwoOfFourVertices) {
  EXPECT_THAT(triangles({4, 4}), ElementsAre(2, 0, 1, 3, 2, 1, 6, 4, 5, 7, 6, 5));
}

TEST(Strips, OfTwoVerticesMakesNothingAndMovesOnByTwo) {
  EXPECT_THAT(triangles({2, 3}), ElementsAre(4, 2, 3));
}

TEST(Strips, OfOneVertexMovesOnByTwoAsWell) { EXPECT_THAT(triangles({1, 3}), ElementsAre(4, 2, 3)); }

TEST(Strips, WithoutAnyIsEmpty) {
  EXPECT_THAT(triangles({}), IsEmpty());
  EXPECT_THAT(triangles({2}), IsEmpty());
  EXPECT_THAT(triangles({-1}), IsEmpty());
}

TEST(Strips, OfMergedVerticesHaveTheirNewNumbers) {
  EXPECT_THAT(triangles({5}, {10, 11, 12, 13, 14}), ElementsAre(12, 10, 11, 13, 12, 11, 14, 12, 13));
  EXPECT_THAT(triangles({3, 4}, {7, 8, 9, 8, 9, 0, 7}), ElementsAre(9, 7, 8, 0, 8, 9, 7, 0, 9));
}

// Strips of one vertex shift the next ones, so that these may end behind the last vertex.
TEST(Strips, KeepTheNumbersOfVerticesThatAreNotThere) {
  EXPECT_THAT(triangles({1, 3}, {5, 5, 6, 7}), ElementsAre(4, 6, 7));
  EXPECT_THAT(triangles({1, 3, 3}, {9, 9, 9}), ElementsAre(4, 9, 3, 7, 5, 6));
}

class SurfaceShape : public JobTest {
 protected:
  void convertShape(Shape& shape, bool optimize = false) {
    toolkit().root = &product.part("p", {&shape});
    EXPECT_TRUE(convert(optimize));
  }
  std::string values() { return sceneLines("setValues<unsigned int>"); }
};

TEST_F(SurfaceShape, TwoStripsOfFourGiveTwelveIndicesAndFourLengths) {
  convertShape(product.countedSets(JtkEntity::JtkTRISTRIPSET, {4, 4}));
  EXPECT_EQ(values(),
            "setValues<unsigned int>(#5, 12: 2 0 1 3 2 1 6 4 5 7 6 5)\n"
            "setValues<unsigned int>(#6, 4: 3 3 3 3)\n");
  EXPECT_EQ(sceneLines("setMeshType"), "setMeshType(#3, Triangles)\n");
}

// Index count and triangle count are kept separately: 4 - 2 * 2 lengths for one triangle made.
TEST_F(SurfaceShape, AStripOfOneVertexShiftsTheNextAndKeepsBothFigures) {
  convertShape(product.countedSets(JtkEntity::JtkTRISTRIPSET, {1, 3}));
  EXPECT_EQ(values(),
            "setValues<unsigned int>(#5, 3: 4 2 3)\n"
            "setValues<unsigned int>(#6, 0:)\n");
}

TEST_F(SurfaceShape, AnEmptySetCountsAsAStripButHasNoLength) {
  auto& shape = product.countedSets(JtkEntity::JtkTRISTRIPSET, {4, 0, 4});
  shape.sets[1].normals = {0, 0, 1};  // handed out although the set is passed over
  convertShape(shape);
  EXPECT_EQ(values(),
            "setValues<unsigned int>(#5, 12: 2 0 1 3 2 1 6 4 5 7 6 5)\n"
            "setValues<unsigned int>(#6, 2: 3 3)\n");
  EXPECT_EQ(logLines("No of Prims"), "obJt2Zix::WriteShape(): No of Prims = 3\n");
}

// Only a count of 0 is skipped.
TEST_F(SurfaceShape, ANegativeVertexCountIsAStripThatMakesNothingAndMovesOnByTwo) {
  auto& shape = product.countedSets(JtkEntity::JtkTRISTRIPSET, {3, 0, 3});
  shape.sets[1].claimed_vertices = -1;
  convertShape(shape);
  EXPECT_EQ(values(),
            "setValues<unsigned int>(#5, 6: 2 0 1 7 5 6)\n"
            "setValues<unsigned int>(#6, 0:)\n");
}

// The count is asked for again after every set; the lengths keep to the first answer.
TEST_F(SurfaceShape, ASetThatAppearsWhileTheShapeIsReadIsRead) {
  auto& shape = product.countedSets(JtkEntity::JtkTRISTRIPSET, {3, 3, 4});
  shape.first_counts = {2, 2, 2};
  convertShape(shape);
  EXPECT_EQ(logLines("No of Prims"), "obJt2Zix::WriteShape(): No of Prims = 2\n");
  EXPECT_EQ(logLines("Coord Size"), "obJt2Zix::WriteShape(): Coord Size  = 10\n");
  EXPECT_EQ(values(),
            "setValues<unsigned int>(#5, 6: 2 0 1 5 3 4)\n"
            "setValues<unsigned int>(#6, 6: 3 3 3 3 3 3)\n");
}

TEST_F(SurfaceShape, ASetThatIsGoneWhileTheShapeIsReadIsNotRead) {
  auto& shape = product.countedSets(JtkEntity::JtkTRISTRIPSET, {3, 3, 4});
  shape.first_counts = {3, 3};
  shape.claimed_sets = 1;
  convertShape(shape);
  EXPECT_EQ(logLines("Coord Size"), "obJt2Zix::WriteShape(): Coord Size  = 3\n");
}

TEST_F(SurfaceShape, ANegativeTriangleCountGivesNoLengths) {
  convertShape(product.countedSets(JtkEntity::JtkTRISTRIPSET, {1, 1, 1}));
  EXPECT_EQ(values(), "setValues<unsigned int>(#5, 0:)\nsetValues<unsigned int>(#6, 0:)\n");
}

TEST_F(SurfaceShape, OptimizeLogsNoNormalsAndMergesWhatStripsShare) {
  convertShape(product.strips({{0, 0, 0, 1, 0, 0, 0, 1, 0}, {1, 0, 0, 0, 1, 0, 1, 1, 0}}), true);
  EXPECT_EQ(logLines("Size"),
            "obJt2Zix::WriteShape(): Coord Size = 6\n"
            "obJt2Zix::WriteShape(): Coord Size after RDV = 4\n"
            "obJt2Zix::WriteShape(): Color Size = 0\n"
            "obJt2Zix::WriteShape(): Color Size after RDV = 0\n");
  EXPECT_EQ(values(),
            "setValues<unsigned int>(#5, 6: 2 0 1 3 1 2)\n"
            "setValues<unsigned int>(#6, 2: 3 3)\n");
  EXPECT_EQ(sceneLines("setValues<float>"), "setValues<float>(#4, 4: 0 0 0, 1 0 0, 0 1 0, 1 1 0)\n");
}

TEST_F(SurfaceShape, WithoutOptimizeVerticesStayAndNormalsAreCounted) {
  auto& shape = product.strips({{0, 0, 0, 0, 0, 0, 0, 0, 0}});
  shape.sets[0].normals = {0, 0, 1, 0, 0, 1};
  shape.sets[0].colors = {1, 1, 1};
  convertShape(shape);
  EXPECT_EQ(logLines("Size"),
            "obJt2Zix::WriteShape(): Coord Size  = 3\n"
            "obJt2Zix::WriteShape(): Normal Size = 2\n"
            "obJt2Zix::WriteShape(): Color Size  = 1\n");
  EXPECT_EQ(sceneLines("setValues<float>"), "setValues<float>(#4, 3: 0 0 0, 0 0 0, 0 0 0)\n");
}

TEST_F(SurfaceShape, WithoutSetsOnlyFourLinesAndNoObject) {
  convertShape(product.strips({}));
  EXPECT_EQ(logLines("WriteShape"),
            "obJt2Zix::WriteShape():Start\n"
            "obJt2Zix::WriteShape(): Shape  Name = p\n"
            "obJt2Zix::WriteShape(): No of Prims = 0\n"
            "obJt2Zix::WriteShape():End - No. of Prims is not valid\n");
  EXPECT_EQ(sceneLines("createObject"), "#1 = createObject(Node)\n");
}

TEST_F(SurfaceShape, AnIgnoredPolylineSetLeavesTheStartLineAlone) {
  convertShape(product.polylines({{0, 0, 0, 1, 0, 0}}));
  EXPECT_EQ(logLines("Write"), "obJt2Zix::WriteShape():Start\n" + logLines("WriteZix"));
  EXPECT_EQ(logLines("Elements"), "");
}

TEST_F(SurfaceShape, AnIgnoredPointSetLeavesTheStartLineAlone) {
  convertShape(product.points({{0, 0, 0}}));
  EXPECT_EQ(logLines("WriteShape"), "obJt2Zix::WriteShape():Start\n");
  EXPECT_EQ(logLines("Elements"), "");
}

TEST_F(SurfaceShape, LinesAndPointsAreHandedOnWithoutFurtherLinesHere) {
  convert::ignoreLines = false;
  convert::ignorePoints = false;
  toolkit().root =
      &product.part("p", {&product.polylines({{0, 0, 0, 1, 0, 0}}), &product.points({{0, 0, 0}})});
  EXPECT_TRUE(convert());
  EXPECT_EQ(logLines("WriteShape"), "obJt2Zix::WriteShape():Start\nobJt2Zix::WriteShape():Start\n");
  EXPECT_EQ(logLines("Elements():Start"),
            "obJt2Zix::Write2DElements():Start\nobJt2Zix::WritePointElements():Start\n");
  EXPECT_EQ(sceneLines("setMeshType"), "setMeshType(#3, Lines)\nsetMeshType(#8, Points)\n");
}

TEST_F(SurfaceShape, EveryTypeButPointsAndPolylinesTakesTheSurfacePath) {
  for (const int type : {25, 19, 20, 21, 24, 84, 85, 86, 87, 88, 1, 26, 99}) {
    resetScene();
    convertShape(product.countedSets(static_cast<JtkEntity::TypeID>(type), {3}));
    EXPECT_EQ(sceneLines("setMeshType"), "setMeshType(#3, Triangles)\n") << type;
  }
}

TEST_F(SurfaceShape, WithoutAMaterialOfItsOwnItWearsTheParts) {
  auto& part = product.part("p", {&product.countedSets(JtkEntity::JtkTRISTRIPSET, {3})});
  part.material = &product.material();
  toolkit().root = &part;
  EXPECT_TRUE(convert());
  EXPECT_EQ(sceneLines("setMaterial"), "setMaterial(#3, #7)\n");
}

TEST_F(SurfaceShape, ItsOwnMaterialGoesBeforeTheParts) {
  auto& shape = product.countedSets(JtkEntity::JtkTRISTRIPSET, {3});
  shape.material = &product.material();
  shape.material->diffuse = {1, 0, 0, 1};
  auto& part = product.part("p", {&shape});
  part.material = &product.material();
  toolkit().root = &part;
  EXPECT_TRUE(convert());
  EXPECT_EQ(logLines("diffuseColor"), "obJt2Zix::WriteMaterial():diffuseColor : 1 0 0\n");
}

TEST_F(SurfaceShape, WithNoMaterialAtAllNoneIsSetAndTheLineStillWritten) {
  convertShape(product.countedSets(JtkEntity::JtkTRISTRIPSET, {3}));
  EXPECT_EQ(sceneLines("aterial"), "");
  EXPECT_EQ(logLines("material"), "obJt2Zix::WriteShape():ZIX material is set\n");
}

TEST_F(SurfaceShape, AFailingMemoryQueryLeavesTheLinesBare) {
  diag::setMemoryQuery([] { return std::optional<host::MemoryCounters>(); });
  convertShape(product.countedSets(JtkEntity::JtkTRISTRIPSET, {3}));
  EXPECT_EQ(logLines("WriteShape():b4"), "obJt2Zix::WriteShape():b4 constructing ZIX Shape:Memory Usage: \n");
}

// Arrays that the toolkit promises by their count but does not give.
TEST_F(SurfaceShape, AMissingVertexArrayGivesIndicesWithoutPointsAndNoFault) {
  auto& shape = product.strips({{}});
  shape.sets[0].claimed_vertices = 3;
  convertShape(shape, true);
  EXPECT_EQ(sceneLines("setValues<float>"), "setValues<float>(#4, 0:)\n");
  EXPECT_EQ(values(), "setValues<unsigned int>(#5, 3: 2 0 1)\nsetValues<unsigned int>(#6, 0:)\n");
}

TEST_F(SurfaceShape, AnEmptyParentStackIsOutOfRange) {
  bool success = false;
  convert::obJt2Zix job("part.jt", "o.zix", &success, true);
  job.parentStack.clear();
  auto& shape = product.countedSets(JtkEntity::JtkTRISTRIPSET, {3});
  EXPECT_THROW(job.WriteShape(&shape, "p"), std::out_of_range);
}

}  // namespace
}  // namespace loftbay::doubles
