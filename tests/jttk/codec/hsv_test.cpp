// Colours by hue, saturation and value, for hues all round the circle.
#include "jttk/codec/hsv.h"

#include <gmock/gmock.h>

#include <array>

namespace {

using ::testing::ElementsAre;

std::array<float, 3> rgb(float hue, float saturation, float value) {
  std::array<float, 3> color = {hue, saturation, value};
  jttk::rgbFromHsv(color.data());
  return color;
}

TEST(Hsv, TheSixCornersOfTheCircle) {
  EXPECT_THAT(rgb(0, 1, 1), ElementsAre(1, 0, 0));
  EXPECT_THAT(rgb(1, 1, 1), ElementsAre(1, 1, 0));
  EXPECT_THAT(rgb(2, 1, 1), ElementsAre(0, 1, 0));
  EXPECT_THAT(rgb(3, 1, 1), ElementsAre(0, 1, 1));
  EXPECT_THAT(rgb(4, 1, 1), ElementsAre(0, 0, 1));
  EXPECT_THAT(rgb(5, 1, 1), ElementsAre(1, 0, 1));
  EXPECT_THAT(rgb(6, 1, 1), ElementsAre(1, 0, 0));
}

// A quarter behind each corner: which two components are at their limits, and whether the third one rises or
// falls.
TEST(Hsv, BetweenTheCornersOneComponentRisesOrFalls) {
  EXPECT_THAT(rgb(0.25F, 1, 1), ElementsAre(1, 0.25F, 0));
  EXPECT_THAT(rgb(1.25F, 1, 1), ElementsAre(0.75F, 1, 0));
  EXPECT_THAT(rgb(2.25F, 1, 1), ElementsAre(0, 1, 0.25F));
  EXPECT_THAT(rgb(3.25F, 1, 1), ElementsAre(0, 0.75F, 1));
  EXPECT_THAT(rgb(4.25F, 1, 1), ElementsAre(0.25F, 0, 1));
  EXPECT_THAT(rgb(5.25F, 1, 1), ElementsAre(1, 0, 0.75F));
}

TEST(Hsv, SaturationLiftsTheLowestComponentAndValueScalesAll) {
  EXPECT_THAT(rgb(0.5F, 0.5F, 1), ElementsAre(1, 0.75F, 0.5F));
  EXPECT_THAT(rgb(3.5F, 0.5F, 0.5F), ElementsAre(0.25F, 0.375F, 0.5F));
  EXPECT_THAT(rgb(5.5F, 0.25F, 0.5F), ElementsAre(0.5F, 0.375F, 0.4375F));
  EXPECT_THAT(rgb(2, 0, 0.25F), ElementsAre(0.25F, 0.25F, 0.25F));
}

}  // namespace
