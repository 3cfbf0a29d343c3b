// Which edges of a mesh are drawn, and what the two drawing options change in a picture.
#include "zix/feature_edges.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "tests/zix/run_program.h"
#include "tests/zix/sample_scenes.h"
#include "zix/render.h"

namespace Orb::Zix {
namespace {

using loftbay::testing_support::addShape;
using loftbay::testing_support::runProgram;
using loftbay::testing_support::SampleMesh;
using loftbay::testing_support::ScratchFolder;
using loftbay::testing_support::writeScene;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

using Edges = std::vector<std::array<std::uint32_t, 2>>;

// `corners` holds three points for each triangle: no two triangles share one by number.
Edges edgesOf(const std::vector<Vec3>& corners) {
  std::vector<std::uint32_t> indices(corners.size());
  for (std::uint32_t i = 0; i < indices.size(); ++i) indices[i] = i;
  const std::vector<std::uint32_t> lengths(corners.size() / 3, 3);
  const std::vector<float> values(3 * corners.size());
  return featureEdges({MeshType::Triangles, 3, Values<float>(values), Values<std::uint32_t>(indices),
                       Values<std::uint32_t>(lengths)},
                      corners);
}

// Two triangles with the common edge from (0, 0, 0) to (0, 1, 0), the second turned up by an angle.
Edges edgesOfFold(double angle_rad) {
  const auto x = static_cast<float>(std::cos(angle_rad));
  const auto z = static_cast<float>(std::sin(angle_rad));
  return edgesOf({{0, 0, 0}, {0, 1, 0}, {-1, 0, 0}, {0, 1, 0}, {0, 0, 0}, {x, 0, z}});
}

TEST(FeatureEdges, OfAPlaneAreItsBorderWithoutTheDiagonal) {
  EXPECT_THAT(edgesOfFold(0), UnorderedElementsAre(std::array{1U, 2U}, std::array{0U, 2U}, std::array{1U, 5U},
                                                   std::array{0U, 5U}));
}

TEST(FeatureEdges, HoldAFoldFrom30DegreesOn) {
  EXPECT_EQ(edgesOfFold(0.5).size(), 4U);
  EXPECT_EQ(edgesOfFold(0.55).size(), 5U);
  EXPECT_THAT(edgesOfFold(1.5), ::testing::Contains(std::array{0U, 1U}));
}

TEST(FeatureEdges, LeaveOutTrianglesWithoutAreaAndPointsThatAreNowhere) {
  const float nowhere = std::numeric_limits<float>::quiet_NaN();
  EXPECT_THAT(edgesOf({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}}), IsEmpty());
  EXPECT_THAT(edgesOf({{0, 0, 0}, {1, 0, 0}, {nowhere, 0, 0}}), IsEmpty());
}

// A half tube of four strips that share their points, seen from above; the strips meet at 45 and fewer
// degrees.
class Styles : public ::testing::Test {
 protected:
  void SetUp() override {
    SampleMesh tube;
    for (unsigned i = 0; i < 9; ++i) {
      const double angle = 3.14159265 * i / 8;
      for (const float y : {0.0F, 2.0F}) {
        tube.points.insert(tube.points.end(),
                           {static_cast<float>(std::cos(angle)), y, static_cast<float>(std::sin(angle))});
      }
      if (i == 0) continue;
      const unsigned n = 2 * i;
      tube.indices.insert(tube.indices.end(), {n - 2, n - 1, n, n, n - 1, n + 1});
      tube.lengths.insert(tube.lengths.end(), {3, 3});
    }
    writeScene(folder_.programPath("tube.zix"),
               [&](Scene_V1& scene, const ObjectId& root) { addShape(scene, root, "tube", tube); });
  }

  [[nodiscard]] Picture picture(const RenderStyle& style) const {
    const auto scene = SceneFile::open(folder_.programPath("tube.zix"));
    return render(*scene, *findCamera(*scene, "top"), 96, 96, style);
  }

  // Pixels that are much darker in `b`.
  static int darkened(const Picture& a, const Picture& b) {
    int count = 0;
    for (std::size_t i = 0; i < a.rgb.size(); i += 3) count += a.rgb[i] - b.rgb[i] > 40 ? 1 : 0;
    return count;
  }
  static std::size_t shades(const Picture& picture, std::uint32_t row) {
    std::vector<std::uint8_t> seen;
    for (std::uint32_t x = 0; x < picture.width; ++x) {
      seen.push_back(picture.rgb[3 * (std::size_t{row} * picture.width + x)]);
    }
    std::sort(seen.begin(), seen.end());
    return static_cast<std::size_t>(std::unique(seen.begin(), seen.end()) - seen.begin());
  }

  ScratchFolder folder_;
};

TEST_F(Styles, EdgesAreDarkLinesAtTheBorderOnly) {
  const int count = darkened(picture({}), picture({false, true}));
  // The border is a square of 64 pixels; the edges between the strips would be seven more lines of 64.
  EXPECT_GT(count, 4 * 60);
  EXPECT_LT(count, 10 * 64);
}

TEST_F(Styles, FlatShowsEachStripInOneShade) {
  EXPECT_GT(shades(picture({}), 48), 20U);
  EXPECT_LT(shades(picture({true, false}), 48), 20U);
}

TEST_F(Styles, ProgramKnowsBothOptions) {
  std::vector<std::string> pictures;
  for (const std::vector<std::string>& options :
       std::vector<std::vector<std::string>>{{}, {"--edges"}, {"--flat"}, {"--edges", "--flat"}}) {
    std::vector<std::string> arguments{"render", folder_.hostPath("tube.zix"), folder_.hostPath("tube.png")};
    arguments.insert(arguments.end(), options.begin(), options.end());
    EXPECT_EQ(runProgram(folder_, "zix", arguments).code, 0);
    pictures.push_back(folder_.read("tube.png"));
  }
  std::sort(pictures.begin(), pictures.end());
  EXPECT_EQ(std::unique(pictures.begin(), pictures.end()), pictures.end()) << "two options do the same";
}

}  // namespace
}  // namespace Orb::Zix
