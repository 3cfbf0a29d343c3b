// How nodes become objects; each test checks one property. Complete sequences are in golden_test.cpp.
#include <gmock/gmock.h>

#include <stdexcept>

#include "tests/doubles/job_fixture.h"

namespace loftbay::doubles {
namespace {

class Traversal : public JobTest {
 protected:
  Shape& triangle(float at = 0) { return product.strips({{at, 0, 0, at + 1, 0, 0, at, 1, 0}}); }
  bool convertTree(JtkEntity& root) {
    toolkit().root = &root;
    return convert();
  }
};

TEST_F(Traversal, OfTwoPartsTheTransformedOneGetsANodeAndATransform) {
  auto& moved = product.part("moved", {&triangle()});
  moved.transform = translation(1, 0, 0);
  convertTree(product.assembly("pair", {&moved, &product.part("fixed", {&triangle(5)})}));
  EXPECT_EQ(sceneLines("createObject(Node)"),
            "#1 = createObject(Node)\n"    // root
            "#2 = createObject(Node)\n"    // pair
            "#3 = createObject(Node)\n");  // moved
  EXPECT_EQ(sceneLines("createObject(Transform)"), "#4 = createObject(Transform)\n");
  EXPECT_EQ(sceneLines("createObject(Shape)"), "#5 = createObject(Shape)\n#10 = createObject(Shape)\n");
  EXPECT_EQ(sceneLines("addComponent"),
            "addComponent(#1, #2)\n"
            "addComponent(#2, #3, #4)\n"
            "addComponent(#3, #5)\n"
            "addComponent(#5, #6)\n"
            "addComponent(#2, #10)\n"  // the fixed part's shape, right under the assembly
            "addComponent(#10, #11)\n");
}

TEST_F(Traversal, PartsOfOneNameGetTheFirstOnesGeometryAndMaterial) {
  auto& first = product.part("plate", {&triangle(0)});
  first.material = &product.material();
  first.material->diffuse = {1, 0, 0, 1};
  auto& second = product.part("plate", {&triangle(99)});
  second.material = &product.material();
  convertTree(product.assembly("root", {&first, &second}));
  EXPECT_THAT(sceneLines("setValues<float>"), testing::Not(testing::HasSubstr("99")));
  EXPECT_EQ(logLines("diffuseColor"),
            "obJt2Zix::WriteMaterial():diffuseColor : 1 0 0\n"
            "obJt2Zix::WriteMaterial():diffuseColor : 1 0 0\n");
  EXPECT_EQ(sceneLines("setName(#9"), "setName(#9, \"plate_orb_2\")\n");
}

TEST_F(Traversal, ALaterPartOfTheNameKeepsItsOwnTransform) {
  auto& first = product.part("plate", {&triangle(0)});
  auto& second = product.part("plate", {&triangle(99)});
  second.transform = translation(4, 5, 6);
  convertTree(product.assembly("root", {&first, &second}));
  EXPECT_EQ(sceneLines("setTranslation"), "setTranslation(#9, 4, 5, 6)\n");
}

TEST_F(Traversal, APartWithShapesInLevel1AloneGivesNothing) {
  auto& part = product.part("coarse");
  part.levels = {{}, {&triangle()}};
  convertTree(part);
  EXPECT_EQ(sceneLines("createObject"), "#1 = createObject(Node)\n");
  EXPECT_EQ(logLines("partNumShape"),
            "obJt2Zix::ReadJtPart(): partNumShapeLODs : 2\n"
            "obJt2Zix::ReadJtPart(): partNumShapes : 0\n");
}

TEST_F(Traversal, OnlyTheFirstLevelOfDetailIsConverted) {
  auto& part = product.part("bolt");
  part.levels = {{&triangle(1)}, {&triangle(2)}};
  convertTree(part);
  EXPECT_EQ(sceneLines("setValues<float>"), "setValues<float>(#4, 3: 1 0 0, 2 0 0, 1 1 0)\n");
}

TEST_F(Traversal, APartWithoutLevelsLogsTheirNumberAlone) {
  convertTree(product.part("empty"));
  EXPECT_EQ(logLines("partNumShape"), "obJt2Zix::ReadJtPart(): partNumShapeLODs : 0\n");
  EXPECT_EQ(logLines("ReadJtPart():End"), "obJt2Zix::ReadJtPart():End\n");
}

TEST_F(Traversal, AnInstancedPartGivesItsShapesUnderTheInstanceAndItsName) {
  auto& part = product.part("bolt");
  part.levels = {{&triangle(1)}, {&triangle(2)}};
  convertTree(product.assembly("root", {&product.instance("bolt 1", part)}));
  EXPECT_EQ(sceneLines("setName(#3"), "setName(#3, \"bolt 1\")\n");
  EXPECT_EQ(sceneLines("createObject(Shape)"), "#4 = createObject(Shape)\n");
  EXPECT_EQ(sceneLines("setName(#4"), "setName(#4, \"bolt 1_orb_2\")\n");
  EXPECT_EQ(sceneLines("addComponent(#3"), "addComponent(#3, #4)\n");
  EXPECT_EQ(sceneLines("setValues<float>"), "setValues<float>(#6, 3: 1 0 0, 2 0 0, 1 1 0)\n");
}

TEST_F(Traversal, AnInstancedPartIsNotLookedUpByNameNorPlacedNorTessellated) {
  auto& first = product.part("bolt", {&triangle(1)});
  auto& other = product.part("bolt", {&triangle(2)});
  other.transform = translation(3, 3, 3);
  auto& block = product.tessellatedPart("block", {&triangle(4)});
  convertTree(
      product.assembly("root", {&first, &product.instance("i", other), &product.instance("j", block)}));
  EXPECT_THAT(sceneLines("setValues<float>"), testing::HasSubstr("2 0 0, 3 0 0, 2 1 0"));
  EXPECT_EQ(sceneLines("createObject(Transform)"), "");
  EXPECT_EQ(linesWith(toolkitCalls(), "tessellate("), "");
  EXPECT_EQ(logLines("ReadJtInstance():End"),
            "obJt2Zix::ReadJtInstance():End\nobJt2Zix::ReadJtInstance():End\n");
}

TEST_F(Traversal, AnInstanceWhosePartHasNoShapesInLevel0StillLogsItsEnd) {
  auto& part = product.part("coarse");
  part.levels = {{}, {&triangle()}};
  convertTree(product.assembly("root", {&product.instance("i", part)}));
  EXPECT_EQ(logLines("ReadJtInstance():End"), "obJt2Zix::ReadJtInstance():End\n");
  EXPECT_EQ(sceneLines("createObject(Shape)"), "");
}

TEST_F(Traversal, OfAnInstancedAssemblyTheInstancesTransformIsUsedAndItsOwnIgnored) {
  auto& sub = product.assembly("sub");
  sub.transform = translation(5, 5, 5);
  auto& instance = product.instance("copy", sub);
  instance.transform = translation(1, 2, 3);
  convertTree(product.assembly("root", {&instance}));
  EXPECT_EQ(sceneLines("setTranslation"), "setTranslation(#4, 1, 2, 3)\n");
  EXPECT_EQ(logLines("got Transformation"),
            "obJt2Zix::ReadJtInstance():Instance has got Transformation\n"
            "obJt2Zix::ReadJtAssembly():Assembly has got Transformation\n");
  EXPECT_EQ(sceneLines("addComponent"),
            "addComponent(#1, #2)\n"
            "addComponent(#2, #3, #4)\n"
            "addComponent(#3, #5)\n");
}

// The flag is cleared when the inner walk ends, not when the outer does.
TEST_F(Traversal, AfterAnInnerInstancedAssemblyTheOutersRestKeepsItsTransforms) {
  auto& before = product.assembly("before");
  before.transform = translation(1, 1, 1);
  auto& after = product.assembly("after");
  after.transform = translation(2, 2, 2);
  auto& leaf = product.assembly("leaf");
  auto& outer = product.assembly("outer", {&before, &product.instance("inner", leaf), &after});
  convertTree(product.assembly("root", {&product.instance("i", outer)}));
  EXPECT_EQ(sceneLines("setTranslation"), "setTranslation(#9, 2, 2, 2)\n");
  EXPECT_THAT(observer.notes,
              testing::Contains("1 assembly inside an instanced assembly lost its transformation: before"));
  EXPECT_EQ(count(observer.notes, "kept its transformation"), 1U);
}

TEST_F(Traversal, AfterAnInstancedAssemblyTransformsCountAgain) {
  auto& later = product.assembly("later");
  later.transform = translation(2, 2, 2);
  convertTree(product.assembly("root", {&product.instance("i", product.assembly("sub")), &later}));
  EXPECT_EQ(sceneLines("setTranslation"), "setTranslation(#6, 2, 2, 2)\n");
  EXPECT_EQ(count(observer.notes, "kept its transformation"), 0U);
}

TEST_F(Traversal, AnInstanceInsideAnInstancedAssemblyKeepsItsTransform) {
  auto& inner = product.instance("inner", product.part("bolt", {&triangle()}));
  inner.transform = translation(7, 8, 9);
  auto& sub = product.assembly("sub", {&inner});
  convertTree(product.assembly("root", {&product.instance("outer", sub)}));
  EXPECT_EQ(sceneLines("setTranslation"), "setTranslation(#6, 7, 8, 9)\n");
  EXPECT_EQ(sceneLines("addComponent(#4, #5"), "addComponent(#4, #5, #6)\n");
}

TEST_F(Traversal, AnIdentityIsATransformToo) {
  auto& part = product.part("p", {&triangle()});
  part.transform = kIdentity;
  convertTree(part);
  EXPECT_EQ(sceneLines("setScale"), "setScale(#3, 1, 1, 1)\n");
}

TEST_F(Traversal, WithoutTessellationParametersThePartStopsAndItsObjectStaysTheParent) {
  toolkit().tess_params_throw = true;
  auto& block = product.tessellatedPart("block", {&triangle()});
  block.transform = translation(1, 0, 0);
  convertTree(product.assembly("root", {&block, &product.part("next", {&triangle()})}));
  EXPECT_EQ(logLines("ULP - "), "obJt2Zix::ReadJtPart(): ULP - Start\n");
  EXPECT_EQ(logLines("ReadJtPart():End"), "obJt2Zix::ReadJtPart():End\n");  // that of the next part
  EXPECT_EQ(sceneLines("addComponent(#3, #5)"), "addComponent(#3, #5)\n");  // next's shape under block's node
  EXPECT_THAT(observer.losses,
              testing::ElementsAre("block: the part needs tessellation, and there are no parameters"));
}

TEST_F(Traversal, AFailedTessellationThatGivesAResultIsConvertedAndALoss) {
  auto& block = product.tessellatedPart("block", {&triangle()});
  block.tessellation_result = 7;
  convertTree(block);
  EXPECT_EQ(logLines("ULP - "),
            "obJt2Zix::ReadJtPart(): ULP - Start\n"
            "obJt2Zix::ReadJtPart(): ULP - Tessellation failed\n"
            "obJt2Zix::ReadJtPart(): ULP - Tessellation done\n"
            "obJt2Zix::ReadJtPart(): ULP - End\n");
  EXPECT_EQ(sceneLines("createObject(Shape)"), "#2 = createObject(Shape)\n");
  EXPECT_THAT(observer.losses, testing::ElementsAre("block: the part could not be tessellated"));
}

TEST_F(Traversal, AThrowingTessellationIsLoggedAndTheWalkGoesOn) {
  auto& block = product.tessellatedPart("block", {&triangle()});
  block.tessellation_throws = true;
  convertTree(product.assembly("root", {&block, &product.part("next", {&triangle()})}));
  EXPECT_EQ(logLines("ULP - "),
            "obJt2Zix::ReadJtPart(): ULP - Start\n"
            "obJt2Zix::ReadJtPart(): ULP - Tessellation failed - Exception is caught\n"
            "obJt2Zix::ReadJtPart(): ULP - Tessellation done\n");
  EXPECT_EQ(sceneLines("createObject(Shape)"), "#3 = createObject(Shape)\n");
  EXPECT_THAT(observer.losses, testing::ElementsAre("block: the part could not be tessellated"));
}

TEST_F(Traversal, APartThatIsLostForWantOfMemorySaysSo) {
  toolkit().memory_runs_out = true;
  auto& block = product.tessellatedPart("block", {&triangle()});
  block.tessellation_throws = true;
  convertTree(block);
  toolkit().tess_params_throw = true;
  convertTree(product.tessellatedPart("rod", {&triangle()}));
  EXPECT_THAT(
      observer.losses,
      testing::ElementsAre("block: the part could not be tessellated: out of memory",
                           "rod: the part needs tessellation, and there are no parameters: out of memory"));
}

TEST_F(Traversal, AnEmptyResultListAndANullElementAreSkipped) {
  convertTree(product.assembly(
      "root", {&product.tessellatedPart("a", {}), &product.tessellatedPart("b", {nullptr})}));
  EXPECT_EQ(logLines("ULP - End"), "");
  EXPECT_EQ(sceneLines("createObject(Shape)"), "");
  EXPECT_EQ(observer.losses.size(), 2U);
}

TEST_F(Traversal, ATessellatedPartsLevelShapesAreNotWritten) {
  auto& block = product.tessellatedPart("block", {&triangle(1)});
  block.shapes({&triangle(2)});
  convertTree(block);
  EXPECT_EQ(sceneLines("setValues<float>"), "setValues<float>(#4, 3: 1 0 0, 2 0 0, 1 1 0)\n");
  EXPECT_EQ(logLines("partNumShapeLODs"), "");
}

TEST_F(Traversal, HoldsTessellationResultsWhileTheyAreWritten) {
  convertTree(product.tessellatedPart("block", {&triangle()}));
  EXPECT_EQ(linesWith(toolkitCalls(), "of block"),
            "ref(results of block)\n"
            "ref(result 0 of block)\n"
            "unref(result 0 of block)\n"
            "unref(results of block)\n");
}

TEST_F(Traversal, DoesNotHoldAResultListThatCannotBeHeld) {
  auto& block = product.tessellatedPart("block", {&triangle()});
  block.results->type = JtkEntity::JtkENTITY;
  convertTree(block);
  EXPECT_EQ(linesWith(toolkitCalls(), "results of block"), "");
  EXPECT_EQ(sceneLines("createObject(Shape)"), "#2 = createObject(Shape)\n");
}

TEST_F(Traversal, NullShapesAreSkipped) {
  auto& part = product.part("p", {nullptr, &triangle(), nullptr});
  convertTree(product.assembly("root", {&part, &product.instance("i", part)}));
  EXPECT_EQ(logLines("partNumShapes"), "obJt2Zix::ReadJtPart(): partNumShapes : 3\n");
  EXPECT_EQ(count({sceneLines("createObject(Shape)")}, "#3"), 1U);
  EXPECT_EQ(logLines("WriteShape():Start"), "obJt2Zix::WriteShape():Start\nobJt2Zix::WriteShape():Start\n");
}

TEST_F(Traversal, ANodeOfAnotherKindIsPassedOver) {
  convertTree(product.assembly("root", {&product.other(), &product.part("p", {&triangle()})}));
  EXPECT_EQ(sceneLines("createObject(Node)"), "#1 = createObject(Node)\n#2 = createObject(Node)\n");
  EXPECT_EQ(sceneLines("addComponent(#2, #3)"), "addComponent(#2, #3)\n");
}

TEST_F(Traversal, AnInstanceOfSomethingElseGetsItsObjectAndNothingMore) {
  convertTree(product.assembly(
      "root", {&product.instance("odd", product.other()), &product.part("p", {&triangle()})}));
  EXPECT_EQ(logLines("Instance Type"), "");
  EXPECT_EQ(logLines("ReadJtInstance():End"), "obJt2Zix::ReadJtInstance():End\n");
  EXPECT_EQ(sceneLines("addComponent(#2, #4)"), "addComponent(#2, #4)\n");
}

TEST_F(Traversal, AnAssemblysMaterialIsAskedForAndNotUsed) {
  auto& root = product.assembly("root", {&product.part("p", {&triangle()})});
  root.material = &product.material();
  convertTree(root);
  EXPECT_EQ(root.material_queries, 1);
  EXPECT_EQ(sceneLines("setMaterial"), "");
}

// An assembly pushes no material, yet leaving it pops one: that of a part inside.
TEST_F(Traversal, LeavingAnAssemblyPopsOneMaterialOnly) {
  const auto colored = [this](const char* name, float red) -> Part& {
    auto& part = product.part(name, {&triangle()});
    part.material = &product.material();
    part.material->diffuse = {red, 0, 0, 1};
    return part;
  };
  auto& inner = product.assembly("inner", {&colored("a", 0.25F), &colored("b", 0.5F)});
  convertTree(product.assembly("root", {&inner, &product.part("plain", {&triangle()})}));
  EXPECT_EQ(logLines("diffuseColor"),
            "obJt2Zix::WriteMaterial():diffuseColor : 0.25 0 0\n"
            "obJt2Zix::WriteMaterial():diffuseColor : 0.5 0 0\n"
            "obJt2Zix::WriteMaterial():diffuseColor : 0.25 0 0\n");  // plain wears what a has left behind
}

TEST_F(Traversal, AnInstancedAssemblysMaterialIsInForceBelowIt) {
  auto& sub = product.assembly("sub", {&product.part("p", {&triangle()})});
  sub.material = &product.material();
  convertTree(product.assembly("root", {&product.instance("i", sub), &product.part("q", {&triangle()})}));
  EXPECT_EQ(logLines("WriteMaterial():Start"), "obJt2Zix::WriteMaterial():Start\n");
}

// The same inside of an instanced assembly as outside of it.
TEST_F(Traversal, LeavingANodeOfANestedWalkPopsAMaterialToo) {
  auto& bolt = product.part("bolt", {&triangle()});
  bolt.material = &product.material();
  auto& sub =
      product.assembly("sub", {&product.instance("red bolt", bolt), &product.part("plain", {&triangle()})});
  convertTree(product.assembly("root", {&product.instance("i", sub)}));
  EXPECT_EQ(logLines("WriteMaterial():Start"), "obJt2Zix::WriteMaterial():Start\n");  // of the bolt alone
}

TEST_F(Traversal, AnInstanceWhosePartHasNoMaterialWearsWhatIsInForce) {
  auto& red = product.part("red", {&triangle()});
  red.material = &product.material();
  auto& plain = product.part("plain", {&triangle()});
  convertTree(product.assembly(
      "root", {&red, &product.instance("wears red's", plain), &product.instance("none left", plain)}));
  EXPECT_EQ(sceneLines("setMaterial"), "setMaterial(#4, #8)\nsetMaterial(#11, #15)\n");
}

TEST_F(Traversal, TheFirstPartOfANameIsAskedWhetherItNeedsTessellation) {
  auto& first = product.part("block", {&triangle(1)});
  convertTree(product.assembly("root", {&first, &product.tessellatedPart("block", {&triangle(2)})}));
  EXPECT_EQ(logLines("ULP - "), "");
  EXPECT_EQ(logLines("partNumShapes"),
            "obJt2Zix::ReadJtPart(): partNumShapes : 1\nobJt2Zix::ReadJtPart(): partNumShapes : 1\n");
}

TEST_F(Traversal, TheFirstPartOfANameIsTessellatedForALaterOne) {
  auto& first = product.tessellatedPart("block", {&triangle(1)});
  auto& later = product.tessellatedPart("block", {&triangle(2)});
  auto& regular = product.part("block", {&triangle(3)});
  convertTree(product.assembly("root", {&first, &later, &regular}));
  EXPECT_EQ(sceneLines("setValues<float>"),
            "setValues<float>(#5, 3: 1 0 0, 2 0 0, 1 1 0)\n"
            "setValues<float>(#11, 3: 1 0 0, 2 0 0, 1 1 0)\n"
            "setValues<float>(#17, 3: 1 0 0, 2 0 0, 1 1 0)\n");
}

TEST_F(Traversal, AHandlerWithAnEmptyStackEndsTheConversion) {
  toolkit().root = &product.assembly("root");
  toolkit().leaves_before_walk = 1;
  bool success = false;
  try {
    const convert::obJt2Zix job("part.jt", "o.zix", &success, true);
    FAIL();
  } catch (const std::out_of_range& error) {
    EXPECT_STREQ(error.what(), "invalid vector subscript");
  }
}

// The parent is read before the transform is asked for; a part has asked already, to know whether it gets an
// object.
TEST_F(Traversal, AnEmptyStackStopsANodeBeforeItsTransform) {
  auto& sub = product.assembly("sub");
  auto& assembly = product.assembly("a");
  auto& instance = product.instance("i", sub);
  auto& part = product.part("p", {&triangle()});
  assembly.transform = instance.transform = part.transform = translation(1, 2, 3);
  for (JtkEntity* const root : std::initializer_list<JtkEntity*>{&assembly, &instance, &part}) {
    resetScene();
    toolkit().root = root;
    toolkit().before_enter = [](JtkEntity*) { convert::activeConverter->parentStack.clear(); };
    bool success = false;
    EXPECT_THROW(convert::obJt2Zix("part.jt", "o.zix", &success, true), std::out_of_range);
    EXPECT_EQ(sceneLines("createObject"), "#1 = createObject(Node)\n#2 = createObject(Node)\n");
    EXPECT_EQ(sceneLines("addComponent"), "");
  }
  EXPECT_EQ(logLines("got Transformation"), "obJt2Zix::ReadJtPart():Part has got Transformation\n");
}

TEST_F(Traversal, LeavingWithEmptyStacksDoesNothing) {
  toolkit().root = &product.assembly("root");
  toolkit().leaves_before_walk = 3;
  bool success = false;
  EXPECT_THROW(convert::obJt2Zix("part.jt", "o.zix", &success, true), std::out_of_range);
}

TEST_F(Traversal, APopAtTheMarkedDepthDisarmsTheMarkAndPopsAsEver) {
  auto& inner = product.assembly("inner");
  toolkit().before_enter = [&](JtkEntity* node) {
    if (node != &inner) return;
    convert::activeConverter->unwindPending = true;  // nothing in the converter does this
    convert::activeConverter->unwindMark = 3;        // the depth with inner's object on the stack
  };
  auto& after = product.assembly("after");
  toolkit().root = &product.assembly("root", {&inner, &after});
  bool success = false;
  const convert::obJt2Zix job("part.jt", "o.zix", &success, true);
  EXPECT_FALSE(job.unwindPending);
  EXPECT_EQ(job.unwindMark, -1);
  EXPECT_EQ(job.parentStack.size(), 1U);
  EXPECT_EQ(sceneLines("addComponent(#2, #4)"), "addComponent(#2, #4)\n");
}

// A transform's object and a part's own object come off the stack in the same way.
TEST_F(Traversal, TheMarkIsSeenWhenATransformIsPopped) {
  auto& inner = product.assembly("inner");
  inner.transform = translation(1, 2, 3);
  toolkit().before_enter = [&](JtkEntity* node) {
    if (node != &inner) return;
    convert::activeConverter->unwindPending = true;
    convert::activeConverter->unwindMark = 4;  // root, outer, inner and its transform
  };
  toolkit().root = &product.assembly("outer", {&inner});
  bool success = false;
  const convert::obJt2Zix job("part.jt", "o.zix", &success, true);
  EXPECT_FALSE(job.unwindPending);
  EXPECT_EQ(job.unwindMark, -1);
}

TEST_F(Traversal, TheMarkIsSeenWhenAPartIsPopped) {
  auto& part = product.part("p", {&triangle()});
  part.transform = translation(1, 2, 3);
  toolkit().before_enter = [&](JtkEntity* /*node*/) {
    convert::activeConverter->unwindPending = true;
    convert::activeConverter->unwindMark = 2;  // root and the part
  };
  toolkit().root = &part;
  bool success = false;
  const convert::obJt2Zix job("part.jt", "o.zix", &success, true);
  EXPECT_FALSE(job.unwindPending);
  EXPECT_EQ(job.unwindMark, -1);
}

TEST_F(Traversal, AMarkAtAnotherDepthStaysArmed) {
  toolkit().before_enter = [](JtkEntity*) {
    convert::activeConverter->unwindPending = true;
    convert::activeConverter->unwindMark = 9;
  };
  toolkit().root = &product.assembly("root");
  bool success = false;
  const convert::obJt2Zix job("part.jt", "o.zix", &success, true);
  EXPECT_TRUE(job.unwindPending);
  EXPECT_EQ(job.unwindMark, 9);
}

TEST_F(Traversal, FreesEveryNameBufferAtOnce) {
  convertTree(product.assembly("root", {&product.part("p", {&triangle()})}));
  EXPECT_GT(toolkit().buffers_handed_out, 0);
  EXPECT_EQ(toolkit().buffers_released, toolkit().buffers_handed_out);
}

TEST_F(Traversal, EveryMeshIsAttachedThenGetsTypeCoordinatesAndConnectivityOnce) {
  convert::ignoreLines = false;
  convert::ignorePoints = false;
  auto& part = product.part(
      "p", {&triangle(), &product.polylines({{0, 0, 0, 1, 1, 1}}), &product.points({{0, 0, 0}})});
  convertTree(product.assembly("root", {&part, &product.tessellatedPart("block", {&triangle()})}));
  EXPECT_EQ(sceneLines("createObject(Mesh)"),
            "#4 = createObject(Mesh)\n#9 = createObject(Mesh)\n"
            "#14 = createObject(Mesh)\n#19 = createObject(Mesh)\n");
  for (const char* const mesh : {"#4", "#9", "#14", "#19"}) {
    const std::string calls = sceneLines(mesh);
    EXPECT_EQ(linesWith(calls, "setMeshType(").find("setMeshType(" + std::string(mesh)), 0U) << calls;
    const auto type = calls.find("setMeshType");
    const auto attached = calls.find("addComponent");
    const auto coordinates = calls.find("setCoordinates");
    const auto connectivity = calls.find("setConnectivity");
    EXPECT_LT(type, attached);
    EXPECT_LT(attached, coordinates);
    EXPECT_LT(coordinates, connectivity);
    EXPECT_EQ(calls.find("setConnectivity", connectivity + 1), std::string::npos);
    EXPECT_EQ(calls.find("setCoordinates", coordinates + 1), std::string::npos);
    EXPECT_EQ(calls.find("setMeshType", type + 1), std::string::npos);
  }
  EXPECT_EQ(sceneLines("setDimension"),
            "setDimension(#5, 3)\nsetDimension(#10, 3)\nsetDimension(#15, 3)\nsetDimension(#20, 3)\n");
}

}  // namespace
}  // namespace loftbay::doubles
