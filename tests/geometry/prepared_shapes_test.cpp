// Shapes that are placed more than once.
#include "geometry/prepared_shapes.h"

#include <gmock/gmock.h>

#include <array>

#include "tests/doubles/job_fixture.h"

namespace loftbay::doubles {
namespace {

using geometry::PreparedShape;
using geometry::PreparedShapes;
using geometry::ShapeKind;

// Three strips of one triangle; one vertex is nearly another, so that a triangle is flattened.
std::vector<std::vector<float>> plateSets() {
  return {{0, 0, 0, 1, 0, 0, 0, 1, 0}, {1.0000001F, 0, 0, 1, 0, 0, 1, 1, 0}, {1, 0, 0, 0, 1, 0, 1, 1, 0}};
}
std::vector<std::vector<float>> wireSets() { return {{0, 0, 0, 1, 0, 0, 0, 0, 0}, {1, 0, 0, 2, 0, 0}}; }

class RepeatedShapes : public JobTest {
 protected:
  // What a job says and does with three parts; the last one repeats the first one's shape, but for its
  // material.
  struct Told {
    std::string scene, log;
    std::map<diag::Counted, std::uint64_t> counts;
    std::vector<std::string> notes;
    friend bool operator==(const Told&, const Told&) = default;
  };
  Told told(Shape& first, Shape& last, bool optimize) {
    last.material = &product.material();
    auto& other = product.strips({{5, 0, 0, 6, 0, 0, 5, 1, 0}});
    toolkit().root = &product.assembly(
        "root", {&product.part("a", {&first}), &product.part("b", {&other}), &product.part("c", {&last})});
    toolkit().all_calls.clear();
    resetScene();
    observer.counts.clear();
    observer.notes.clear();
    convert::ignoreLines = false;
    const std::size_t log_before = log().size();
    EXPECT_TRUE(convert(optimize));
    reads = count(toolkit().all_calls, "getPrimitiveSetArrays");
    return {sceneCalls(), log().substr(log_before), observer.counts, observer.notes};
  }

  // The same with a toolkit that cannot tell, and with one that can.
  void expectTheSameWithFewerReads(JtkEntity::TypeID type, const std::vector<std::vector<float>>& sets,
                                   bool optimize) {
    auto& unknown_first = product.shape(type, sets);
    auto& unknown_last = product.shape(type, sets);
    const Told expected = told(unknown_first, unknown_last, optimize);
    EXPECT_EQ(reads, 2 * sets.size() + 1);

    auto& first = product.shape(type, sets);
    auto& last = product.shape(type, sets);
    first.decoded = last.decoded = std::make_shared<int>();
    EXPECT_EQ(told(first, last, optimize), expected);
    EXPECT_EQ(reads, sets.size() + 1);
  }

  std::uint64_t reads = 0;
};

TEST_F(RepeatedShapes, MergedSurfacesAreReadOnce) {
  expectTheSameWithFewerReads(JtkEntity::JtkTRISTRIPSET, plateSets(), true);
}

TEST_F(RepeatedShapes, UnmergedSurfacesAreReadOnce) {
  expectTheSameWithFewerReads(JtkEntity::JtkTRISTRIPSET, plateSets(), false);
}

TEST_F(RepeatedShapes, PolylinesAreReadOnce) {
  expectTheSameWithFewerReads(JtkEntity::JtkLINESTRIPSET, wireSets(), true);
  expectTheSameWithFewerReads(JtkEntity::JtkLINESTRIPSET, wireSets(), false);
}

TEST_F(RepeatedShapes, ThoseOfOneNameAndOtherArraysAreAllRead) {
  auto& first = product.strips(plateSets());
  auto& last = product.strips({{0, 0, 0, 7, 0, 0, 0, 7, 0}});
  first.decoded = std::make_shared<int>();
  last.decoded = std::make_shared<int>();
  told(first, last, true);
  EXPECT_EQ(reads, plateSets().size() + 2);
}

PreparedShape ofVertices(std::size_t count) {
  PreparedShape prepared;
  prepared.coordinates.resize(count);
  return prepared;
}

constexpr PreparedShapes::Manner kMerged{ShapeKind::Surface, true};

TEST(PreparedShapes, ForgetTheLeastRecentlyUsedBeyondTheLimit) {
  const std::size_t size = ofVertices(100).sizeBytes();
  PreparedShapes shapes(2 * size);
  std::array<Shape, 3> of;
  for (Shape& shape : of) shape.decoded = std::make_shared<int>();
  shapes.keep(of[0], kMerged, ofVertices(100));
  shapes.keep(of[1], kMerged, ofVertices(100));
  EXPECT_NE(shapes.find(of[0], kMerged), nullptr);
  shapes.keep(of[2], kMerged, ofVertices(100));
  EXPECT_EQ(shapes.sizeBytes(), 2 * size);
  EXPECT_NE(shapes.find(of[0], kMerged), nullptr);
  EXPECT_EQ(shapes.find(of[1], kMerged), nullptr);
  EXPECT_NE(shapes.find(of[2], kMerged), nullptr);
}

TEST(PreparedShapes, HaveNoRoomForOneThatIsLargerThanTheLimit) {
  PreparedShapes shapes(ofVertices(100).sizeBytes());
  Shape small;
  Shape large;
  small.decoded = std::make_shared<int>();
  large.decoded = std::make_shared<int>();
  shapes.keep(small, kMerged, ofVertices(100));
  shapes.keep(large, kMerged, ofVertices(101));
  EXPECT_NE(shapes.find(small, kMerged), nullptr);
  EXPECT_EQ(shapes.find(large, kMerged), nullptr);
}

TEST(PreparedShapes, AreKnownByTheirArraysAndTheMannerOnly) {
  PreparedShapes shapes;
  Shape shape;
  shapes.keep(shape, kMerged, ofVertices(1));  // of which nothing is known
  EXPECT_EQ(shapes.find(shape, kMerged), nullptr);
  shape.decoded = std::make_shared<int>();
  shapes.keep(shape, kMerged, ofVertices(7));
  ASSERT_NE(shapes.find(shape, kMerged), nullptr);
  EXPECT_EQ(shapes.find(shape, kMerged)->coordinates.size(), 7U);
  EXPECT_EQ(shapes.find(shape, {ShapeKind::Surface, false}), nullptr);
  EXPECT_EQ(shapes.find(shape, {ShapeKind::Lines, true}), nullptr);
}

// Others may lie where they lay.
TEST(PreparedShapes, AreNotTakenForThoseOfArraysThatAreGone) {
  PreparedShapes shapes;
  Shape shape;
  for (int i = 0; i < 100; ++i) {
    shape.decoded = nullptr;  // the memory is free again
    shape.decoded = std::shared_ptr<const int>(new int(i));
    EXPECT_EQ(shapes.find(shape, kMerged), nullptr);
    shapes.keep(shape, kMerged, ofVertices(1));
  }
}

}  // namespace
}  // namespace loftbay::doubles
