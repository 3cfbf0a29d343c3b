// Parts that hold exact geometry: when they are tessellated, where the strips are handed out, with which
// winding, in which unit, and what is reported about the rest.
#include <gmock/gmock.h>

#include <array>
#include <map>

#include "jttk/model/settings.h"
#include "tests/jttk/brep/models.h"
#include "tests/jttk/model/loaded.h"
#include "tests/jttk/support/from_maker.h"

namespace {

using jttk::from_maker::guidOf;
using jttk::testing::Loaded;
using jttk::testing::shapeOf;
using loftbay::maker::GuidValue;
using loftbay::maker::pieces::Bytes;
using loftbay::maker::pieces::GraphBuilder;
using loftbay::maker::pieces::Ids;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr GuidValue kExactSegment{7, 1, 2, {}};
constexpr GuidValue kOther{8, 1, 2, {}};

// 2 cm x 3 cm x 5 cm: 30 cm3.
Bytes box() {
  auto model = jttk::brep::models::box(0.02, 0.03, 0.05);
  model.finish();
  return jttk::brep::segmentOf(model);
}

Bytes cylinder() {
  auto model = jttk::brep::models::cylinder(0.01, 0.02, false);
  model.finish();
  return jttk::brep::segmentOf(model);
}

struct Mesh {
  std::vector<std::array<std::array<float, 3>, 3>> triangles;

  // Every directed edge has exactly one opposite.
  [[nodiscard]] bool closed() const {
    std::map<std::pair<std::array<float, 3>, std::array<float, 3>>, int> edges;
    for (const auto& t : triangles) {
      for (std::size_t k = 0; k < 3; ++k) ++edges[{t[k], t[(k + 1) % 3]}];
    }
    for (const auto& [edge, count] : edges) {
      const auto opposite = edges.find({edge.second, edge.first});
      if (count != 1 || opposite == edges.end() || opposite->second != 1) return false;
    }
    return !edges.empty();
  }

  [[nodiscard]] double volume() const {
    double six = 0;
    for (const auto& [a, b, c] : triangles) {
      six += double{a[0]} * (double{b[1]} * c[2] - double{b[2]} * c[1]) -
             double{a[1]} * (double{b[0]} * c[2] - double{b[2]} * c[0]) +
             double{a[2]} * (double{b[0]} * c[1] - double{b[1]} * c[0]);
    }
    return six / 6;
  }
};

enum class From { Arrays, Geometry };

// The triangles, with the usual winding of strips. Normals must be there and have unit length.
Mesh meshOf(JtkShape* shape, From from) {
  Mesh mesh;
  for (int set = 0; set < shape->getPrimitiveSetCount(); ++set) {
    float* arrays[4] = {};
    int counts[4] = {};
    const int answer = from == From::Geometry
                           ? shape->getPrimitiveSetGeometry(set, arrays[0], counts[0], arrays[1], counts[1])
                           : shape->getPrimitiveSetArrays(set, arrays[0], counts[0], arrays[1], counts[1],
                                                          arrays[2], counts[2], arrays[3], counts[3]);
    EXPECT_EQ(answer, 1);
    EXPECT_EQ(counts[0], counts[1]);
    const auto at = [&](int i) {
      const float* p = arrays[0] + std::ptrdiff_t{3} * i;
      return std::array<float, 3>{p[0], p[1], p[2]};
    };
    for (int i = 0; i + 2 < counts[0]; ++i) {
      const int odd = i % 2;
      mesh.triangles.push_back({at(i + odd), at(i + 1 - odd), at(i + 2)});
    }
    for (const float* array : arrays) delete[] array;
  }
  return mesh;
}

class Result {
 public:
  explicit Result(JtkHierarchy* part, JtkTessParams* parameters = nullptr) {
    answer = static_cast<JtkPart*>(part)->tessellate(parameters, list_);
    if (list_ != nullptr) list_->ref();
  }
  ~Result() {
    if (list_ != nullptr) list_->unref();
  }
  Result(const Result&) = delete;
  Result& operator=(const Result&) = delete;
  [[nodiscard]] JtkShape* shape() const {
    return list_ == nullptr ? nullptr : dynamic_cast<JtkShape*>((*list_)[0]);
  }
  [[nodiscard]] int length() const { return list_ == nullptr ? -1 : list_->length(); }
  int answer = -1;

 private:
  JtkEntityList* list_ = nullptr;
};

int requires_(JtkHierarchy* part) { return static_cast<JtkPart*>(part)->requiresTessellation(); }

JtkTessParams* parameters(float chord_percent, float minimum_edge_length) {
  JtkString no_text;
  return JtkEntityFactory::createTessParams(chord_percent, 0.08F, 0.1F, 1, 1, 1, minimum_edge_length, 0,
                                            no_text, 0);
}

// Of the part, with these parameters.
std::size_t triangles(const Loaded& model, JtkTessParams* values) {
  const Result result(model.at({0}), values);
  return meshOf(result.shape(), From::Arrays).triangles.size();
}

class ExactGeometry : public testing::Test {
 protected:
  ~ExactGeometry() override { JtkEntityFactory::fini(); }
  const jttk::testing::ScopedSettings settings_;
  // A part, node 2, with exact geometry and these children, below an assembly.
  static GraphBuilder exactPart(const Bytes& data, const Ids& children) {
    GraphBuilder graph;
    graph.partition(0, {1}).name("root");
    graph.metaData(1, {2}).name("assembly");
    graph.part(2, children).name("part").lateLoaded("JT_LLPROP_XTBREP", kExactSegment, 17);
    graph.exactGeometry(kExactSegment, data);
    return graph;
  }
  // Nothing else in it.
  static GraphBuilder alone(const Bytes& data, std::string_view units = "Millimeters") {
    GraphBuilder graph = exactPart(data, {});
    if (!units.empty()) GraphBuilder::NodeSettings(graph, 2).property("JT_PROP_MEASUREMENT_UNITS", units);
    return graph;
  }
  // With one tetrahedron of facets.
  static GraphBuilder withFacets(const Bytes& data) {
    GraphBuilder graph = exactPart(data, {3});
    graph.triStrips(3);
    return graph;
  }
  // An instance in an assembly refers to the part.
  static GraphBuilder instanced(const Bytes& data) {
    GraphBuilder graph;
    graph.partition(0, {1}).name("root");
    graph.metaData(1, {2}).name("assembly");
    graph.instance(2, 3).name("placed");
    graph.part(3, {}).name("part").lateLoaded("JT_LLPROP_XTBREP", kExactSegment, 17);
    graph.exactGeometry(kExactSegment, data);
    return graph;
  }
};

// Files whose finest level is left to the exact geometry.
TEST_F(ExactGeometry, StandsForAnEmptyFinestLevelAndTheNextLevelForWhatCannotBeRead) {
  for (const bool readable : {true, false}) {
    GraphBuilder graph;
    graph.exactGeometry(kExactSegment, readable ? box() : Bytes(20));
    graph.partition(0, {1}).name("part");
    graph.part(1, {2}).lateLoaded("JT_LLPROP_XTBREP", kExactSegment, 17);
    graph.rangeLod(2, {3, 4});
    graph.group(3, {});
    graph.triStrips(4);
    const Loaded model(graph);
    auto* part = static_cast<JtkPart*>(model.root());
    EXPECT_EQ(part->numShapes(0), readable ? 0 : 1);
    EXPECT_EQ(part->requiresTessellation(), readable ? 1 : 0);
    // Facets of another level replace damaged exact geometry: both the damage and the level are reported.
    EXPECT_EQ(model.recorder.losses.size(), readable ? 0U : 2U);
  }
}

TEST_F(ExactGeometry, APartWithoutShapesIsTessellated) {
  const Loaded model(alone(box()));
  JtkHierarchy* part = model.at({0});
  EXPECT_NE(requires_(part), 0);
  EXPECT_EQ(static_cast<JtkPart*>(part)->numShapeLODs(), 0);
  const Result result(part);
  EXPECT_EQ(result.answer, 1);
  EXPECT_EQ(result.length(), 1);
  ASSERT_NE(result.shape(), nullptr);
  EXPECT_EQ(result.shape()->typeID(), JtkEntity::JtkTRISTRIPSET);
  EXPECT_THAT(model.recorder.losses, IsEmpty());
}

TEST_F(ExactGeometry, ArraysHaveTheOrdinarySenseAndGeometryTheOther) {
  for (const Bytes& data : {box(), cylinder()}) {
    const Loaded model(alone(data));
    const Result result(model.at({0}));
    ASSERT_NE(result.shape(), nullptr);
    const Mesh ordinary = meshOf(result.shape(), From::Arrays);
    const Mesh other = meshOf(result.shape(), From::Geometry);
    EXPECT_TRUE(ordinary.closed());
    EXPECT_TRUE(other.closed());
    EXPECT_GT(ordinary.volume(), 0);
    EXPECT_DOUBLE_EQ(other.volume(), -ordinary.volume());
    EXPECT_EQ(ordinary.triangles.size(), other.triangles.size());
  }
}

TEST_F(ExactGeometry, LengthsAreInThePartsUnits) {
  for (const auto& [units, volume] :
       {std::pair{"Millimeters", 30e3}, std::pair{"centimeters", 30.0}, std::pair{"Meters", 30e-6},
        std::pair{"Microns", 30e12}, std::pair{"mils", 30e-6 / (2.54e-5 * 2.54e-5 * 2.54e-5)}}) {
    const Loaded model(alone(box(), units));
    const Result result(model.at({0}));
    ASSERT_NE(result.shape(), nullptr);
    EXPECT_NEAR(meshOf(result.shape(), From::Arrays).volume() / volume, 1, 1e-5) << units;
  }
}

TEST_F(ExactGeometry, WithoutAnyWordOnUnitsLengthsAreMillimetres) {
  const Loaded model(alone(box(), ""));
  const Result result(model.at({0}));
  ASSERT_NE(result.shape(), nullptr);
  EXPECT_NEAR(meshOf(result.shape(), From::Arrays).volume(), 30e3, 1);
}

// The unit is found from the boxes of all shapes together, except those that are moved within the part.
TEST_F(ExactGeometry, WithoutAnyWordOnUnitsTheBoxesOfTheShapesTellThem) {
  GraphBuilder graph = exactPart(box(), {3, 4, 5});
  graph.move(20, 1, 2, 3);
  // In centimetres: two corners of the 2 x 3 x 5. One of them alone would be in metres.
  graph.setShapeBox({0, 0, 0, 0.05F, 0.05F, 0.05F});
  graph.triStripsOfNothing(3);
  graph.setShapeBox({1.95F, 2.95F, 4.95F, 2, 3, 5});
  graph.triStripsOfNothing(4);
  graph.setShapeBox({0, 0, 0, 2000, 3000, 5000});
  graph.triStripsOfNothing(5).attributes({20});
  const Loaded model(graph);
  const Result result(model.at({0}));
  ASSERT_NE(result.shape(), nullptr);
  EXPECT_NEAR(meshOf(result.shape(), From::Arrays).volume(), 30, 1e-3);
}

TEST_F(ExactGeometry, TheChordToleranceIsThatOfTheParameters) {
  const Loaded model(alone(cylinder()));
  const std::size_t coarse = triangles(model, parameters(1.0F, 0));
  EXPECT_LT(coarse, triangles(model, parameters(0.01F, 0)));
  EXPECT_EQ(coarse, triangles(model, parameters(1.0F, 0)));
}

// A cylinder of radius 10: 20 degrees of it are 3.5 long.
TEST_F(ExactGeometry, TheMinimumEdgeIsThatOfTheParametersEachTime) {
  const auto ofOne = [](float minimum_edge) {
    const Loaded model(alone(cylinder()));
    return triangles(model, parameters(1.0F, minimum_edge));
  };
  const std::size_t without = ofOne(0);
  const std::size_t with = ofOne(8);
  EXPECT_LT(with, without);
  const Loaded model(alone(cylinder()));
  EXPECT_EQ(triangles(model, parameters(1.0F, 0)), without);
  EXPECT_EQ(triangles(model, parameters(1.0F, 8)), with);
  EXPECT_EQ(triangles(model, parameters(1.0F, 0)), without);
}

TEST_F(ExactGeometry, ValuesThatMakeNoSenseAreTheDefaults) {
  const Loaded model(alone(cylinder()));
  const std::size_t usual = triangles(model, nullptr);
  EXPECT_EQ(triangles(model, parameters(-1, -1)), usual);
  EXPECT_EQ(triangles(model, parameters(std::numeric_limits<float>::quiet_NaN(),
                                        std::numeric_limits<float>::quiet_NaN())),
            usual);
}

TEST_F(ExactGeometry, APartThatAnInstanceRefersToOffersItAsLevelZero) {
  const Loaded model(instanced(cylinder()));
  auto* part = static_cast<JtkPart*>(Loaded::target(model.at({0})));
  ASSERT_EQ(part->numShapeLODs(), 1);
  ASSERT_EQ(part->numShapes(0), 1);
  EXPECT_EQ(part->requiresTessellation(), 0);
  JtkShape* shape = shapeOf(part, 0, 0);
  ASSERT_NE(shape, nullptr);
  EXPECT_EQ(shape->typeID(), JtkEntity::JtkTRISTRIPSET);
  EXPECT_TRUE(meshOf(shape, From::Arrays).closed());
  EXPECT_GT(meshOf(shape, From::Arrays).volume(), 0);
  EXPECT_GT(meshOf(shape, From::Geometry).volume(), 0);
}

TEST_F(ExactGeometry, InstancedPartsAreMadeWithTheParametersThatWereCreated) {
  const auto trianglesAt = [](float chord_percent) {
    parameters(chord_percent, 0);
    const Loaded model(instanced(cylinder()));
    return meshOf(shapeOf(Loaded::target(model.at({0})), 0, 0), From::Arrays).triangles.size();
  };
  EXPECT_LT(trianglesAt(1.0F), trianglesAt(0.01F));
}

TEST_F(ExactGeometry, FacetsOfTheFileAreUsedUnlessTheSettingSaysOtherwise) {
  const Loaded model(withFacets(box()));
  EXPECT_EQ(requires_(model.at({0})), 0);
  EXPECT_EQ(static_cast<JtkPart*>(model.at({0}))->numShapes(0), 1);

  settings_->exact_geometry = true;
  const Loaded exact(withFacets(box()));
  EXPECT_NE(requires_(exact.at({0})), 0);
  const Result result(exact.at({0}));
  ASSERT_NE(result.shape(), nullptr);
  EXPECT_EQ(meshOf(result.shape(), From::Arrays).triangles.size(), 12U);
  EXPECT_THAT(exact.recorder.losses, IsEmpty());
}

TEST_F(ExactGeometry, TheMaterialOfAllFacetsStaysWithThePart) {
  settings_->exact_geometry = true;
  GraphBuilder graph = exactPart(box(), {3});
  graph.triStrips(3).attributes({9});
  graph.material(9, {.diffuse = {0.25F, 0, 0, 1}});
  const Loaded model(graph);
  EXPECT_EQ(jttk::testing::redOf(model.at({0})), 0.25F);
}

TEST_F(ExactGeometry, WhatCannotBeReadLeavesTheFacets) {
  settings_->exact_geometry = true;
  const Loaded model(withFacets(Bytes(40, std::byte{3})));
  for (int i = 0; i < 2; ++i) EXPECT_EQ(requires_(model.at({0})), 0);
  EXPECT_EQ(static_cast<JtkPart*>(model.at({0}))->numShapes(0), 1);
  EXPECT_NE(shapeOf(model.at({0}), 0, 0), nullptr);
  EXPECT_THAT(model.recorder.losses, IsEmpty());
}

TEST_F(ExactGeometry, NullShapesShowNothing) {
  GraphBuilder graph = exactPart(box(), {3});
  graph.nullShape(3);
  const Loaded model(graph);
  EXPECT_NE(requires_(model.at({0})), 0);
}

TEST_F(ExactGeometry, WhatIsHiddenStaysHidden) {
  GraphBuilder graph = exactPart(box(), {3});
  graph.triStrips(3).flags(1);
  const Loaded model(graph);
  EXPECT_EQ(requires_(model.at({0})), 0);
  EXPECT_THAT(model.recorder.losses, IsEmpty());
}

TEST_F(ExactGeometry, AnUnreadableSegmentIsToldOnceWithPartFileAndReason) {
  const Loaded model(alone(Bytes(40, std::byte{3})));
  for (int i = 0; i < 2; ++i) EXPECT_EQ(requires_(model.at({0})), 0);
  EXPECT_THAT(model.recorder.losses,
              ElementsAre(AllOf(HasSubstr("part: "),
                                HasSubstr("machine.jt: segment " + guidOf(kExactSegment).text()))));
  EXPECT_EQ(Result(model.at({0})).answer, 0);
}

TEST_F(ExactGeometry, AFaceThatIsLostIsToldOnceAndTheOthersCome) {
  auto solid = jttk::brep::models::box(0.02, 0.03, 0.05);
  solid.finish();
  solid.nodes().pointer(solid.faceNode(4), "surface", 0);
  const Loaded model(alone(jttk::brep::segmentOf(solid)));
  for (int i = 0; i < 2; ++i) {
    EXPECT_NE(requires_(model.at({0})), 0);
    const Result result(model.at({0}));
    ASSERT_NE(result.shape(), nullptr);
    EXPECT_EQ(meshOf(result.shape(), From::Arrays).triangles.size(), 10U);
  }
  EXPECT_THAT(model.recorder.losses, ElementsAre(AllOf(HasSubstr("part: "), HasSubstr("machine.jt: segment "),
                                                       HasSubstr(": face "))));
}

TEST_F(ExactGeometry, OtherKindsBesideTheOneThatCanBeReadAreNoLoss) {
  GraphBuilder graph;
  graph.partition(0, {1}).name("root");
  graph.metaData(1, {2}).name("assembly");
  graph.part(2, {})
      .name("part")
      .lateLoaded("JT_LLPROP_OTHER", kOther, 24)
      .lateLoaded("JT_LLPROP_XTBREP", kExactSegment, 17);
  graph.exactGeometry(kExactSegment, box());
  const Loaded model(graph);
  EXPECT_NE(requires_(model.at({0})), 0);
  EXPECT_THAT(model.recorder.losses, IsEmpty());
}

TEST_F(ExactGeometry, AKindThatCannotBeReadIsToldWithItsName) {
  for (const auto& [type, name] : {std::pair{2, "JT B-Rep"}, std::pair{20, "ULP"}, std::pair{24, "LWPA"}}) {
    GraphBuilder graph;
    graph.partition(0, {1}).name("root");
    graph.metaData(1, {2});
    graph.part(2, {}).name("part").lateLoaded("JT_LLPROP_OTHER", kOther, type);
    const Loaded model(graph);
    EXPECT_EQ(requires_(model.at({0})), 0);
    EXPECT_THAT(model.recorder.losses, ElementsAre(AllOf(HasSubstr("part: "), HasSubstr(name))));
  }
}

}  // namespace
