// Faulty matrices and coordinates: element 15, NaN and infinity, matrices that cannot place anything.
#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "jttk/mesh/matrix.h"
#include "samples/maker/solids.h"
#include "samples/maker/write_jt.h"
#include "tests/jttk/model/loaded.h"

namespace {

namespace maker = loftbay::maker;
using jttk::checkPlaces;
using jttk::Matrix;
using jttk::testing::Loaded;
using jttk::testing::transformOf;
using loftbay::maker::pieces::GraphBuilder;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr const char* kVersions[] = {"8.1", "9.5", "10.0"};

// A model whose only part is placed by the matrix, on the part itself or on a group above.
GraphBuilder placedPart(const char* version, const Matrix& matrix, bool on_group = false) {
  GraphBuilder graph(version);
  graph.transform(20, matrix);
  graph.partition(0, {1}).name("machine");
  graph.metaData(1, {2, 5});
  auto group = graph.group(2, {3});
  if (on_group) group.attributes({20});
  auto part = graph.part(3, {}).name("wheel");
  if (!on_group) part.attributes({20});
  graph.part(5, {}).name("axle");
  return graph;
}

TEST(Element15, IsDividedOutOfAllOthers) {
  for (const char* version : kVersions) {
    for (const bool on_group : {false, true}) {
      const Loaded model(placedPart(version, {2, 0, 0, 0, 0, 4, 0, 0, 0, 0, 6, 0, 8, 10, 12, 2}, on_group));
      EXPECT_THAT(transformOf(model.at({0})), ElementsAre(1, 0, 0, 0, 0, 2, 0, 0, 0, 0, 3, 0, 4, 5, 6, 1))
          << version << on_group;
      EXPECT_THAT(model.recorder.losses, IsEmpty());
    }
  }
}

TEST(Element15, IsDividedOutOfEveryMatrixOnTheWay) {
  GraphBuilder graph;
  graph.transform(20, {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 10, 0, 0, 0.5});
  graph.transform(21, {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 4, 0, 4});
  graph.partition(0, {1}).name("machine");
  graph.metaData(1, {2, 5});
  graph.group(2, {3}).attributes({20});
  graph.part(3, {}).attributes({21});
  graph.part(5, {});
  const Loaded model(graph);
  EXPECT_THAT(transformOf(model.at({0})), ElementsAre(0.5, 0, 0, 0, 0, 0.5, 0, 0, 0, 0, 0.5, 0, 20, 2, 0, 1));
}

// Real files have such ones; dividing would change the last bits of what is right.
TEST(Element15, ThatIsOneButForRoundingChangesNothing) {
  Matrix matrix = jttk::kIdentity;
  matrix[12] = 0.1;
  matrix[15] = 1 + 4e-16;
  EXPECT_EQ(jttk::homogenised(matrix), matrix);
  matrix[15] = 1.001;
  EXPECT_EQ(jttk::homogenised(matrix)[12], 0.1 / 1.001);
}

TEST(Element15, CountsInsideAPartToo) {
  GraphBuilder graph;
  graph.transform(20, {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0.5});
  graph.partition(0, {1}).name("part");
  graph.part(1, {2, 3});
  graph.triStrips(2).attributes({20});
  graph.triStrips(3);
  const Loaded model(graph);
  const auto first = [&](int index) {
    float* vertices = nullptr;
    float* normals = nullptr;
    int vertex_count = -1;
    int normal_count = -1;
    auto* shape = jttk::testing::shapeOf(model.root(), 0, index);
    EXPECT_EQ(shape->getPrimitiveSetGeometry(0, vertices, vertex_count, normals, normal_count), 1);
    const std::vector<float> copy(vertices, vertices + 3 * vertex_count);
    delete[] vertices;
    delete[] normals;
    return copy;
  };
  const auto doubled = first(0);
  const auto plain = first(1);
  ASSERT_EQ(doubled.size(), plain.size());
  for (std::size_t i = 0; i < plain.size(); ++i) EXPECT_EQ(doubled[i], 2 * plain[i]);
}

TEST(Matrices, ThatPlaceNothingWellAreToldOnceAndHandedOutAsTheyAre) {
  const std::pair<Matrix, const char*> cases[] = {
      {{1, 0, 0, 0, 0, kNan, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}, "has elements that are no finite numbers"},
      {{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, INFINITY, 0, 1}, "has elements that are no finite numbers"},
      {{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 5, 0, 0, 1}, "flattens what it places"},
      {{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 0, 0, 0}, "has 0 as element 15"},
      {{1, 0, 0, 0.5, 0, 1, 0, 0, 0, 0, 1, 0, 5, 0, 0, 1}, "is a perspective"}};
  for (const char* version : kVersions) {
    for (const auto& [matrix, fault] : cases) {
      for (const bool on_group : {false, true}) {
        const Loaded model(placedPart(version, matrix, on_group));
        EXPECT_EQ(transformOf(model.at({0})).size(), 16U);
        (void)model.tree();
        EXPECT_THAT(model.recorder.losses,
                    ElementsAre(AllOf(HasSubstr(on_group ? "machine: " : "wheel: "),
                                      HasSubstr("scene graph: the transform 20 of the"), HasSubstr(fault))))
            << version;
      }
    }
  }
}

TEST(Matrices, ThatNoNodeUsesOrThatAreSwitchedOffAreNotTold) {
  const Matrix flat = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 5, 0, 0, 1};
  GraphBuilder graph;
  graph.transform(20, flat);
  graph.transform(21, flat, 4);  // without effect
  graph.partition(0, {1}).name("machine");
  graph.part(1, {}).attributes({21});
  const Loaded model(graph);
  (void)model.tree();
  EXPECT_THAT(model.recorder.losses, IsEmpty());
}

// NaN cannot be ordered: the second part must not be taken for the first.
TEST(Matrices, OfNumbersThatAreNoneDoNotMakeTwoPartsOne) {
  GraphBuilder graph;
  graph.transform(20, {kNan, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 0, 0, 1});
  graph.transform(21, {2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 1});
  graph.partition(0, {1}).name("machine");
  graph.metaData(1, {2, 3});
  graph.group(2, {4}).attributes({20});
  graph.group(3, {4}).attributes({21});
  graph.part(4, {}).name("wheel");
  const Loaded model(graph);
  EXPECT_TRUE(std::isnan(transformOf(model.at({0}))[0]));
  EXPECT_EQ(transformOf(model.at({1}))[0], 2);
}

TEST(CheckPlaces, SparesEverythingThatCanBePlaced) {
  EXPECT_TRUE(checkPlaces(jttk::kIdentity));
  EXPECT_TRUE(checkPlaces({-1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}));
  EXPECT_TRUE(checkPlaces({1e-9, 0, 0, 0, 0, 1e-9, 0, 0, 0, 0, 1e-9, 0, 0, 0, 0, 1}));
  EXPECT_TRUE(checkPlaces({1e9, 0, 0, 0, 0, 1e9, 0, 0, 0, 0, 1e9, 0, 0, 0, 0, 1}));
  EXPECT_TRUE(checkPlaces({1, 0, 0, 0, 0, 1e-4, 0, 0, 0, 0, 1e-4, 0, 0, 0, 0, 1}));
  EXPECT_TRUE(checkPlaces({1, 0, 0, 0, 5, 1, 0, 0, 0, 0, 1, 0, 1e6, 0, 0, 1}));
  EXPECT_TRUE(checkPlaces({1, 0, 0, 1e-13, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}));
  EXPECT_TRUE(checkPlaces({25.4, 0, 0, 0, 0, 25.4, 0, 0, 0, 0, 25.4, 0, 0, 0, 0, 25.4}));
}

// Turned flat matrices in single precision have a determinant that is not quite 0.
TEST(CheckPlaces, FindsFlatMatricesHoweverTheyAreTurned) {
  EXPECT_EQ(checkPlaces({}).error().text(), "has 0 as element 15, by which the others are divided");
  EXPECT_EQ(checkPlaces({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}).error().text(),
            "flattens what it places");
  for (double angle = 0.1; angle < 3; angle += 0.1) {
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    Matrix turned = jttk::kIdentity;
    // The projection along (c s, s s, c), read from single precision.
    const double n[] = {c * s, s * s, c};
    for (std::size_t i = 0; i < 3; ++i) {
      for (std::size_t k = 0; k < 3; ++k) {
        turned[4 * i + k] = static_cast<double>(static_cast<float>((i == k ? 1.0 : 0.0) - n[i] * n[k]));
      }
    }
    EXPECT_EQ(checkPlaces(turned).error().text(), "flattens what it places") << angle;
  }
}

TEST(Coordinates, ThatAreNoNumbersAreToldAndTheShapeStays) {
  for (const auto version : {maker::JtVersion::V8_1, maker::JtVersion::V9_5, maker::JtVersion::V10_0}) {
    maker::Shape shape;
    shape.positions = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, std::nanf("")}};
    shape.addQuad(0, 1, 2, 3);
    maker::Product product;
    product.name = "sheet";
    maker::Part& part = product.parts.emplace_back();
    part.name = "sheet";
    part.lods = {{shape}};
    product.root = maker::partRef(0);
    const auto written = maker::writeJtBytes(product, {.version = version});
    const auto bytes = std::as_bytes(std::span(written));
    const jttk::testing::Recorder recorder;
    auto document = jttk::openDocument("sheet.jt", bytes);
    ASSERT_TRUE(document) << document.error().text();
    JtkHierarchy* root = jttk::createRoot(std::move(*document));
    root->ref();
    EXPECT_EQ(jttk::testing::walk(root).shapes.size(), 1U);
    (void)jttk::testing::walk(root);
    root->unref();
    EXPECT_THAT(recorder.losses,
                ElementsAre(AllOf(HasSubstr("sheet: sheet.jt: segment "), HasSubstr("tri-strip set"),
                                  HasSubstr("corners have coordinates that are no finite numbers"))));
  }
}

}  // namespace
