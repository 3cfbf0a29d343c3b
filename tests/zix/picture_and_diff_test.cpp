// GLB export, render and diff: the library's side and the program's.
#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "tests/zix/glb_file.h"
#include "tests/zix/run_program.h"
#include "tests/zix/sample_scenes.h"
#include "tests/zix/scratch_folder.h"
#include "zix/export.h"
#include "zix/reader.h"
#include "zix/render.h"
#include "zix/scene_diff.h"

namespace Orb::Zix {
namespace {

using loftbay::testing_support::addMaterial;
using loftbay::testing_support::addObject;
using loftbay::testing_support::addShape;
using loftbay::testing_support::Glb;
using loftbay::testing_support::parseGlb;
using loftbay::testing_support::runProgram;
using loftbay::testing_support::SampleMesh;
using loftbay::testing_support::ScratchFolder;
using loftbay::testing_support::square;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Pictures : public ::testing::Test {
 protected:
  template <typename Fill>
  SceneFile makeScene(const std::string& name, Fill fill) {
    return loftbay::testing_support::makeScene(folder_.programPath(name), fill);
  }

  SceneFile sample(const std::string& name = "a.zix") {
    loftbay::testing_support::writeSampleScene(folder_.programPath(name));
    return std::move(*SceneFile::open(folder_.programPath(name)));
  }

  ScratchFolder folder_;
};

// --- GLB --------------------------------------------------------------------------------------------------

TEST_F(Pictures, GlbKeepsTreeNamesAndPlacements) {
  ASSERT_TRUE(exportGlb(sample(), folder_.programPath("a.glb")));
  const Glb glb = parseGlb(folder_.read("a.glb"));
  const auto& nodes = glb.json["nodes"];
  std::vector<std::string> names;
  for (const auto& node : nodes) names.push_back(node["name"]);
  EXPECT_THAT(names, ElementsAre("root", "plate", "square", "path", "mirror", "square_orb_2", "dots",
                                 "metres, y up"));
  EXPECT_EQ(nodes[0]["children"].dump(), "[1,4]");
  EXPECT_EQ(nodes[1]["translation"].dump(), "[10,20,30]");
  EXPECT_EQ(nodes[1]["scale"].dump(), "[2,2,2]");
  EXPECT_NEAR(nodes[1]["rotation"][2].get<double>(), std::sqrt(0.5), 1e-7);
  EXPECT_EQ(nodes[4]["scale"].dump(), "[-1,-1,-1]");
  EXPECT_EQ(glb.json["meshes"][0]["primitives"][0]["mode"], 4);
  EXPECT_EQ(glb.json["meshes"][1]["primitives"][0]["mode"], 1) << "a polyline becomes pairs";
  EXPECT_EQ(glb.json["meshes"][3]["primitives"][0]["mode"], 0);
}

TEST_F(Pictures, GlbOpacityIsOneMinusTheStoredTransparency) {
  ASSERT_TRUE(exportGlb(sample(), folder_.programPath("a.glb")));
  const auto json = parseGlb(folder_.read("a.glb")).json;
  const auto& opaque = json["materials"][0];
  EXPECT_EQ(opaque["pbrMetallicRoughness"]["baseColorFactor"][3], 1);
  EXPECT_FALSE(opaque.contains("alphaMode"));
  EXPECT_EQ(json["materials"][2]["pbrMetallicRoughness"]["baseColorFactor"][3], 0.5);
  EXPECT_EQ(json["materials"][2]["alphaMode"], "BLEND");
}

TEST_F(Pictures, GlbSharesEqualArraysAndEqualMeshes) {
  const SceneFile scene = makeScene("a.zix", [](Scene_V1& s, const ObjectId& root) {
    for (int i = 0; i < 3; ++i) addMaterial(s, addShape(s, root, "same", square(1)), 1, 0, 0, 0);
    addMaterial(s, addShape(s, root, "other colour", square(1)), 0, 1, 0, 0);
    addMaterial(s, addShape(s, root, "other size", square(2)), 1, 0, 0, 0);
    SampleMesh as_lines = square(1);
    as_lines.type = MeshType::Lines;
    addShape(s, root, "other type", as_lines);
  });
  ASSERT_TRUE(exportGlb(scene, folder_.programPath("a.glb")));
  const auto json = parseGlb(folder_.read("a.glb")).json;
  std::vector<int> meshes;
  for (const auto& node : json["nodes"]) {
    if (node.contains("mesh")) meshes.push_back(node["mesh"]);
  }
  EXPECT_THAT(meshes, ElementsAre(0, 0, 0, 1, 2, 3));
  EXPECT_EQ(json["bufferViews"].size(), 8U) << "three geometries, of which two have normals";
  EXPECT_EQ(json["meshes"][0]["primitives"][0]["attributes"],
            json["meshes"][1]["primitives"][0]["attributes"]);
}

TEST_F(Pictures, GlbHoldsNoNumberThatIsNotFinite) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const SceneFile scene = makeScene("a.zix", [&](Scene_V1& s, const ObjectId& root) {
    addShape(s, root, "odd",
             {MeshType::Triangles, {0, 0, 0, 1, 0, 0, 0, 1, 0, nan, 5, 5}, {2, 0, 1, 3, 2, 1}, {3, 3}});
    const auto node = s.createObject(ObjectType::Node);
    const auto transform = s.createObject(ObjectType::Transform);
    s.setScale(transform, nan, 1, 1);
    s.addComponent(root, node, transform);
    addShape(s, node, "nowhere", square(1));
  });
  const auto result = exportGlb(scene, folder_.programPath("a.glb"));
  ASSERT_TRUE(result);
  EXPECT_EQ(result->written, 1U);
  EXPECT_EQ(result->left_out, 3U);
  const Glb glb = parseGlb(folder_.read("a.glb"));
  EXPECT_EQ(glb.json["accessors"][0]["max"].dump(), "[1,1,0]");
  EXPECT_EQ(glb.json["accessors"][0]["count"], 3) << "no vertex for the point that is nowhere";
  EXPECT_EQ(glb.json["accessors"][2]["count"], 3);
  EXPECT_FALSE(glb.json["nodes"][2].contains("scale"));
}

TEST_F(Pictures, GlbOfAnEmptySceneIsComplete) {
  const SceneFile scene = makeScene("a.zix", [](Scene_V1&, const ObjectId&) {});
  ASSERT_TRUE(exportGlb(scene, folder_.programPath("a.glb")));
  const Glb glb = parseGlb(folder_.read("a.glb"));
  EXPECT_EQ(glb.json["nodes"].size(), 2U);
  EXPECT_FALSE(glb.json.contains("meshes"));
  EXPECT_EQ(glb.binary, "");
}

// --- render -----------------------------------------------------------------------------------------------

std::array<int, 3> pixel(const Picture& picture, std::uint32_t x, std::uint32_t y) {
  const std::uint8_t* at = &picture.rgb[3 * (std::size_t{y} * picture.width + x)];
  return {at[0], at[1], at[2]};
}

TEST_F(Pictures, RenderShowsAnOpaquePartAndItsColour) {
  const SceneFile scene = makeScene("a.zix", [](Scene_V1& s, const ObjectId& root) {
    addMaterial(s, addShape(s, root, "red", square(1)), 1, 0, 0, 0);
  });
  const Picture picture = render(scene, *findCamera(scene, "top"), 64, 64);
  const auto middle = pixel(picture, 32, 32);
  EXPECT_GT(middle[0], 150);
  EXPECT_LT(middle[2], 120);
  const auto corner = pixel(picture, 1, 1);
  EXPECT_GT(corner[2], 200) << "background";
}

TEST_F(Pictures, RenderSmoothsTheOutline) {
  const SceneFile scene = makeScene("a.zix", [](Scene_V1& s, const ObjectId& root) {
    // A slanted border: each row cuts it in the middle of a pixel somewhere.
    addMaterial(
        s, addShape(s, root, "black", {MeshType::Triangles, {0, 0, 0, 10, 3, 0, 0, 10, 0}, {0, 1, 2}, {3}}),
        0, 0, 0, 0);
  });
  const Picture picture = render(scene, *findCamera(scene, "top"), 64, 64, {true, false});
  int between = 0;
  int dark = 0;
  int light = 0;
  for (std::uint32_t y = 0; y < 64; ++y) {
    for (std::uint32_t x = 0; x < 64; ++x) {
      const int red = pixel(picture, x, y)[0];
      ++(red > 200 ? light : red < 60 ? dark : between);
    }
  }
  EXPECT_GT(dark, 300);
  EXPECT_GT(light, 1000);
  EXPECT_GT(between, 40) << "shades between both along three borders";
  EXPECT_LT(between, 200);
}

TEST_F(Pictures, RenderShowsNearestSurfaceFromEachSide) {
  const SceneFile scene = makeScene("a.zix", [](Scene_V1& s, const ObjectId& root) {
    addMaterial(s, addShape(s, root, "low", square(1)), 1, 0, 0, 0);
    SampleMesh high = square(1);
    for (std::size_t i = 2; i < high.points.size(); i += 3) high.points[i] = 1;
    addMaterial(s, addShape(s, root, "high", high), 0, 0, 1, 0);
  });
  const auto from_above = pixel(render(scene, *findCamera(scene, "top"), 64, 64), 32, 32);
  const auto from_below = pixel(render(scene, *findCamera(scene, "bottom"), 64, 64), 32, 32);
  EXPECT_GT(from_above[2], from_above[0] + 50);
  EXPECT_GT(from_below[0], from_below[2] + 50);
}

TEST_F(Pictures, InvisiblePartsAreNotDrawnAndHalfTransparentOnesHalf) {
  const auto middleOf = [&](float transparency) {
    const SceneFile scene = makeScene("a.zix", [&](Scene_V1& s, const ObjectId& root) {
      addMaterial(s, addShape(s, root, "glass", square(1)), 0, 0, 0, transparency);
    });
    const Picture picture = render(scene, *findCamera(scene, "top"), 64, 64);
    int sum = 0;
    for (std::uint32_t y = 30; y < 34; ++y) {
      for (std::uint32_t x = 30; x < 34; ++x) sum += pixel(picture, x, y)[0];
    }
    return sum / 16;
  };
  const int invisible = middleOf(1);
  const int opaque = middleOf(0);
  EXPECT_GT(invisible, 200);
  EXPECT_NEAR(middleOf(0.5F), (invisible + opaque) / 2, 8);
}

TEST_F(Pictures, RenderSurvivesNumbersThatAreNotFiniteAndHugeOnes) {
  const float huge = 3e38F;
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float inf = std::numeric_limits<float>::infinity();
  for (const MeshType type : {MeshType::Triangles, MeshType::Lines, MeshType::Points}) {
    const SceneFile scene = makeScene("a.zix", [&](Scene_V1& s, const ObjectId& root) {
      addShape(s, root, "odd",
               {type,
                {nan, 0, 0, inf, -inf, 0, huge, -huge, huge, -huge, huge, 0, 1, 1, 1},
                {0, 1, 2, 3, 4, 2, 3, 3, 4},
                {3, 3, 3}});
    });
    for (const char* view : {"front", "back", "left", "right", "top", "bottom", "iso"}) {
      EXPECT_EQ(render(scene, *findCamera(scene, view), 17, 5).rgb.size(), 3U * 17 * 5);
    }
  }
}

TEST_F(Pictures, RenderIsTheSameEveryTime) {
  const SceneFile scene = sample();
  const auto camera = *findCamera(scene, "iso");
  EXPECT_EQ(render(scene, camera, 100, 80).rgb, render(scene, camera, 100, 80).rgb);
}

TEST_F(Pictures, ViewsAreFoundByNameAlsoWhereTheSceneHasNone) {
  EXPECT_TRUE(findCamera(sample(), "iso"));
  EXPECT_FALSE(findCamera(sample(), "Iso"));
  Scene_V1 scene("Model");
  const std::string path = folder_.programPath("viewless.zix");
  scene.saveTo(path.c_str(), " ", true, true);
  scene.closeFile(path.c_str());
  EXPECT_TRUE(findCamera(*SceneFile::open(path), "top"));
}

TEST_F(Pictures, ProgramWritesAPngOfTheAskedSize) {
  sample();
  const auto result = runProgram(
      folder_, "zix",
      {"render", folder_.hostPath("a.zix"), folder_.hostPath("a.png"), "--size", "120x90", "--view=top"});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out + result.err, "");
  const std::string png = folder_.read("a.png");
  EXPECT_EQ(png.substr(0, 8), "\x89PNG\r\n\x1a\n");
  EXPECT_EQ(png.substr(16, 8), std::string("\0\0\0\x78\0\0\0\x5A", 8));
  EXPECT_THAT(folder_.names(), ElementsAre("a.png", "a.zix"));
}

TEST_F(Pictures, WrongSizesAndViewsAreWrongUsage) {
  sample();
  const std::string in = folder_.hostPath("a.zix");
  const std::string out = folder_.hostPath("a.png");
  for (const char* size :
       {"", "x", "12", "12x", "x12", "0x5", "5x0", "9000x5", "5x9000", "-5x5", "5x5x5", "5 x 5"}) {
    EXPECT_EQ(runProgram(folder_, "zix", {"render", in, out, "--size", size}).code, 2) << size;
  }
  const auto result = runProgram(folder_, "zix", {"render", in, out, "--view", "fornt"});
  EXPECT_EQ(result.code, 2);
  EXPECT_EQ(result.err.substr(0, result.err.find('\n')),
            "zix: there is no view 'fornt'; did you mean 'front'?; the views are front, back, left, right, "
            "top, bottom, "
            "iso");
}

// --- diff -------------------------------------------------------------------------------------------------

TEST_F(Pictures, EqualScenesHaveNoDifferences) {
  EXPECT_EQ(diffScenes(sample("a.zix"), sample("b.zix"), -1).count, 0U);
}

TEST_F(Pictures, DiffNamesTheFirstDifferences) {
  const auto make = [&](const std::string& name, float x, const char* shape, float red) {
    return makeScene(name, [&](Scene_V1& s, const ObjectId& root) {
      const auto part = addObject(s, ObjectType::Node, "part");
      const auto transform = s.createObject(ObjectType::Transform);
      s.setTranslation(transform, 0, x, 0);
      s.addComponent(root, part, transform);
      SampleMesh mesh = square(8);
      mesh.points[3] += x;
      addMaterial(s, addShape(s, part, shape, mesh), red, 0, 0, 0);
    });
  };
  const SceneFile a = make("a.zix", 0, "face", 0.5F);
  const SceneFile b = make("b.zix", 0.25F, "face_orb_2", 0.625F);
  const auto result = diffScenes(a, b, -1);
  ASSERT_GE(result.differences.size(), 4U);
  EXPECT_THAT(std::vector<std::string>(result.differences.begin(), result.differences.begin() + 4),
              ElementsAre("root/part: the translation [1] is 0 and 0.25",
                          "root/part/face: the name is \"face\" and \"face_orb_2\"",
                          "root/part/face/mesh: the material's diffuse [0] is 0.5 and 0.625",
                          "root/part/face/mesh: the material's ambient [0] is 0.25 and 0.3125"));
  EXPECT_EQ(result.differences[4], "root/part/face/mesh: coordinate value 3 is 8 and 8.25; 1 of 12 differ");
  EXPECT_THAT(diffScenes(a, b, 1).differences,
              ElementsAre("root/part/face: the name is \"face\" and \"face_orb_2\""));
}

TEST_F(Pictures, DiffNamesMissingChildrenAndOtherTypes) {
  const SceneFile a = makeScene("a.zix", [](Scene_V1& s, const ObjectId& root) {
    s.addComponent(root, s.createObject(ObjectType::Node));
    s.addComponent(root, s.createObject(ObjectType::Node));
  });
  const SceneFile b = makeScene("b.zix", [](Scene_V1& s, const ObjectId& root) {
    s.addComponent(root, s.createObject(ObjectType::Shape));
  });
  EXPECT_THAT(diffScenes(a, b, -1).differences,
              ElementsAre("root: the number of children is 2 and 1", "root/: it is a Node and a Shape"));
}

TEST_F(Pictures, DiffProgramAnswersByItsCode) {
  sample("a.zix");
  makeScene("b.zix", [](Scene_V1&, const ObjectId&) {});
  const std::string a = folder_.hostPath("a.zix");
  const std::string b = folder_.hostPath("b.zix");
  const auto same = runProgram(folder_, "zix", {"diff", a, a});
  EXPECT_EQ(same.code, 0);
  EXPECT_EQ(same.out + same.err, "");
  EXPECT_EQ(runProgram(folder_, "zix", {"diff", a, b}).code, 1);
  EXPECT_EQ(runProgram(folder_, "zix", {"diff", a, folder_.hostPath("missing.zix")}).code, 1);
  for (const char* tolerance : {"", "x", "-1", "nan", "1e", "inf"}) {
    EXPECT_EQ(runProgram(folder_, "zix", {"diff", a, a, "--tolerance", tolerance}).code, 2) << tolerance;
  }
}

}  // namespace
}  // namespace Orb::Zix
