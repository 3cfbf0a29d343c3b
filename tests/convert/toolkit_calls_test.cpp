// Every question that the job asks of the toolkit, in its order: no more than what the scene and the log
// need, with any observer.
#include "tests/doubles/job_fixture.h"

namespace loftbay::doubles {
namespace {

class ToolkitCalls : public JobTest {
 protected:
  Shape& triangle() { return product.strips({{0, 0, 0, 1, 0, 0, 0, 1, 0}}); }

  // What is asked between the walk's start and its end.
  std::string callsOfTheWalk(JtkEntity& root) {
    toolkit().all_calls.clear();
    toolkit().root = &root;
    EXPECT_TRUE(convert());
    std::string text;
    int walks = 0;
    for (const std::string& call : toolkit().all_calls) {
      if (call == "unref(traverser)") --walks;
      if (walks > 0) text += call + "\n";
      if (call.starts_with("traverse(")) ++walks;
    }
    return text;
  }
};

// Of a surface shape whose part has no material.
constexpr const char* kShapeCalls =
    "shape: getPrimitiveSetCount\n"
    "shape: isOfType(25)\n"
    "shape: getPrimitiveSetCount\n"
    "shape: getPrimitiveSetArrays(0)\n"
    "shape: getPrimitiveSetCount\n"
    "shape: getShapeMaterial\n";

TEST_F(ToolkitCalls, OfAnInstancedPartNeitherItsNameNorItsTransformIsAskedFor) {
  auto& bolt = product.part("bolt", {&triangle()});
  bolt.transform = translation(1, 2, 3);
  auto& instance = product.instance("i", bolt);
  instance.transform = translation(4, 5, 6);
  EXPECT_EQ(callsOfTheWalk(instance), std::string("i: typeID\n"
                                                  "i: getName\n"
                                                  "i: getReferencedNode\n"
                                                  "bolt: typeID\n"
                                                  "i: getName\n"
                                                  "i: getTransform\n"
                                                  "i: getName\n"
                                                  "i's transform: getMatrixElements\n"
                                                  "bolt: getMaterial\n"
                                                  "bolt: numShapeLODs\n"
                                                  "bolt: numShapes(0)\n"
                                                  "bolt: getShape(0, 0)\n"
                                                  "i: getName\n") +
                                          kShapeCalls + "i: typeID\n");
}

TEST_F(ToolkitCalls, OfAnInstanceWithoutShapesNothingMoreIsAsked) {
  auto& part = product.part("coarse");
  part.levels = {{}, {&triangle()}};
  auto& instance = product.instance("i", part);
  EXPECT_EQ(callsOfTheWalk(instance),
            "i: typeID\n"
            "i: getName\n"
            "i: getReferencedNode\n"
            "coarse: typeID\n"
            "i: getName\n"
            "i: getTransform\n"
            "coarse: getMaterial\n"
            "coarse: numShapeLODs\n"
            "coarse: numShapes(0)\n"
            "i: typeID\n");
}

TEST_F(ToolkitCalls, OfTessellationResultsOnlyTheFirstIsAskedFor) {
  EXPECT_EQ(callsOfTheWalk(product.tessellatedPart("block", {&triangle(), &triangle()})),
            "block: typeID\n"
            "block: getName\n"
            "block: getTransform\n"
            "block: getName\n"
            "block: getMaterial\n"
            "block: requiresTessellation\n"
            "tessellate(block, parameters)\n"
            "results of block: isOfSubType(2)\n"
            "ref(results of block)\n"
            "results of block: [0]\n"
            "result 0 of block: isOfSubType(2)\n"
            "ref(result 0 of block)\n"
            "result 0 of block: getPrimitiveSetCount\n"
            "getPrimitiveSetGeometry(0)\n"
            "getPrimitiveSetGeometry(0)\n"
            "result 0 of block: isOfSubType(2)\n"
            "unref(result 0 of block)\n"
            "results of block: isOfSubType(2)\n"
            "unref(results of block)\n"
            "block: typeID\n");
}

TEST_F(ToolkitCalls, TheTransformOfAnInstancedAssemblyIsNotLookedInto) {
  auto& sub = product.assembly("sub");
  sub.transform = translation(1, 2, 3);
  const std::string calls = callsOfTheWalk(product.instance("i", sub));
  EXPECT_EQ(linesWith(calls, "sub"),
            "sub: typeID\n"
            "sub: getMaterial\n"
            "traverse(sub, 0)\n"
            "sub: typeID\n"
            "sub: getName\n"
            "sub: getName\n"
            "sub: getTransform\n"
            "sub: getMaterial\n"
            "sub: typeID\n");
}

}  // namespace
}  // namespace loftbay::doubles
