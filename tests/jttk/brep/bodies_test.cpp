// What a stream may hold in addition to one solid: other kinds of bodies, several of them, nodes around them,
// and numbers that only the writing program understands.
#include <gtest/gtest.h>

#include "jttk/brep/tessellate.h"
#include "tests/jttk/brep/axes.h"
#include "tests/jttk/brep/mesh_measures.h"
#include "tests/jttk/brep/read_bodies.h"

namespace jttk::brep {
namespace {

Bodies read(const XtModel& model) {
  auto bodies = readBodies(model);
  EXPECT_TRUE(bodies) << bodies.error().text();
  return bodies ? *std::move(bodies) : Bodies();
}

void addDisk(XtModel& model, double radius, double z) {
  const int ring = model.edge(model.circle({0, 0, z}, kZ, kX, radius), -1, -1);
  model.face(model.plane({0, 0, z}, kZ, kX), false, {{{ring, true}}});
}

void addBall(XtModel& model, double radius, double x) {
  model.face(model.sphere({x, 0, 0}, kZ, kX, radius), false, {});
}

TEST(Bodies, SeveralInOneStreamStaySeparate) {
  XtModel model;
  addBall(model, 0.01, 0);
  model.finish();
  model.nextBody();
  addBall(model, 0.005, 0.05);
  model.finish();
  const Bodies bodies = read(model);
  ASSERT_EQ(bodies.bodies.size(), 2U);
  const TessellatedBodies made = tessellate(bodies, {});
  ASSERT_EQ(made.bodies.size(), 2U);
  EXPECT_TRUE(made.losses.empty());
  double last = 0;
  for (std::size_t b = 2; b-- > 0;) {
    const MeshMeasures m = measure(made.bodies[b].shape);
    EXPECT_EQ(m.open_edges, 0U);
    EXPECT_GT(m.volume, last);
    last = m.volume;
  }
}

TEST(Bodies, AnEqualBodyElsewhereInTheStreamIsABodyOfItsOwn) {
  XtModel model;
  for (int i = 0; i < 2; ++i) {
    if (i > 0) model.nextBody();
    addBall(model, 0.01, 0);
    model.finish();
  }
  const TessellatedBodies made = tessellate(read(model), {});
  ASSERT_EQ(made.bodies.size(), 2U);
  EXPECT_EQ(made.bodies[0].shape.positions, made.bodies[1].shape.positions);
}

TEST(Bodies, SegmentOfSeveralStreamsGivesAModelPerStream) {
  // Two streams with their lengths, and bytes of no known meaning around them.
  std::vector<std::byte> data(37, std::byte{0x53});
  for (const double radius : {0.01, 0.005}) {
    XtModel model;
    addBall(model, radius, 0);
    model.finish();
    const std::vector<std::byte> stream = streamOf(model);
    for (int i = 0; i < 4; ++i) data.push_back(static_cast<std::byte>(stream.size() >> (8 * i)));
    data.insert(data.end(), stream.begin(), stream.end());
    data.push_back(std::byte{0x50});
  }
  Segment segment;
  segment.unpacked = data;
  segment.data = segment.unpacked;
  const auto models = readMultiXtBrep(segment, ByteOrder::Little);
  ASSERT_TRUE(models) << models.error().text();
  ASSERT_EQ(models->size(), 2U);
  EXPECT_NEAR((*models)[0].surfaces.at(0).radius, 0.01, 1e-12);
  EXPECT_NEAR((*models)[1].surfaces.at(0).radius, 0.005, 1e-12);
  // Damage in one of them is not ignored.
  segment.unpacked[37 + 4 + 90] = std::byte{0xff};  // type of the first node
  segment.data = segment.unpacked;
  EXPECT_FALSE(readMultiXtBrep(segment, ByteOrder::Little));
  segment.unpacked.assign(100, std::byte{0});
  segment.data = segment.unpacked;
  EXPECT_FALSE(readMultiXtBrep(segment, ByteOrder::Little));
}

TEST(Bodies, SheetComesOnce) {
  XtModel model;
  model.asSheet();
  addDisk(model, 0.01, 0);
  model.finish();
  const Bodies bodies = read(model);
  ASSERT_EQ(bodies.faces.size(), 1U);
  EXPECT_FALSE(bodies.bodies[0].solid);
  EXPECT_NEAR(measure(tessellate(bodies, {}).bodies[0].shape).area, 314.159, 2);
}

TEST(Bodies, SheetThatHangsOnTheFrontOfTheOutsideComesToo) {
  // Faces of the outside's shell may be listed by their front; each counts once, however often it is listed.
  XtModel model;
  model.asSheet();
  addDisk(model, 0.01, 0);
  addDisk(model, 0.01, 0.005);
  model.finish();
  const auto shell = model.faceNode(0);
  XtWriter& nodes = model.nodes();
  // Face 0 is in both chains, face 1 in that of the fronts alone.
  nodes.pointer(shell, "next", 0);
  nodes.pointer(shell, "next_front", model.faceNode(1));
  for (XtWriter::Id id = 1; id < model.faceNode(0); ++id) {
    if (nodes.typeOf(id) == 13) nodes.pointer(id, "front_face", model.faceNode(0));
  }
  const Bodies bodies = read(model);
  ASSERT_EQ(bodies.faces.size(), 2U);
  EXPECT_NEAR(measure(tessellate(bodies, {}).bodies[0].shape).area, 628.318, 4);
}

TEST(Bodies, WireHasNothingToShowAndIsNoDamage) {
  XtModel model;
  model.asSheet();
  const int a = model.vertex({0, 0, 0});
  const int b = model.vertex({0.01, 0, 0});
  model.wire(model.straight(a, b));
  model.finish();
  model.nextBody();
  addBall(model, 0.01, 0);
  model.finish();
  const TessellatedBodies made = tessellate(read(model), {});
  EXPECT_TRUE(made.losses.empty());
  ASSERT_EQ(made.bodies.size(), 2U);
  EXPECT_EQ(made.bodies[0].shape.primitiveCount(), 0U);
  EXPECT_GT(made.bodies[1].shape.primitiveCount(), 0U);
  EXPECT_EQ(mergedShape(made).primitiveCount(), made.bodies[1].shape.primitiveCount());
}

TEST(Bodies, PlacementByAnAssemblyInTheStreamIsReported) {
  XtModel model;
  addBall(model, 0.01, 0);
  model.finish();
  const auto instance = model.nodes().add(11);
  const auto transform = model.nodes().add(100);
  model.nodes().pointer(instance, "transform", transform);
  const TessellatedBodies made = tessellate(read(model), {});
  ASSERT_EQ(made.losses.size(), 1U);
  EXPECT_EQ(made.losses[0].face, kNoIndex);
  EXPECT_EQ(made.losses[0].reason, "bodies that are placed by an assembly stay where they are");
  EXPECT_GT(made.bodies[0].shape.primitiveCount(), 0U);
}

TEST(Bodies, WorldAroundThemChangesNothing) {
  XtModel model;
  const auto world = model.nodes().add(101);
  model.nodes().number(world, "alive", 1);
  model.nodes().number(world, "highest_id", 12);
  addBall(model, 0.01, 0);
  model.finish();
  EXPECT_EQ(read(model).faces.size(), 1U);
}

TEST(Bodies, StreamWithoutEmbeddedSchemaIsTheBaseSchema) {
  XtModel model = models::box(0.03, 0.02, 0.01);
  model.nodes().embedSchema(false);
  model.finish();
  EXPECT_EQ(measure(tessellate(read(model), {}).bodies[0].shape).triangles, 12U);
}

TEST(Bodies, UserFieldsAreSteppedOverWhereverTheyAre) {
  for (const int count : {1, 2, 16}) {
    for (const bool before : {false, true}) {
      SCOPED_TRACE(testing::Message() << count << (before ? " before" : " behind") << " the fields");
      XtModel model = models::box(0.03, 0.02, 0.01);
      model.nodes().userFields(count, before);
      model.finish();
      EXPECT_EQ(measure(tessellate(read(model), {}).bodies[0].shape).triangles, 12U);
    }
  }
}

TEST(Bodies, TooManyUserFieldsAreDamage) {
  XtModel model = models::box(0.03, 0.02, 0.01);
  model.nodes().userFields(17, false);
  model.finish();
  const auto bodies = readBodies(model);
  ASSERT_FALSE(bodies);
  EXPECT_NE(bodies.error().what.find("size of XT user fields is 17"), std::string::npos)
      << bodies.error().what;
}

TEST(Bodies, ToleranceOfAnEdgeIsHowFarItMayBeOffItsSurface) {
  // The rim of a disk half a millimetre above its plane: damage, unless the edge's tolerance allows it.
  for (const double tolerance : {0.0, 6e-4}) {
    XtModel model;
    model.asSheet();
    const int ring = model.edge(model.circle({0, 0, 5e-4}, kZ, kX, 0.01), -1, -1);
    model.face(model.plane({}, kZ, kX), false, {{{ring, true}}});
    model.finish();
    for (XtWriter::Id id = 1; id <= model.nodes().size(); ++id) {
      if (model.nodes().typeOf(id) == 16) model.nodes().number(id, "tolerance", tolerance);
    }
    EXPECT_EQ(tessellate(read(model), {}).losses.empty(), tolerance > 0) << tolerance;
  }
}

}  // namespace
}  // namespace jttk::brep
