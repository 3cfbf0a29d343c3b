// How near to the sides of a stated box coordinates have to be.
#include "jttk/codec/stated_box.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using jttk::fillsBox;
using jttk::liesInBox;
using Box = std::array<float, 6>;

constexpr std::array<float, 3> kExact = {0, 0, 0};

std::vector<float> cornersOf(const Box& box) { return {box.begin(), box.end()}; }

TEST(StatedBox, IsFilledWithinAQuantiserStepAlongItsAxis) {
  const Box box = {0, 0, 0, 100, 100, 100};
  const std::array<float, 3> steps = {1, 2, 3};
  for (std::size_t side = 0; side < 6; ++side) {
    for (const float sign : {-1.0F, 1.0F}) {
      std::vector<float> points = cornersOf(box);
      points[side] += sign * 0.99F * steps[side % 3];
      EXPECT_TRUE(fillsBox(points, steps, box)) << side;
      points[side] += sign * 0.1F * steps[side % 3];
      EXPECT_FALSE(fillsBox(points, steps, box)) << side;
    }
  }
}

// Boxes are computed in single precision, in some other order than coordinates.
TEST(StatedBox, OfExactCoordinatesMayBeRounded) {
  const Box box = {0, 0, 0, 100, 100, 100};  // its diagonal is 173
  for (const float sign : {-1.0F, 1.0F}) {
    std::vector<float> points = cornersOf(box);
    points[3] += sign * 0.0015F;
    EXPECT_TRUE(fillsBox(points, kExact, box));
    points[3] += sign * 0.001F;
    EXPECT_FALSE(fillsBox(points, kExact, box));
  }
}

TEST(StatedBox, FarFromTheOriginIsRoundedMore) {
  const Box box = {1e6F, 0, 0, 1e6F + 1, 1, 1};
  std::vector<float> points = cornersOf(box);
  points[3] += 0.75F;
  EXPECT_TRUE(fillsBox(points, kExact, box));
  points[3] += 0.75F;
  EXPECT_FALSE(fillsBox(points, kExact, box));
}

TEST(StatedBox, IsNotFilledByNothingOrByWhatIsNoNumber) {
  const Box box = {0, 0, 0, 1, 1, 1};
  EXPECT_FALSE(fillsBox({}, kExact, box));
  std::vector<float> points = cornersOf(box);
  points.insert(points.end(), {0.5F, std::nanf(""), 0.5F});
  EXPECT_FALSE(fillsBox(points, kExact, box));
}

TEST(StatedBox, IsNoneOfZerosOrOfNumbersThatAreNoBox) {
  const auto isBox = [](const Box& box) {
    const jttk::StatedExtent stated[] = {{box, 0}};
    return jttk::statedBox(stated) != nullptr;
  };
  EXPECT_EQ(jttk::statedBox({}), nullptr);
  EXPECT_FALSE(isBox({}));
  EXPECT_TRUE(isBox({1, 2, 3, 1, 2, 3}));
  EXPECT_TRUE(isBox({0, 0, 0, 0, 0, 1}));
  EXPECT_FALSE(isBox({0, 0, 1, 1, 1, 0}));
  EXPECT_FALSE(isBox({0, 0, 0, 1, 1, std::numeric_limits<float>::infinity()}));
  EXPECT_FALSE(isBox({std::nanf(""), 0, 0, 1, 1, 1}));
}

TEST(StatedBox, HoldsWhatCornersUseAndMayBeLarger) {
  jttk::ShapeGeometry shape;
  shape.positions = {0, 0, 0, 1, 1, 1, 50, 50, 50};
  shape.corner_positions = {0, 1};
  EXPECT_TRUE(liesInBox(shape, {-100, -100, -100, 100, 100, 100}));
  EXPECT_TRUE(liesInBox(shape, {0, 0, 0, 1, 1, 1}));
  EXPECT_FALSE(liesInBox(shape, {0, 0, 0, 1, 0.9F, 1}));
  shape.facts.coordinate_steps = {0, 0.2F, 0};
  EXPECT_TRUE(liesInBox(shape, {0, 0, 0, 1, 0.9F, 1}));
  shape.corner_positions = {0, 2};
  EXPECT_FALSE(liesInBox(shape, {0, 0, 0, 1, 1, 1}));
  shape.positions[7] = std::nanf("");  // reported elsewhere
  EXPECT_TRUE(liesInBox(shape, {0, 0, 0, 1, 1, 1}));
}

}  // namespace
