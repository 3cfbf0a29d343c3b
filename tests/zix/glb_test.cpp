// What a GLB holds beside the tree: the node that brings it to metres and y up, normals, names.
#include <gmock/gmock.h>

#include <cmath>

#include "tests/zix/glb_file.h"
#include "tests/zix/run_program.h"
#include "tests/zix/sample_scenes.h"
#include "tests/zix/scratch_folder.h"
#include "zix/export.h"

namespace Orb::Zix {
namespace {

using loftbay::testing_support::addMaterial;
using loftbay::testing_support::addShape;
using loftbay::testing_support::Glb;
using loftbay::testing_support::glbValues;
using loftbay::testing_support::parseGlb;
using loftbay::testing_support::runProgram;
using loftbay::testing_support::SampleMesh;
using loftbay::testing_support::ScratchFolder;
using loftbay::testing_support::square;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class GlbFile : public ::testing::Test {
 protected:
  template <typename Fill>
  SceneFile makeScene(Fill fill) {
    return loftbay::testing_support::makeScene(folder_.programPath("a.zix"), fill);
  }
  Glb exported(const SceneFile& scene, const GlbOptions& options = {}) {
    EXPECT_TRUE(exportGlb(scene, folder_.programPath("a.glb"), options));
    return parseGlb(folder_.read("a.glb"));
  }
  loftbay::testing_support::ProgramResult exportWith(std::vector<std::string> options,
                                                     const std::string& out = "a.glb") {
    options.insert(options.begin(), {"export", folder_.hostPath("a.zix"), folder_.hostPath(out)});
    return runProgram(folder_, "zix", options);
  }

  ScratchFolder folder_;
};

using Vec3d = std::array<double, 3>;

// Where a node's rotation and scale take a direction.
Vec3d turned(const nlohmann::json& node, const Vec3d& v) {
  const auto q = node.value("rotation", std::array<double, 4>{0, 0, 0, 1});
  const auto scale = node.value("scale", std::array<double, 3>{1, 1, 1});
  const auto cross = [](const Vec3d& a, const Vec3d& b) {
    return Vec3d{a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
  };
  const Vec3d axis = {q[0], q[1], q[2]};
  const Vec3d once = cross(axis, v);
  const Vec3d twice = cross(axis, once);
  Vec3d result{};
  for (std::size_t k = 0; k < 3; ++k) result[k] = scale[k] * (v[k] + 2 * (q[3] * once[k] + twice[k]));
  return result;
}

const nlohmann::json& onlyRoot(const Glb& glb) {
  EXPECT_EQ(glb.json["scenes"][0]["nodes"].size(), 1U);
  return glb.json["nodes"][glb.json["scenes"][0]["nodes"][0].get<std::size_t>()];
}

TEST_F(GlbFile, ANodeOfItsOwnBringsTheSceneToMetresAndYUp) {
  const SceneFile scene =
      makeScene([](Scene_V1& s, const ObjectId& root) { addShape(s, root, "part", square(1)); });
  const auto result = exportGlb(scene, folder_.programPath("b.glb"));
  EXPECT_TRUE(result->unit_assumed);
  struct Case {
    GlbOptions options;
    Vec3d up;
    const char* name;
    double metres;
  };
  for (const Case& one :
       {Case{{}, {0, 0, 1}, "z", 0.001}, Case{{.unit_metres = 0.0254}, {0, 0, 1}, "z", 0.0254},
        Case{{.unit_metres = 1, .up = UpAxis::Y}, {0, 1, 0}, "y", 1},
        Case{{.unit_metres = 2, .up = UpAxis::X}, {1, 0, 0}, "x", 2}}) {
    const Glb glb = exported(scene, one.options);
    const auto& root = onlyRoot(glb);
    EXPECT_EQ(root["children"].dump(), "[0]");
    EXPECT_FALSE(root.contains("mesh"));
    const Vec3d up = turned(root, one.up);
    EXPECT_NEAR(up[0], 0, 1e-12 * one.metres);
    EXPECT_NEAR(up[1], one.metres, 1e-12 * one.metres);
    EXPECT_NEAR(up[2], 0, 1e-12 * one.metres);
    EXPECT_EQ(root["extras"]["zix_root"], true);
    EXPECT_EQ(root["extras"]["zix_up"], one.name);
    EXPECT_EQ(root["extras"]["zix_unit_metres"], one.metres);
  }
}

TEST_F(GlbFile, AsItIsTheSceneHasNoNodeAbove) {
  const SceneFile scene =
      makeScene([](Scene_V1& s, const ObjectId& root) { addShape(s, root, "part", square(1)); });
  const Glb glb = exported(scene, {.as_is = true});
  EXPECT_EQ(onlyRoot(glb)["name"], "root");
  EXPECT_EQ(glb.json["nodes"].size(), 2U);
}

// Two squares with a common side.
SampleMesh fold(double angle_deg) {
  const double angle_rad = angle_deg * std::acos(-1.0) / 180;
  const auto x = static_cast<float>(std::cos(angle_rad));
  const auto z = static_cast<float>(std::sin(angle_rad));
  return {MeshType::Triangles,
          {-1, 0, 0, 0, 0, 0, 0, 1, 0, -1, 1, 0, x, 0, z, x, 1, z},
          {0, 1, 2, 0, 2, 3, 1, 4, 5, 1, 5, 2},
          {3, 3, 3, 3}};
}

TEST_F(GlbFile, TrianglesHaveTheNormalsOfTheSmoothSurface) {
  for (const bool soft : {true, false}) {
    const SceneFile scene = makeScene(
        [&](Scene_V1& s, const ObjectId& root) { addShape(s, root, "fold", fold(soft ? 39 : 41)); });
    const Glb glb = exported(scene);
    const auto& attributes = glb.json["meshes"][0]["primitives"][0]["attributes"];
    const auto points = glbValues<float>(glb, attributes["POSITION"]);
    const auto normals = glbValues<float>(glb, attributes["NORMAL"]);
    ASSERT_EQ(points.size(), soft ? 18U : 24U) << "the points of a sharp edge are there twice";
    ASSERT_EQ(normals.size(), points.size());
    for (std::size_t i = 0; i < normals.size(); i += 3) {
      EXPECT_NEAR(std::hypot(normals[i], normals[i + 1], normals[i + 2]), 1, 1e-6);
      if (points[i] < 0) {
        EXPECT_EQ(normals[i + 2], 1.0F);
      }
      if (points[i] == 0 && soft) {
        EXPECT_NEAR(normals[i], -std::sin(19.5 * std::acos(-1.0) / 180), 1e-5);
      }
    }
    const auto indices = glbValues<std::uint32_t>(glb, glb.json["meshes"][0]["primitives"][0]["indices"]);
    ASSERT_EQ(indices.size(), 12U);
    EXPECT_EQ(points[3 * std::size_t{indices[2]} + 1], 1.0F);
  }
}

TEST_F(GlbFile, LinesAndPointsHaveNoNormalsAndOnePrimitive) {
  const SceneFile scene = makeScene([](Scene_V1& s, const ObjectId& root) {
    addShape(s, root, "lines",
             {MeshType::Lines, {0, 0, 0, 1, 0, 0, 1, 1, 0}, {0, 1, 2, 2, 0, 1, 2}, {3, 2, 2}});
    addShape(s, root, "dots", {MeshType::Points, {0, 0, 0, 1, 0, 0}, {0, 1}, {1, 1}});
  });
  const Glb glb = exported(scene);
  for (const auto& mesh : glb.json["meshes"]) {
    ASSERT_EQ(mesh["primitives"].size(), 1U);
    EXPECT_FALSE(mesh["primitives"][0]["attributes"].contains("NORMAL"));
  }
  EXPECT_THAT(glbValues<std::uint32_t>(glb, glb.json["meshes"][0]["primitives"][0]["indices"]),
              ElementsAre(0, 1, 1, 2, 2, 0, 1, 2));
}

TEST_F(GlbFile, MeshesHaveTheNamesOfTheirShapes) {
  const SceneFile scene = makeScene([](Scene_V1& s, const ObjectId& root) {
    addShape(s, root, "bolt", square(1));
    addShape(s, root, "bolt_orb_2", square(1));
    addShape(s, root, "nut", square(2));
  });
  const Glb glb = exported(scene);
  ASSERT_EQ(glb.json["meshes"].size(), 2U);
  EXPECT_EQ(glb.json["meshes"][0]["name"], "bolt");
  EXPECT_EQ(glb.json["meshes"][1]["name"], "nut");
}

TEST_F(GlbFile, APlacementMoreIsANodeMoreAndNothingElse) {
  const auto sizes = [&](int placements) {
    const SceneFile scene = makeScene([&](Scene_V1& s, const ObjectId& root) {
      for (int i = 0; i < placements; ++i) addShape(s, root, "bolt", square(1));
    });
    const Glb glb = exported(scene);
    return std::array{glb.binary.size(), glb.json["meshes"].size(), glb.json["accessors"].size(),
                      glb.json["bufferViews"].size()};
  };
  EXPECT_EQ(sizes(200), sizes(1));
}

TEST_F(GlbFile, TheUnitIsTheScenesAndPropertiesAreExtras) {
  const SceneFile scene = makeScene([](Scene_V1& s, const ObjectId& root) {
    addShape(s, root, "part", square(1));
    ASSERT_TRUE(setSceneProperty("unit", "inch"));
    ASSERT_TRUE(setSceneProperty("unit_metres", "0.0254"));
    ASSERT_TRUE(setObjectProperty(root, "Material", "steel"));
  });
  const Glb glb = exported(scene);
  EXPECT_EQ(onlyRoot(glb)["scale"].dump(), "[0.0254,0.0254,0.0254]");
  EXPECT_EQ(onlyRoot(glb)["extras"]["zix_unit"], "inch");
  EXPECT_EQ(glb.json["scenes"][0]["extras"].dump(), R"({"unit":"inch","unit_metres":"0.0254"})");
  EXPECT_EQ(glb.json["nodes"][0]["extras"].dump(), R"({"Material":"steel"})");
  EXPECT_EQ(exportWith({}).err, "");
  EXPECT_EQ(onlyRoot(exported(scene, {.unit_metres = 2}))["extras"]["zix_unit_metres"], 2);
}

TEST_F(GlbFile, TheProgramSaysWhenItTakesMillimetres) {
  makeScene([](Scene_V1& s, const ObjectId& root) { addShape(s, root, "part", square(1)); });
  const auto assumed = exportWith({});
  EXPECT_EQ(assumed.code, 0);
  EXPECT_THAT(assumed.err, HasSubstr("states no unit of a known length; taken as millimetres"));
  EXPECT_EQ(exportWith({"--as-is"}).err, "");
  EXPECT_EQ(exportWith({"--unit", "in", "--up", "y"}).err, "");
  const Glb inches = parseGlb(folder_.read("a.glb"));
  EXPECT_EQ(onlyRoot(inches)["extras"]["zix_unit_metres"], 0.0254);
  EXPECT_EQ(onlyRoot(inches)["extras"]["zix_up"], "y");
  EXPECT_EQ(exportWith({"--unit=0.5"}).code, 0);
  EXPECT_EQ(onlyRoot(parseGlb(folder_.read("a.glb")))["scale"].dump(), "[0.5,0.5,0.5]");
  for (const char* unit : {"", "inches?", "0", "-1", "nan", "inf", "1e300", "5 mm"})
    EXPECT_EQ(exportWith({"--unit", unit}).code, 2) << unit;
  EXPECT_EQ(exportWith({"--unit=mm"}, "a.stl").code, 2);
  EXPECT_EQ(exportWith({"--as-is"}, "a.obj").code, 2);
  EXPECT_EQ(exportWith({"--as-is", "--up=y"}).code, 2);
  EXPECT_EQ(exportWith({"--up=w"}).code, 2);
}

}  // namespace
}  // namespace Orb::Zix
