// The shape writers by themselves: they need no job, only a scene and what is in force.
#include "geometry/shape_writers.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "geometry/material.h"
#include "tests/doubles/job_fixture.h"

namespace loftbay::doubles {
namespace {

using geometry::ShapeKind;
using geometry::ShapeTarget;
using geometry::WrittenShape;

class ShapeWriters : public JobTest {
 protected:
  ShapeWriters() : parent_(scene_.createObject(Orb::Zix::ObjectType::Node)) {}

  ShapeTarget target() {
    return {.scene = scene_,
            .parent = &parent_,
            .material = nullptr,
            .uniqueName = [](const char* name) { return std::string(name) + "!"; },
            .merge_vertices = true};
  }
  // A triangle; two of its corners print alike.
  Shape& flat() { return product.strips({{1, 0, 0, 1.0000001F, 0, 0, 0, 1, 0}}); }

  Orb::Zix::Scene_V1 scene_{"Model"};
  Orb::Zix::ObjectId parent_;
};

TEST_F(ShapeWriters, PutTheShapeUnderTheParentAndAskForItsName) {
  const WrittenShape written =
      geometry::writeSurface(target(), product.strips({{0, 0, 0, 1, 0, 0, 0, 1, 0}}), "plate", 1);
  EXPECT_TRUE(written.has_mesh);
  EXPECT_EQ(written.flattened_triangles, 0U);
  EXPECT_EQ(sceneLines("(#2, "), "setName(#2, \"plate!\")\naddComponent(#2, #3)\n");
  EXPECT_EQ(sceneLines("addComponent(#1"), "addComponent(#1, #2)\n");
  EXPECT_EQ(sceneLines("aterial"), "");
}

TEST_F(ShapeWriters, CountTrianglesThatTheMergingFlattens) {
  EXPECT_EQ(geometry::writeSurface(target(), flat(), "p", 1).flattened_triangles, 1U);
  ShapeTarget unmerged = target();
  unmerged.merge_vertices = false;
  const WrittenShape kept = geometry::writeSurface(unmerged, flat(), "p", 1);
  EXPECT_EQ(kept.flattened_triangles, 0U);
  EXPECT_TRUE(kept.has_mesh);
}

TEST_F(ShapeWriters, WriteLinesPointsAndTessellations) {
  EXPECT_TRUE(geometry::writePolylines(target(), product.polylines({{0, 0, 0, 1, 0, 0}}), "l").has_mesh);
  EXPECT_TRUE(geometry::writePoints(target(), product.points({{0, 0, 0}}), "p").has_mesh);
  EXPECT_EQ(sceneLines("createObject(Material)"), "");
  EXPECT_TRUE(geometry::writeTessellation(target(), flat(), "t").has_mesh);
  EXPECT_EQ(sceneLines("setMeshType"),
            "setMeshType(#3, Lines)\nsetMeshType(#8, Points)\nsetMeshType(#13, Triangles)\n");
  EXPECT_EQ(sceneLines("createObject(Material)"), "#17 = createObject(Material)\n");
}

TEST_F(ShapeWriters, TheMaterialInForceIsWorn) {
  Material material;
  material.diffuse = {1, 0, 0, 1};
  ShapeTarget painted = target();
  painted.material = &material;
  geometry::writePoints(painted, product.points({{0, 0, 0}}), "p");
  geometry::writeTessellation(painted, flat(), "t");
  EXPECT_EQ(logLines("diffuseColor"),
            "obJt2Zix::WriteMaterial():diffuseColor : 1 0 0\n"
            "obJt2Zix::WriteMaterial():diffuseColor : 1 0 0\n");
}

TEST_F(ShapeWriters, WithoutSetsNothingIsWritten) {
  const std::string before = sceneCalls();
  EXPECT_FALSE(geometry::writeSurface(target(), product.strips({}), "s", 0).has_mesh);
  EXPECT_FALSE(geometry::writePolylines(target(), product.polylines({}), "l").has_mesh);
  EXPECT_FALSE(geometry::writePoints(target(), product.points({}), "p").has_mesh);
  EXPECT_EQ(sceneCalls(), before);
}

TEST_F(ShapeWriters, WithoutAParentAShapeThatIsWrittenThrows) {
  ShapeTarget lost = target();
  lost.parent = nullptr;
  EXPECT_THROW(geometry::writePoints(lost, product.points({{0, 0, 0}}), "p"), std::out_of_range);
  EXPECT_THROW(geometry::writeTessellation(lost, flat(), "t"), std::out_of_range);
  EXPECT_NO_THROW(geometry::writePoints(lost, product.points({}), "p"));
}

TEST_F(ShapeWriters, TellSurfacesFromPointsAndLines) {
  EXPECT_EQ(geometry::kindOf(product.points({})), ShapeKind::Points);
  EXPECT_EQ(geometry::kindOf(product.polylines({})), ShapeKind::Lines);
  EXPECT_EQ(geometry::kindOf(product.strips({})), ShapeKind::Surface);
}

}  // namespace
}  // namespace loftbay::doubles
