// Levels of detail, and what a part hands out of its shapes.
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <memory>

#include "host/path.h"
#include "jttk/interface/part.h"
#include "jttk/interface/shape_object.h"
#include "jttk/interface/shape_type.h"
#include "jttk/mesh/shape_arrays.h"
#include "jttk/model/settings.h"
#include "samples/maker/guids.h"
#include "samples/maker/pieces/shapes.h"
#include "tests/jttk/model/loaded.h"
#include "tests/jttk/support/from_maker.h"

namespace {

namespace pieces = loftbay::maker::pieces;
using jttk::PrimitiveKind;
using jttk::ShapeArrays;
using jttk::ShapeGeometry;
using jttk::from_maker::guidOf;
using jttk::testing::Loaded;
using jttk::testing::partOf;
using jttk::testing::shapeOf;
using loftbay::maker::pieces::Bytes;
using loftbay::maker::pieces::GraphBuilder;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

int levels(JtkHierarchy* part) { return static_cast<JtkPart*>(part)->numShapeLODs(); }
int shapes(JtkHierarchy* part, int level) { return static_cast<JtkPart*>(part)->numShapes(level); }

// The number of shapes of every level.
std::vector<int> shapesOfLevels(JtkHierarchy* part) {
  std::vector<int> counts(static_cast<std::size_t>(levels(part)));
  for (std::size_t level = 0; level < counts.size(); ++level)
    counts[level] = shapes(part, static_cast<int>(level));
  return counts;
}

std::vector<float> firstVertices(JtkShape* shape) {
  float* arrays[2] = {};
  int counts[2] = {-1, -1};
  EXPECT_EQ(shape->getPrimitiveSetGeometry(0, arrays[0], counts[0], arrays[1], counts[1]), 1);
  std::vector<float> values(arrays[0], arrays[0] + 3 * counts[0]);
  delete[] arrays[0];
  delete[] arrays[1];
  return values;
}

TEST(Levels, AreTheChildrenOfTheLevelOfDetailNodeTheFinestFirst) {
  GraphBuilder graph = partOf({2});
  graph.rangeLod(2, {3, 6});
  graph.group(3, {4, 5});
  graph.triStrips(4);
  graph.triStrips(5);
  graph.triStrips(6);
  const Loaded model(graph);
  EXPECT_THAT(shapesOfLevels(model.root()), ElementsAre(2, 1));
  EXPECT_EQ(shapes(model.root(), 2), 0);
  EXPECT_EQ(shapes(model.root(), -1), 0);
  EXPECT_EQ(shapeOf(model.root(), 0, 2), nullptr);
  EXPECT_EQ(shapeOf(model.root(), 5, 0), nullptr);
}

TEST(Levels, ShapesWithoutALevelOfDetailNodeAreLevelZero) {
  GraphBuilder graph = partOf({2, 3});
  graph.triStrips(2);
  graph.group(3, {4});
  graph.triStrips(4);
  const Loaded model(graph);
  EXPECT_THAT(shapesOfLevels(model.root()), ElementsAre(2));
}

TEST(Levels, OfSeveralLevelOfDetailNodesAreJoinedAndOfNestedOnesTheFinestCounts) {
  GraphBuilder graph = partOf({2, 6});
  graph.lod(2, {3, 5});
  graph.lod(3, {4, 5});
  graph.triStrips(4);
  graph.triStrips(5);
  graph.rangeLod(6, {7});
  graph.triStrips(7);
  const Loaded model(graph);
  EXPECT_THAT(shapesOfLevels(model.root()), ElementsAre(2, 1));
}

// Nothing else could be shown of it.
TEST(Levels, EmptyLevelsInFrontOfTheFirstShapeDoNotCount) {
  GraphBuilder graph = partOf({2});
  graph.rangeLod(2, {3, 4});
  graph.group(3, {});
  graph.triStrips(4);
  const Loaded model(graph);
  EXPECT_THAT(shapesOfLevels(model.root()), ElementsAre(1));
}

TEST(Levels, AHiddenFinestLevelIsNotReplacedByAnother) {
  GraphBuilder graph = partOf({2});
  graph.rangeLod(2, {3, 4});
  graph.group(3, {5}).flags(1);
  graph.triStrips(4);
  graph.triStrips(5);
  const Loaded model(graph);
  EXPECT_THAT(shapesOfLevels(model.root()), ElementsAre(0, 1));
}

TEST(Levels, EverythingBelowAPartBelongsToIt) {
  GraphBuilder graph;
  graph.move(20, 10, 0, 0);
  graph.partition(0, {1}).name("part");
  graph.part(1, {2, 4, 6});
  graph.metaData(2, {3});
  graph.triStrips(3);
  graph.instance(4, 2).attributes({20});
  graph.switchNode(6, {3, 2}, 0);
  const Loaded model(graph);
  ASSERT_EQ(shapes(model.root(), 0), 3);
  EXPECT_EQ(firstVertices(shapeOf(model.root(), 0, 1))[0] - firstVertices(shapeOf(model.root(), 0, 0))[0],
            10);
}

TEST(Levels, NullShapesAreShapesWithoutSets) {
  GraphBuilder graph = partOf({2});
  graph.nullShape(2);
  const Loaded model(graph);
  JtkShape* shape = shapeOf(model.root(), 0, 0);
  ASSERT_NE(shape, nullptr);
  EXPECT_EQ(shape->typeID(), JtkEntity::JtkNULLSHAPE);
  EXPECT_EQ(shape->getPrimitiveSetCount(), 0);
  EXPECT_THAT(model.recorder.losses, IsEmpty());
}

TEST(Levels, APartWithExactGeometryOnlyIsReportedOnce) {
  GraphBuilder graph;
  graph.partition(0, {1, 2, 4}).name("root");
  graph.part(1, {}).name("exact").lateLoaded("JT_LLPROP_XTBREP", {1, 2, 3, {}}, 17);
  graph.part(2, {3}).name("both").lateLoaded("JT_LLPROP_XTBREP", {1, 2, 3, {}}, 17);
  graph.triStrips(3);
  graph.part(4, {}).name("neither").lateLoaded("JT_LLPROP_METADATA", {1, 2, 3, {}}, 4);
  const Loaded model(graph);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(levels(model.at({0})), 0);
    EXPECT_EQ(levels(model.at({1})), 1);
    EXPECT_EQ(levels(model.at({2})), 0);
    for (const int k : {0, 1, 2}) EXPECT_EQ(static_cast<JtkPart*>(model.at({k}))->requiresTessellation(), 0);
  }
  EXPECT_THAT(model.recorder.losses,
              ElementsAre(AllOf(HasSubstr("exact: "), HasSubstr("is not in the table of contents"))));
}

TEST(Shapes, ADamagedOneIsNullAndReportedOnceWithFileSegmentAndPlace) {
  GraphBuilder graph;
  graph.partition(0, {1}).name("root");
  graph.metaData(1, {2, 3});
  graph.instance(2, 4).name("first");
  graph.instance(3, 4).name("second");
  graph.part(4, {5, 6}).name("part");
  graph.triStrips(5);
  graph.setGeometry(Bytes(40));
  graph.triStrips(6);
  const Loaded model(graph);
  for (const int instance : {0, 1}) {
    JtkHierarchy* part = Loaded::target(model.at({instance}));
    ASSERT_EQ(shapes(part, 0), 2);
    EXPECT_NE(shapeOf(part, 0, 0), nullptr);
    EXPECT_EQ(shapeOf(part, 0, 1), nullptr);
  }
  EXPECT_THAT(model.recorder.losses,
              ElementsAre(AllOf(HasSubstr("part: " + loftbay::host::toHostPath("folder\\machine.jt") +
                                          ": segment " + guidOf(graph.shapeSegment(6)).text()),
                                HasSubstr("at byte"))));
  EXPECT_THAT(model.recorder.messages(), HasSubstr(guidOf(graph.shapeSegment(6)).text()));
}

TEST(Shapes, ASegmentThatCannotBeReadIsNamedOnce) {
  constexpr loftbay::maker::GuidValue kTooShort{7, 7, 7, {7}};
  GraphBuilder graph = partOf({2});
  graph.lateSegment(kTooShort, 6, {});
  graph.unknownShape(2, {9, 9, 9, {9}}).lateLoaded("JT_LLPROP_SHAPEIMPL", kTooShort, 6);
  const Loaded model(graph);
  EXPECT_EQ(shapeOf(model.root(), 0, 0), nullptr);
  ASSERT_EQ(model.recorder.losses.size(), 1U);
  const std::string segment = "segment " + guidOf(kTooShort).text() + ": ";
  EXPECT_THAT(model.recorder.losses[0], HasSubstr(segment));
  EXPECT_THAT(model.recorder.losses[0], Not(HasSubstr(segment + segment)));
}

TEST(Shapes, AreNotDecodedBeforeTheyAreAskedFor) {
  GraphBuilder graph = partOf({2});
  graph.setGeometry(Bytes(40));  // nothing that could be decoded
  graph.triStrips(2);
  const Loaded model(graph);
  EXPECT_THAT(shapesOfLevels(model.root()), ElementsAre(1));
  EXPECT_THAT(model.recorder.losses, IsEmpty());
  EXPECT_EQ(shapeOf(model.root(), 0, 0), nullptr);
  EXPECT_EQ(model.recorder.losses.size(), 1U);
}

TEST(Shapes, OfAnInstancesTargetAreFreedWhenTheWalkLeavesTheInstance) {
  GraphBuilder graph;
  graph.partition(0, {1, 3}).name("root");
  graph.instance(1, 2).name("first");
  graph.part(2, {4}).name("part");
  graph.part(3, {}).name("other");
  graph.triStrips(4);
  const jttk::testing::ScopedSettings settings;
  settings->shape_cache_bytes = 0;
  const Loaded model(graph);
  auto* shape = static_cast<jttk::ShapeObject*>(shapeOf(Loaded::target(model.at({0})), 0, 0));
  ASSERT_NE(shape, nullptr);
  EXPECT_NE(shape->arrays(), nullptr);
  (void)model.tree();
  EXPECT_EQ(shape->arrays(), nullptr);
}

TEST(Shapes, WithoutASegmentTheyAreReported) {
  GraphBuilder graph = partOf({2, 3});
  graph.emptyTriStrips(2);
  graph.emptyTriStrips(3).lateLoaded("JT_LLPROP_SHAPEIMPL", {9, 9, 9, {}}, 7);
  const Loaded model(graph);
  EXPECT_EQ(shapeOf(model.root(), 0, 0), nullptr);
  EXPECT_EQ(shapeOf(model.root(), 0, 1), nullptr);
  EXPECT_THAT(model.recorder.losses, ElementsAre(HasSubstr("tri-strip set 2 has no geometry segment"),
                                                 HasSubstr("is not in the table of contents")));
}

TEST(Shapes, TransformsInsideAPartAreAppliedToTheVertices) {
  GraphBuilder graph;
  graph.move(20, 100, 0, 0);
  graph.transform(21, {2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 1});
  graph.move(22, 0, 0, 1000);
  graph.partition(0, {1}).name("part");
  graph.part(1, {2, 5}).attributes({22});
  graph.rangeLod(2, {3}).attributes({20});
  graph.group(3, {4});
  graph.triStrips(4).attributes({21});
  graph.triStrips(5);
  const Loaded model(graph);
  const auto plain = firstVertices(shapeOf(model.root(), 0, 1));
  const auto moved = firstVertices(shapeOf(model.root(), 0, 0));
  ASSERT_EQ(plain.size(), moved.size());
  for (std::size_t i = 0; i < plain.size(); ++i) {
    EXPECT_EQ(moved[i], 2 * plain[i] + (i % 3 == 0 ? 100.0F : 0.0F));
  }
}

// Triangles of strips as positions' numbers, the smallest first.
std::vector<std::array<std::uint32_t, 3>> triangles(const ShapeGeometry& g) {
  std::vector<std::array<std::uint32_t, 3>> result;
  for (std::size_t s = 0; s + 1 < g.primitive_starts.size(); ++s) {
    for (std::uint32_t k = g.primitive_starts[s]; k + 2 < g.primitive_starts[s + 1]; ++k) {
      std::array<std::uint32_t, 3> t = {g.corner_positions[k], g.corner_positions[k + 1],
                                        g.corner_positions[k + 2]};
      if ((k - g.primitive_starts[s]) % 2 != 0) std::swap(t[0], t[1]);
      std::rotate(t.begin(), std::min_element(t.begin(), t.end()), t.end());
      result.push_back(t);
    }
  }
  std::sort(result.begin(), result.end());
  return result;
}

TEST(Shapes, AMirrorTurnsStripsOfEveryLengthOver) {
  for (std::uint32_t length = 3; length < 10; ++length) {
    ShapeGeometry geometry;
    geometry.kind = PrimitiveKind::TriangleStrips;
    geometry.primitive_starts = {0, length};
    for (std::uint32_t i = 0; i < length; ++i) {
      geometry.corner_positions.push_back(i);
      const auto x = static_cast<float>(i);
      geometry.positions.insert(geometry.positions.end(), {x, x * x, 1});
    }
    const ShapeArrays plain = makeShapeArrays(geometry);
    const ShapeArrays mirrored = transformed(plain, {-1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1});
    auto wanted = triangles(plain.geometry);
    for (auto& t : wanted) std::swap(t[1], t[2]);
    std::sort(wanted.begin(), wanted.end());
    EXPECT_EQ(wanted, triangles(mirrored.geometry)) << length;
    EXPECT_EQ(mirrored.geometry.positions[3], -1);
  }
}

TEST(Shapes, NormalsGoThroughTheInverseTransposeAndHaveLengthOne) {
  ShapeGeometry geometry;
  geometry.kind = PrimitiveKind::TriangleStrips;
  geometry.positions = {0, 0, 0};
  geometry.normals = {1, 1, 0, 0, 0, 0, 0, 0, 40};
  const ShapeArrays plain = makeShapeArrays(geometry);
  const float half = std::sqrt(0.5F);
  EXPECT_THAT(plain.geometry.normals, ElementsAre(half, half, 0, 0, 0, 0, 0, 0, 1));
  // Twice as wide: the surface x + y = c becomes x / 2 + y = c.
  const ShapeArrays wide = transformed(plain, {2, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1});
  EXPECT_NEAR(wide.geometry.normals[0], 1 / std::sqrt(5.0), 1e-6);
  EXPECT_NEAR(wide.geometry.normals[1], 2 / std::sqrt(5.0), 1e-6);
  EXPECT_EQ(wide.geometry.normals[3], 0);
  EXPECT_EQ(wide.geometry.normals[8], 1);
  const ShapeArrays mirrored = transformed(plain, {-1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1});
  EXPECT_NEAR(mirrored.geometry.normals[0], -half, 1e-6);
  EXPECT_NEAR(mirrored.geometry.normals[1], half, 1e-6);
}

TEST(Shapes, StoredStripsStayAsTheyAreDegenerateLinksIncluded) {
  ShapeGeometry geometry;
  geometry.kind = PrimitiveKind::TriangleStrips;
  geometry.positions = {0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0};
  geometry.primitive_starts = {0, 6, 8, 11};
  geometry.corner_positions = {0, 1, 2, 2, 3, 3, 0, 1, 0, 1, 3};
  const ShapeArrays arrays = makeShapeArrays(geometry);
  // The strip of two corners has no triangle and is not handed out.
  EXPECT_THAT(arrays.geometry.primitive_starts, ElementsAre(0, 6, 9));
  EXPECT_THAT(arrays.geometry.corner_positions, ElementsAre(0, 1, 2, 2, 3, 3, 0, 1, 3));
}

TEST(Shapes, TypesFollowTheGeometryAndTheNode) {
  const auto typeOf = [](PrimitiveKind geometry_kind, jttk::NodeKind node) {
    ShapeGeometry geometry;
    geometry.kind = geometry_kind;
    return jttk::shapeType(geometry, node);
  };
  using jttk::NodeKind;
  EXPECT_EQ(typeOf(PrimitiveKind::Polygons, NodeKind::TriStripSet), JtkEntity::JtkTRISTRIPSET);
  EXPECT_EQ(typeOf(PrimitiveKind::Polygons, NodeKind::PolygonSet), JtkEntity::JtkPOLYGONSET);
  EXPECT_EQ(typeOf(PrimitiveKind::Polygons, NodeKind::PrimitiveSet), JtkEntity::JtkPRIMITIVESET);
  EXPECT_EQ(typeOf(PrimitiveKind::Polylines, NodeKind::PolylineSet), JtkEntity::JtkLINESTRIPSET);
  EXPECT_EQ(typeOf(PrimitiveKind::Points, NodeKind::PointSet), JtkEntity::JtkPOINTSET);
  EXPECT_EQ(typeOf(PrimitiveKind::TriangleStrips, NodeKind::Shape), JtkEntity::JtkTRISTRIPSET);
  EXPECT_EQ(typeOf(PrimitiveKind::Empty, NodeKind::NullShape), JtkEntity::JtkNULLSHAPE);
}

TEST(Shapes, ArraysThatDoNotExistAreNullAndTheirCountsStay) {
  GraphBuilder graph = partOf({2});
  graph.triStrips(2);
  const Loaded model(graph);
  JtkShape* shape = shapeOf(model.root(), 0, 0);
  ASSERT_NE(shape, nullptr);
  float* arrays[4] = {};
  int counts[4] = {-1, -1, -1, -1};
  EXPECT_EQ(shape->getPrimitiveSetArrays(0, arrays[0], counts[0], arrays[1], counts[1], arrays[2], counts[2],
                                         arrays[3], counts[3]),
            1);
  EXPECT_GE(counts[0], 3);
  EXPECT_THAT(std::vector<int>(counts + 1, counts + 4), ElementsAre(-1, -1, -1));
  EXPECT_EQ(arrays[1], nullptr);
  EXPECT_EQ(arrays[2], nullptr);
  EXPECT_EQ(arrays[3], nullptr);
  delete[] arrays[0];
  EXPECT_EQ(shape->getPrimitiveSetArrays(shape->getPrimitiveSetCount(), arrays[0], counts[0], arrays[1],
                                         counts[1], arrays[2], counts[2], arrays[3], counts[3]),
            0);
}

// Damage to them is told only to those who ask.
TEST(Shapes, TextureCoordinatesAreHandedOutWhereSettingsAskForThem) {
  pieces::ShapeOptions options;
  options.bindings = 0x20a;
  const pieces::Bytes sound = pieces::topologicalRepData(pieces::tetrahedronSymbols(7), 4, 12, options);
  pieces::Bytes damaged = sound;
  damaged.resize(damaged.size() - 5);  // of the texture coordinates, which come last
  for (const bool asked : {false, true}) {
    for (const pieces::Bytes& rep : {sound, damaged}) {
      jttk::settings().extra_attributes = asked;
      GraphBuilder graph = partOf({2});
      graph.setGeometry(
          pieces::shapeElement(loftbay::maker::guids::kTriStripLod, pieces::PacketForm::V9, rep));
      graph.triStrips(2);
      const Loaded model(graph);
      JtkShape* shape = shapeOf(model.root(), 0, 0);
      ASSERT_NE(shape, nullptr);
      float* arrays[4] = {};
      int counts[4] = {};
      EXPECT_EQ(shape->getPrimitiveSetArrays(0, arrays[0], counts[0], arrays[1], counts[1], arrays[2],
                                             counts[2], arrays[3], counts[3]),
                1);
      EXPECT_GE(counts[0], 3);
      EXPECT_EQ(counts[1], counts[0]);
      const bool is_sound = rep.size() == sound.size();
      EXPECT_EQ(counts[3], asked && is_sound ? counts[0] : 0);
      EXPECT_EQ(arrays[3] != nullptr, asked && is_sound);
      EXPECT_EQ(model.recorder.notes.size(), asked && !is_sound ? 1U : 0U);
      EXPECT_THAT(model.recorder.losses, IsEmpty());
      for (const float* array : arrays) delete[] array;
    }
  }
  jttk::settings().extra_attributes = false;
}

TEST(Shapes, ASetWithoutVerticesIsThereAndCountsNothing) {
  GraphBuilder graph = partOf({});
  const Loaded model(graph);
  ShapeArrays arrays;
  arrays.geometry.kind = PrimitiveKind::TriangleStrips;
  arrays.geometry.positions = {0, 0, 0, 1, 0, 0, 0, 1, 0};
  arrays.geometry.normals = {0, 0, 1};
  arrays.geometry.primitive_starts = {0, 0, 3};
  arrays.geometry.corner_positions = {0, 1, 2};
  arrays.geometry.corner_records = {0, 0, 0};
  jttk::ShapeObject shape(static_cast<jttk::PartObject*>(model.root())->objects(),
                          std::make_shared<const ShapeArrays>(arrays));
  for (const int set : {0, 1, 2}) {
    float* a[4] = {};
    int counts[4] = {-1, -1, -1, -1};
    const int exists = set < 2 ? 1 : 0;
    const int vertices = set == 0 ? 0 : set == 1 ? 3 : -1;
    EXPECT_EQ(
        shape.getPrimitiveSetArrays(set, a[0], counts[0], a[1], counts[1], a[2], counts[2], a[3], counts[3]),
        exists);
    EXPECT_EQ(counts[0], vertices) << set;
    EXPECT_EQ(a[0] != nullptr, vertices > 0);
    EXPECT_EQ(a[1] != nullptr, vertices > 0);
    EXPECT_THAT(std::vector<int>(counts + 2, counts + 4), ElementsAre(-1, -1));
    for (const float* array : a) delete[] array;
    counts[0] = -1;
    EXPECT_EQ(shape.getPrimitiveSetGeometry(set, a[0], counts[0], a[1], counts[1]), exists);
    EXPECT_EQ(counts[0], vertices) << set;
    delete[] a[0];
    delete[] a[1];
  }
}

TEST(Shapes, AreReadAgainAfterTheTraverserHasLeftThePart) {
  GraphBuilder graph;
  graph.partition(0, {1, 3}).name("root");
  graph.part(1, {2}).name("part");
  graph.triStrips(2);
  graph.part(3, {}).name("other");
  const jttk::testing::ScopedSettings settings;
  settings->shape_cache_bytes = 0;
  const Loaded model(graph);
  auto* shape = static_cast<jttk::ShapeObject*>(shapeOf(model.at({0}), 0, 0));
  const auto before = firstVertices(shape);
  EXPECT_NE(shape->arrays(), nullptr);
  (void)model.tree();
  EXPECT_EQ(shape->arrays(), nullptr);
  EXPECT_EQ(firstVertices(shape), before);
}

TEST(Shapes, OfTwoInstancesHaveOneOwnerUnlessTheirArraysDiffer) {
  GraphBuilder graph;
  graph.move(20, 100, 0, 0);
  graph.partition(0, {1, 3}).name("root");
  graph.instance(1, 2).name("first");
  graph.instance(3, 2).name("second");
  graph.part(2, {4, 5, 6}).name("part");
  graph.triStrips(4);
  graph.triStrips(5);
  graph.triStrips(6).attributes({20});
  const Loaded model(graph);
  const auto owner = [&model](int instance, int index) {
    return std::weak_ptr<const void>(
        shapeOf(Loaded::target(model.at({instance})), 0, index)->decodedArrays());
  };
  const auto same = [](const std::weak_ptr<const void>& a, const std::weak_ptr<const void>& b) {
    return !a.owner_before(b) && !b.owner_before(a);
  };
  const auto none = std::weak_ptr<const void>();
  EXPECT_FALSE(same(owner(0, 0), none));
  EXPECT_TRUE(same(owner(0, 0), owner(1, 0)));
  EXPECT_FALSE(same(owner(0, 0), owner(0, 1)));
  // Moved inside the part, by as much as it may be elsewhere.
  EXPECT_FALSE(same(owner(0, 2), owner(0, 0)));
  EXPECT_FALSE(same(owner(0, 2), none));
}

TEST(ShapeCache, KeepsTheLatestUpToItsLimit) {
  jttk::ShapeCache cache(3 * sizeof(ShapeArrays));
  const auto arrays = std::make_shared<const ShapeArrays>();
  const jttk::Document document{};
  for (std::uint32_t i = 0; i < 3; ++i) cache.keep({&document, i}, arrays);
  EXPECT_NE(cache.find({&document, 0}), nullptr);
  cache.keep({&document, 3}, arrays);
  EXPECT_EQ(cache.find({&document, 1}), nullptr);  // the one that was not used longest
  EXPECT_NE(cache.find({&document, 0}), nullptr);
  EXPECT_NE(cache.find({&document, 3}), nullptr);
  EXPECT_LE(cache.sizeBytes(), 3 * sizeof(ShapeArrays));
}

}  // namespace
