// Which samples the rasteriser colours: those whose centres a shape holds, and its edge.
#include "zix/raster.h"

#include <gmock/gmock.h>

#include <random>
#include <string>

namespace Orb::Zix {
namespace {

using ::testing::ElementsAreArray;

constexpr std::uint32_t kPixels = 8;  // pixels; twice as many samples
constexpr Surface kRed{{0.5F, 0, 0}, {0, 0, 0}, 0, 1};

// Without a normal the light is the same from both sides.
ScreenVertex at(float x, float y, float depth = 1) { return {x, y, depth, {}}; }

class Raster : public ::testing::Test {
 protected:
  // Between two values of x and of y, as two triangles.
  void rectangle(float left, float right, float top, float bottom) {
    canvas_.triangle(at(left, top), at(right, top), at(right, bottom), kRed);
    canvas_.triangle(at(left, top), at(right, bottom), at(left, bottom), kRed);
  }
  // A text for every row: '#' where all samples of a pixel are coloured, '+' where some are.
  [[nodiscard]] std::vector<std::string> picture() const {
    const auto empty = Canvas(kPixels, kPixels).resolve();
    Canvas covered(kPixels, kPixels);
    covered.triangle(at(-50, -50), at(100, -50), at(-50, 100), kRed);
    const auto full = covered.resolve();
    const auto pixels = canvas_.resolve();
    std::vector<std::string> rows(kPixels);
    for (std::size_t i = 0; i < std::size_t{kPixels} * kPixels; ++i) {
      const auto same = [&](const std::vector<std::uint8_t>& other) {
        return std::equal(&pixels[4 * i], &pixels[4 * i] + 4, &other[4 * i]);
      };
      rows[i / kPixels] += same(empty) ? '.' : same(full) ? '#' : '+';
    }
    return rows;
  }
  void expectPicture(const std::vector<std::string>& rows) const {
    EXPECT_THAT(picture(), ElementsAreArray(rows));
  }

  Canvas canvas_{kPixels, kPixels};
};

const std::vector<std::string> kRectangle = {"........", "........", "........", "..###...",
                                             "..###...", "..###...", "........", "........"};

TEST_F(Raster, ARectangleHasItsPixelsAndNoOther) {
  rectangle(4, 10, 6, 12);
  expectPicture(kRectangle);
}

// Fans about a sample's centre, with slopes in thirds: sides run through the centres of other samples, and
// rounding decides on which side these are.
TEST_F(Raster, TrianglesThatShareASideThroughSamplesLeaveNoGap) {
  std::mt19937 random(7);
  std::uniform_int_distribution<int> inside(2, 13);
  std::uniform_int_distribution<int> thirds(-40, 40);
  for (int round = 0; round < 2000; ++round) {
    Canvas canvas(kPixels, kPixels);
    const ScreenVertex middle =
        at(static_cast<float>(inside(random)) + 0.5F, static_cast<float>(inside(random)) + 0.5F);
    const auto beside = [&] { return static_cast<float>(thirds(random)) / 3; };
    const ScreenVertex ring[] = {at(-30, beside()), at(beside(), 50), at(50, beside()), at(beside(), -30)};
    const ScreenVertex corners[] = {at(-90, -90), at(-90, 90), at(90, 90), at(90, -90)};
    for (std::size_t i = 0; i < 4; ++i) {
      canvas.triangle(middle, corners[i], ring[i], kRed);
      canvas.triangle(ring[i], middle, corners[(i + 1) % 4], kRed);
      canvas.triangle(corners[i], ring[i], corners[(i + 1) % 4], kRed);
    }
    const auto pixels = canvas.resolve(Color4{0, 0, 0, 0});
    for (std::size_t i = 0; i < pixels.size(); i += 4)
      ASSERT_EQ(pixels[i + 3], 255) << round << ", pixel " << i / 4;
  }
}

TEST_F(Raster, TheOtherSenseIsTheSame) {
  rectangle(10, 4, 6, 12);
  expectPicture(kRectangle);
}

TEST_F(Raster, ACentreOnTheEdgeIsInside) {
  rectangle(4.5F, 9.5F, 6.5F, 11.5F);
  expectPicture(kRectangle);
}

TEST_F(Raster, ACentreJustOutsideOfTheEdgeIsNot) {
  rectangle(4.625F, 9.375F, 6.625F, 11.375F);
  expectPicture(
      {"........", "........", "........", "..+++...", "..+#+...", "..+++...", "........", "........"});
}

TEST_F(Raster, TheCanvasEndsAtItsOwnEdge) {
  rectangle(12, 16, 14, 16);
  rectangle(0, 2, 0, 2);
  expectPicture(
      {"#.......", "........", "........", "........", "........", "........", "........", "......##"});
  rectangle(-30, 30, -30, 30);
  expectPicture(std::vector<std::string>(kPixels, "########"));
}

TEST_F(Raster, NothingOutsideOfTheCanvasIsDrawn) {
  rectangle(16, 20, 0, 16);
  rectangle(-5, 0, 0, 16);
  rectangle(0, 16, -5, 0);
  rectangle(0, 16, 16, 20);
  expectPicture(std::vector<std::string>(kPixels, "........"));
}

TEST_F(Raster, ASlopingEdgeTakesTheSamplesBelowIt) {
  canvas_.triangle(at(0, 0), at(16.25F, 0), at(0, 16.25F), kRed);
  expectPicture(
      {"#######+", "######+.", "#####+..", "####+...", "###+....", "##+.....", "#+......", "+......."});
}

// Corners that are no round numbers, all round a point inside.
TEST_F(Raster, TrianglesThatShareEdgesLeaveNoGap) {
  std::mt19937 random(7);
  for (int i = 0; i < 200; ++i) {
    canvas_ = Canvas(kPixels, kPixels);
    const auto inside = [&] { return 1 + 14 * static_cast<float>(random() % 10007) / 10007; };
    const ScreenVertex center = at(inside(), inside());
    const ScreenVertex corners[] = {at(-1, -1), at(inside(), -1), at(17, -1), at(17, inside()),
                                    at(17, 17), at(inside(), 17), at(-1, 17), at(-1, inside())};
    for (std::size_t k = 0; k < std::size(corners); ++k) {
      canvas_.triangle(center, corners[k], corners[(k + 1) % std::size(corners)], kRed);
    }
    expectPicture(std::vector<std::string>(kPixels, "########"));
    if (HasFailure()) FAIL() << i;
  }
}

TEST_F(Raster, OfTwoSurfacesTheNearerIsSeenAndOfEquallyFarOnesTheFirst) {
  const Surface blue{{0, 0, 0.5F}, {0, 0, 0}, 0, 1};
  const auto cover = [&](float depth, const Surface& surface) {
    canvas_.triangle(at(-50, -50, depth), at(100, -50, depth), at(-50, 100, depth), surface);
  };
  const auto isRed = [&] { return canvas_.resolve()[0] > canvas_.resolve()[2]; };
  cover(2, kRed);
  cover(2, blue);
  EXPECT_TRUE(isRed());
  cover(3, blue);
  EXPECT_TRUE(isRed());
  cover(1, blue);
  EXPECT_FALSE(isRed());
}

// Smooth normals at a silhouette may point a little away from the viewer, although the triangle is seen.
TEST_F(Raster, TheSideThatIsLitIsTheTriangles) {
  const auto brightness = [](bool is_front, float normal_z) {
    const auto corner = [&](float x, float y) { return ScreenVertex{x, y, 1, {-0.7F, 0.7F, normal_z}}; };
    const ScreenVertex left = corner(-50, -50);
    const ScreenVertex below = corner(-50, 100);
    const ScreenVertex right = corner(100, -50);
    Canvas canvas(kPixels, kPixels);
    canvas.triangle(left, is_front ? below : right, is_front ? right : below, kRed);
    return int{canvas.resolve()[0]};
  };
  EXPECT_NEAR(brightness(true, -0.05F), brightness(true, 0.05F), 10);
  EXPECT_NEAR(brightness(false, -0.05F), brightness(false, 0.05F), 10);
  EXPECT_GT(brightness(true, 0), brightness(false, 0) + 20);
}

TEST_F(Raster, ALineIsOnePixelWideAndEndsHalfAPixelBehindItsEnds) {
  canvas_.line(at(3, 7), at(13, 7), kRed.color);
  canvas_.line(at(15, 11), at(15, 13), kRed.color);
  const auto rows = picture();
  EXPECT_EQ(rows[2], "........");
  EXPECT_EQ(rows[3], ".++++++.");
  EXPECT_EQ(rows[4], "........");
  EXPECT_EQ(rows[5], ".......+");
  EXPECT_EQ(rows[6], ".......+");
  EXPECT_EQ(rows[7], "........");
}

// Also where its middle is not between two samples.
TEST_F(Raster, ALineFillsThePixelsThatItRunsThrough) {
  canvas_.line(at(3, 7.25F), at(13, 7.25F), kRed.color);
  const auto pixels = canvas_.resolve();
  for (std::size_t x = 1; x < 7; ++x) {
    const std::uint8_t* pixel = &pixels[4 * (std::size_t{3} * kPixels + x)];
    EXPECT_EQ(pixel[0], 128) << x;
    EXPECT_EQ(pixel[1], 0) << x;
    EXPECT_EQ(pixel[2], 0) << x;
  }
  EXPECT_EQ(picture()[2] + picture()[4], "................");
}

}  // namespace
}  // namespace Orb::Zix
