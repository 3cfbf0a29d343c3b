// What the observer receives: counts, and notes about what options and rules leave out.
#include <gmock/gmock.h>

#include "host/path.h"
#include "tests/doubles/job_fixture.h"

namespace loftbay::doubles {
namespace {

using diag::Counted;
using testing::ElementsAre;
using testing::IsEmpty;

class NotesTest : public JobTest {
 protected:
  Shape& triangle() { return product.strips({{0, 0, 0, 1, 0, 0, 0, 1, 0}}); }
  void convertTree(JtkEntity& root) {
    toolkit().root = &root;
    EXPECT_TRUE(convert());
  }
};

TEST_F(NotesTest, CountsWhatIsReadAndWritten) {
  convert::ignoreLines = false;
  convert::ignorePoints = false;
  auto& part = product.part("p", {&product.strips({{0, 0, 0, 1, 0, 0, 0, 0, 0, 1, 1, 1}}),
                                  &product.polylines({{0, 0, 0, 1, 0, 0}, {1, 0, 0, 2, 0, 0}}),
                                  &product.points({{0, 0, 0, 0, 0, 0}})});
  part.transform = kIdentity;
  part.material = &product.material();
  convertTree(product.assembly("root", {&part, &product.instance("i", product.assembly("sub"))}));
  const std::map<Counted, std::uint64_t> expected = {
      {Counted::Nodes, 5},         {Counted::Transforms, 1},     {Counted::Shapes, 3}, {Counted::Meshes, 3},
      {Counted::Materials, 3},     {Counted::Triangles, 2},      {Counted::Lines, 2},  {Counted::Points, 2},
      {Counted::VerticesRead, 10}, {Counted::VerticesWritten, 8}};
  EXPECT_EQ(observer.counts, expected);
  EXPECT_THAT(observer.notes, IsEmpty());
  EXPECT_THAT(observer.losses, IsEmpty());
}

TEST_F(NotesTest, CountsATessellatedPart) {
  convertTree(product.tessellatedPart("p", {&triangle(), &triangle()}));
  EXPECT_EQ(observer.counts[Counted::Triangles], 1U);
  EXPECT_EQ(observer.counts[Counted::VerticesRead], 3U);
  EXPECT_EQ(observer.counts[Counted::VerticesWritten], 3U);
  EXPECT_THAT(observer.notes, IsEmpty());
}

TEST_F(NotesTest, IgnoredShapesAreSummedUpOnce) {
  auto& lines = product.polylines({{0, 0, 0, 1, 0, 0}, {1, 0, 0, 2, 0, 0}});
  convertTree(product.assembly(
      "root", {&product.part("a", {&lines, &lines}), &product.part("b", {&product.points({{0, 0, 0}})})}));
  EXPECT_THAT(observer.notes,
              ElementsAre("2 line shapes were left out because lines are ignored (4 polylines): a",
                          "1 point shape was left out because points are ignored (1 point groups): b"));
}

TEST_F(NotesTest, NamesTheFirstFewOnly) {
  std::vector<JtkHierarchy*> parts;
  for (const char* const name : {"a", "b", "c", "d", "e", "f", "g"}) parts.push_back(&product.part(name));
  convertTree(product.assembly("root", parts));
  EXPECT_THAT(
      observer.notes,
      ElementsAre(
          "7 parts have no shapes in the first level of detail and give no geometry: a, b, c, d, e, …"));
}

TEST_F(NotesTest, OfAsManyAsAreNamedNoneIsLeftToTheReader) {
  std::vector<JtkHierarchy*> parts;
  for (const char* const name : {"a", "b", "c", "d", "e"}) parts.push_back(&product.part(name));
  convertTree(product.assembly("root", parts));
  EXPECT_THAT(observer.notes, ElementsAre("5 parts have no shapes in the first level of detail and give no "
                                          "geometry: a, b, c, d, e"));
}

TEST_F(NotesTest, ManyOfOneNameAreNamedOnce) {
  auto& line = product.polylines({{0, 0, 0, 1, 0, 0}});
  convertTree(product.part("a", {&line, &line, &line, &line, &line, &line}));
  EXPECT_THAT(observer.notes,
              ElementsAre("6 line shapes were left out because lines are ignored (6 polylines): a"));
}

TEST_F(NotesTest, APartWithShapesInLaterLevelsAloneIsNamed) {
  auto& part = product.part("coarse");
  part.levels = {{}, {&triangle()}};
  convertTree(product.assembly("root", {&part, &product.part("q", {&triangle()})}));
  EXPECT_THAT(observer.notes,
              ElementsAre("1 part has no shapes in the first level of detail and gives no geometry: coarse"));
}

TEST_F(NotesTest, TheSamePartTwiceIsNoNote) {
  auto& part = product.part("p", {&triangle()});
  convertTree(product.assembly("root", {&part, &part}));
  EXPECT_THAT(observer.notes, IsEmpty());
}

TEST_F(NotesTest, AssembliesThatLoseATransformAreNamed) {
  auto& moved = product.assembly("moved", {&product.part("p", {&triangle()})});
  moved.transform = translation(1, 0, 0);
  convertTree(product.assembly(
      "root", {&product.instance("i", moved), &product.instance("j", product.assembly("unplaced"))}));
  EXPECT_THAT(observer.notes,
              ElementsAre("1 assembly inside an instanced assembly lost its transformation: moved"));
}

// At 10,000 six digits end at 0.1: of a grid of 0.05 two columns become one.
TEST_F(NotesTest, TrianglesThatTheMergingFlattensAreCounted) {
  const float a = 10000.0F;
  auto& grid =
      product.strips({{a, 0, 0, a, 1, 0, a + 0.04F, 0, 0, a + 0.04F, 1, 0, a + 1, 0, 0, a + 1, 1, 0}});
  auto& whole = product.strips({{0, 0, 0, 1, 0, 0, 0, 1, 0}});
  auto& flat_before = product.strips({{1, 1, 1, 1, 1, 1, 2, 2, 2}});
  convertTree(product.part("far", {&grid, &whole, &flat_before}));
  EXPECT_THAT(observer.notes,
              ElementsAre("1 shape has triangles that lost their area because vertices that print alike were "
                          "merged; --no-optimize keeps it (2 triangles): far"));
}

TEST_F(NotesTest, OnlyTrianglesThatWereWholeBeforeCountAsFlattened) {
  const float a = 10000.0F;
  // Its four triangles: two corners alike to the bit; whole; whole; whole. All but the last become flat.
  auto& shape =
      product.strips({{a, 0, 0, a, 0, 0, a + 0.01F, 0, 0, a + 0.02F, 0, 0, a + 1, 0, 0, a + 2, 0, 0}});
  convertTree(product.part("far", {&shape}));
  EXPECT_EQ(count(observer.notes, "(2 triangles): far"), 1U) << testing::PrintToString(observer.notes);
}

TEST_F(NotesTest, WithoutMergingNoTriangleIsFlattened) {
  const float a = 10000.0F;
  toolkit().root =
      &product.part("far", {&product.strips({{a, 0, 0, a, 1, 0, a + 0.04F, 0, 0, a + 0.04F, 1, 0}})});
  EXPECT_TRUE(convert(false));
  EXPECT_THAT(observer.notes, IsEmpty());
}

TEST_F(NotesTest, AnInstancedPartWithoutShapesIsNamed) {
  convertTree(product.assembly(
      "root", {&product.instance("i", product.part("p")), &product.part("q", {&triangle()})}));
  EXPECT_THAT(observer.notes, ElementsAre("1 instance refers to a part without shapes in the first level of "
                                          "detail and gives no geometry: i"));
}

TEST_F(NotesTest, AnEmptySceneIsNeverSilent) {
  convertTree(product.assembly("root"));
  EXPECT_THAT(observer.notes, ElementsAre("the model holds no shapes, so the scene is empty"));
}

TEST_F(NotesTest, AnUnsavedSceneIsALossWithTheReason) {
  letSceneThrow("createDefaultViews", 1, Throws::Number);
  convertTree(product.part("p", {&triangle()}));
  EXPECT_THAT(observer.losses,
              ElementsAre(host::toHostPath("C:\\out\\scene.zix") + ": the scene could not be saved"));
}

}  // namespace
}  // namespace loftbay::doubles
