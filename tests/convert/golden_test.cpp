// Complete sequences: every scene call with its arguments, every call that changes the toolkit's state, and
// the whole log, for small trees that together pass through every stage of the job. The expected texts lie
// in golden/, one file per tree.
#include "tests/doubles/job_fixture.h"

namespace loftbay::doubles {
namespace {

class GoldenTest : public JobTest {
 protected:
  Shape& triangle(float at) { return product.strips({{at, 0, 0, at + 1, 0, 0, at, 1, 0}}); }
};

TEST_F(GoldenTest, EmptyAssembly) {
  toolkit().root = &product.assembly("root");
  EXPECT_TRUE(convert());
  expectGolden("empty_assembly");
}

TEST_F(GoldenTest, NestedAssembliesWithTransformsAtEveryLevel) {
  auto& bolt = product.part("bolt", {&triangle(0)});
  bolt.transform = translation(1, 2, 3);
  auto& nut = product.part("nut", {&triangle(10)});
  auto& inner = product.assembly("inner", {&bolt, &nut});
  inner.transform = Elements{0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  auto& root = product.assembly("root", {&inner, &product.part("nut washer", {&triangle(20)})});
  root.transform = Elements{2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 10, 20, 30, 1};
  toolkit().root = &root;
  EXPECT_TRUE(convert());
  expectGolden("nested_assemblies");
}

TEST_F(GoldenTest, InstancesOfPartsAndOfAssemblies) {
  auto& screw = product.part("screw", {&triangle(0), nullptr, &triangle(1)});
  screw.transform = translation(9, 9, 9);
  auto& sub = product.assembly("sub", {&screw, &product.instance("inner screw", screw)});
  sub.transform = translation(5, 5, 5);
  auto& first = product.instance("first", sub);
  first.transform = translation(100, 0, 0);
  auto& second = product.instance("second", sub);
  auto& single = product.instance("single", screw);
  single.transform = Elements{-1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  toolkit().root = &product.assembly("root", {&first, &second, &single});
  EXPECT_TRUE(convert());
  expectGolden("instances");
}

TEST_F(GoldenTest, MaterialsAtEveryLevelAndPartsOfTheSameName) {
  auto& of_shape = product.material();
  of_shape.diffuse = {1, 0, 0, 1};
  auto& of_part = product.material();
  of_part.diffuse = {0, 1, 0, 0.25F};
  auto& of_instanced_part = product.material();
  of_instanced_part.diffuse = {0, 0, 1, 1};

  auto& shape = triangle(0);
  shape.material = &of_shape;
  auto& own = product.part("panel", {&shape, &triangle(1)});
  own.material = &of_part;
  auto& same_name = product.part("panel", {&triangle(77)});
  auto& plain = product.part("plain", {&triangle(3)});
  auto& instanced = product.part("instanced", {&triangle(4)});
  instanced.material = &of_instanced_part;
  auto& of_assembly = product.material();
  auto& inner = product.assembly("inner", {&plain});
  inner.material = &of_assembly;
  toolkit().root =
      &product.assembly("root", {&own, &same_name, &product.instance("copy", instanced), &inner, &plain});
  EXPECT_TRUE(convert());
  expectGolden("materials");
}

// Strips of every awkward length, with all arrays that a set can have.
TEST_F(GoldenTest, StripsAndTheirArraysWithOptimizeOff) {
  auto& shape = product.countedSets(JtkEntity::JtkTRISTRIPSET, {3, 2, 5, 4, 6});
  shape.sets[0].normals = {0, 0, 1, 0, 0, 1, 0, 0, 1};
  shape.sets[0].colors = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  shape.sets[2].normals = {0, 1, 0};
  shape.sets[2].texture_coordinates = {0.5F, 0.5F, 0};
  toolkit().root = &product.part("fan", {&shape});
  EXPECT_TRUE(convert(false));
  expectGolden("strips_plain");
}

TEST_F(GoldenTest, StripsAndTheirArraysWithOptimizeOn) {
  auto& shape = product.strips({{0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0}, {1, 0, 0, 2, 0, 0, 1, 1, 0, 2, 1, 0}});
  shape.sets[0].colors = {1, 0, 0, 0, 1, 0, 0, 0, 1, 1, 1, 1};
  shape.sets[1].colors = {1, 0, 0, 0, 1, 0, 0, 0, 1, 1, 1, 1};
  shape.sets[0].normals = {0, 0, 1};
  shape.sets[1].texture_coordinates = {0, 0, 0};
  toolkit().root = &product.part("fan", {&shape});
  EXPECT_TRUE(convert(true));
  expectGolden("strips_optimized");
}

TEST_F(GoldenTest, LinesAndPointsWithOptimizeOnAndOff) {
  convert::ignoreLines = false;
  convert::ignorePoints = false;
  auto& material = product.material();
  auto& lines = product.polylines({{0, 0, 0, 1, 0, 0, 2, 0, 0}, {2, 0, 0, 3, 0, 0}});
  lines.sets[0].colors = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  lines.sets[1].colors = {1, 0, 0, 0, 1, 0};
  lines.sets[1].normals = {0, 0, 1};
  lines.material = &material;
  auto& points = product.points({{0, 0, 0, 1, 1, 1}, {0, 0, 0}});
  points.sets[0].colors = {1, 1, 1, 1, 1, 1};
  points.sets[1].texture_coordinates = {0, 0, 0};
  points.material = &material;
  toolkit().root = &product.part("wire", {&lines, &points});
  EXPECT_TRUE(convert(true));
  expectGolden("lines_and_points_optimized");
}

TEST_F(GoldenTest, LinesAndPointsWithoutOptimize) {
  convert::ignoreLines = false;
  convert::ignorePoints = false;
  auto& lines = product.polylines({{0, 0, 0, 1, 0, 0, 2, 0, 0}, {2, 0, 0, 3, 0, 0}});
  lines.sets[0].colors = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  toolkit().root = &product.part("wire", {&lines, &product.points({{0, 0, 0, 1, 1, 1}})});
  EXPECT_TRUE(convert(false));
  expectGolden("lines_and_points_plain");
}

TEST_F(GoldenTest, PartsTessellatedOnLoad) {
  auto& block = product.tessellatedPart(
      "block", {&product.countedSets(JtkEntity::JtkTRISTRIPSET, {4, 3, 2}), &triangle(50)});
  block.transform = translation(0, 0, 7);
  auto& painted = product.tessellatedPart("painted", {&triangle(0)});
  painted.material = &product.material();
  auto& failing = product.tessellatedPart("failing", {});
  failing.tessellation_result = 0;
  failing.results = nullptr;
  auto& throwing = product.tessellatedPart("throwing", {});
  throwing.tessellation_throws = true;
  toolkit().root = &product.assembly(
      "root", {&block, &painted, &failing, &throwing, &product.tessellatedPart("nothing", {nullptr}),
               &product.tessellatedPart("empty", {})});
  EXPECT_TRUE(convert());
  expectGolden("tessellated_parts");
}

TEST_F(GoldenTest, EveryShapeThatIsLeftOut) {
  toolkit().root = &product.part("bits", {&product.polylines({{0, 0, 0, 1, 0, 0}}),
                                          &product.points({{0, 0, 0}}), &product.strips({}), nullptr});
  EXPECT_TRUE(convert());
  expectGolden("left_out");
}

TEST_F(GoldenTest, LineAndPointShapesWithoutSets) {
  convert::ignoreLines = false;
  convert::ignorePoints = false;
  toolkit().root = &product.part("bits", {&product.polylines({}), &product.points({})});
  EXPECT_TRUE(convert());
  expectGolden("no_sets");
}

TEST_F(GoldenTest, FileThatDoesNotLoad) {
  toolkit().version_readable = false;
  EXPECT_TRUE(convert());
  expectGolden("no_file");
}

TEST_F(GoldenTest, ToolkitWithoutImporter) {
  toolkit().importers = 0;
  EXPECT_FALSE(convert());
  expectGolden("no_toolkit");
}

TEST_F(GoldenTest, ToolkitWithoutASecondImporter) {
  toolkit().importers = 1;
  EXPECT_TRUE(convert());
  expectGolden("no_second_importer");
}

TEST_F(GoldenTest, NoTessellationParameters) {
  toolkit().tess_params_throw = true;
  auto& block = product.tessellatedPart("block", {&triangle(0)});
  block.transform = translation(0, 0, 7);
  toolkit().root = &product.assembly("root", {&block, &product.part("after", {&triangle(1)})});
  EXPECT_TRUE(convert());
  expectGolden("no_parameters");
}

TEST_F(GoldenTest, SceneThatCannotBeSaved) {
  toolkit().root = &product.assembly("root");
  letSceneThrow("saveTo");
  letSceneThrow("closeFile");
  EXPECT_TRUE(convert());
  expectGolden("no_save");
}

}  // namespace
}  // namespace loftbay::doubles
