// What is in a picture: how large the model is, what shines through, what is behind it, and the drawing
// styles.
#include <gmock/gmock.h>

#include <algorithm>

#include "tests/zix/run_program.h"
#include "tests/zix/sample_scenes.h"
#include "tests/zix/scratch_folder.h"
#include "zix/render.h"

namespace Orb::Zix {
namespace {

using loftbay::testing_support::addMaterial;
using loftbay::testing_support::addShape;
using loftbay::testing_support::runProgram;
using loftbay::testing_support::SampleMesh;
using loftbay::testing_support::ScratchFolder;
using loftbay::testing_support::square;
using ::testing::HasSubstr;

// A closed box with its lowest corner at the origin.
SampleMesh box(float x, float y, float z) {
  SampleMesh mesh;
  for (int corner = 0; corner < 8; ++corner) {
    mesh.points.push_back((corner & 1) != 0 ? x : 0);
    mesh.points.push_back((corner & 2) != 0 ? y : 0);
    mesh.points.push_back((corner & 4) != 0 ? z : 0);
  }
  mesh.indices = {0, 2, 1, 1, 2, 3, 4, 5, 6, 5, 7, 6, 0, 1, 4, 1, 5, 4,
                  2, 6, 3, 3, 6, 7, 0, 4, 2, 2, 4, 6, 1, 3, 5, 3, 7, 5};
  mesh.lengths.assign(12, 3);
  return mesh;
}

SampleMesh squareAt(float z) {
  SampleMesh mesh = square(1);
  for (std::size_t i = 2; i < mesh.points.size(); i += 3) mesh.points[i] = z;
  return mesh;
}

class PictureOptions : public ::testing::Test {
 protected:
  template <typename Fill>
  SceneFile makeScene(Fill fill) {
    return loftbay::testing_support::makeScene(folder_.programPath("a.zix"), fill);
  }
  loftbay::testing_support::ProgramResult renderWith(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"render", folder_.hostPath("a.zix")});
    return runProgram(folder_, "zix", arguments);
  }

  ScratchFolder folder_;
};

std::array<int, 3> colorAt(const Picture& picture, std::uint32_t x, std::uint32_t y) {
  const std::uint8_t* at = &picture.rgb[3 * (std::size_t{y} * picture.width + x)];
  return {at[0], at[1], at[2]};
}

constexpr RenderStyle kOnWhite{.flat = true, .background = Color4{255, 255, 255, 255}};

// The part of a picture that is not white: left, top, right, bottom.
std::array<std::uint32_t, 4> extentOf(const Picture& picture) {
  std::array<std::uint32_t, 4> extent{picture.width, picture.height, 0, 0};
  for (std::uint32_t y = 0; y < picture.height; ++y) {
    for (std::uint32_t x = 0; x < picture.width; ++x) {
      if (colorAt(picture, x, y) == std::array{255, 255, 255}) continue;
      extent = {std::min(extent[0], x), std::min(extent[1], y), std::max(extent[2], x + 1),
                std::max(extent[3], y + 1)};
    }
  }
  return extent;
}

TEST_F(PictureOptions, AViewFillsThePictureButForAMargin) {
  const SceneFile scene = makeScene([](Scene_V1& s, const ObjectId& root) {
    addShape(s, root, "tall", box(1, 20, 8));
    addMaterial(s, addShape(s, root, "invisible", box(100, 100, 100)), 1, 1, 1, 1);
  });
  const auto extent = [&](std::uint32_t width, std::uint32_t height) {
    return extentOf(
        render(scene, fitted(scene, *findCamera(scene, "front"), width, height), width, height, kOnWhite));
  };
  EXPECT_THAT(extent(200, 200), ::testing::ElementsAre(88, 8, 112, 192));
  EXPECT_THAT(extent(50, 1000), ::testing::ElementsAre(2, 316, 48, 684)) << "the width decides here";
}

TEST_F(PictureOptions, ACameraWithNothingBeforeItStaysAsItIs) {
  const SceneFile scene = makeScene([](Scene_V1&, const ObjectId&) {});
  const Camera camera = *findCamera(scene, "iso");
  EXPECT_EQ(fitted(scene, camera, 10, 10).height, camera.height);
  EXPECT_EQ(fitted(scene, camera, 10, 10).position, camera.position);
}

// Two panes of glass before a wall, in any order: each pixel is the same mixture.
TEST_F(PictureOptions, TransparentSurfacesBlendFromTheFarthestToTheNearest) {
  const auto draw = [&](const std::vector<int>& which, bool opaque) {
    const SceneFile scene = makeScene([&](Scene_V1& s, const ObjectId& root) {
      for (const int pane : which) {
        addMaterial(s, addShape(s, root, "pane", squareAt(static_cast<float>(pane))), pane == 0 ? 1 : 0,
                    pane == 1 ? 1 : 0, pane == 2 ? 1 : 0, pane == 0 || opaque ? 0 : 0.5F);
      }
    });
    return render(scene, fitted(scene, *findCamera(scene, "top"), 40, 40), 40, 40, kOnWhite);
  };
  const Picture first = draw({0, 1, 2}, false);
  EXPECT_EQ(draw({2, 1, 0}, false).rgb, first.rgb);
  EXPECT_EQ(draw({1, 2, 0}, false).rgb, first.rgb);
  for (std::uint32_t y = 5; y < 35; ++y) {
    for (std::uint32_t x = 5; x < 35; ++x) EXPECT_EQ(colorAt(first, x, y), colorAt(first, 20, 20));
  }
  const auto wall = colorAt(draw({0}, true), 20, 20);
  const auto far = colorAt(draw({1}, true), 20, 20);
  const auto near = colorAt(draw({2}, true), 20, 20);
  for (std::size_t k = 0; k < 3; ++k) {
    EXPECT_NEAR(colorAt(first, 20, 20)[k], 0.5 * near[k] + 0.25 * far[k] + 0.25 * wall[k], 2) << k;
  }
}

TEST_F(PictureOptions, WithoutABackgroundThePictureHasOpacity) {
  const SceneFile scene = makeScene([](Scene_V1& s, const ObjectId& root) {
    addMaterial(s, addShape(s, root, "left", square(1)), 1, 0, 0, 0);
    SampleMesh right = square(1);
    for (std::size_t i = 0; i < right.points.size(); i += 3) right.points[i] += 1;
    addMaterial(s, addShape(s, root, "right", right), 1, 0, 0, 0.75F);
  });
  const Camera camera = fitted(scene, *findCamera(scene, "top"), 100, 60);
  const Picture picture = render(scene, camera, 100, 60, {.background = Color4{0, 0, 0, 0}});
  const auto alpha = [&](std::uint32_t x) { return picture.alpha.at(30 * 100 + x); };
  EXPECT_EQ(alpha(1), 0);
  EXPECT_EQ(alpha(30), 255);
  EXPECT_NEAR(alpha(70), 64, 2);
  EXPECT_NEAR(colorAt(picture, 70, 30)[0], colorAt(picture, 30, 30)[0], 2)
      << "the colour is not mixed with black";
  EXPECT_TRUE(render(scene, camera, 10, 10).alpha.empty());
  const Picture half = render(scene, camera, 100, 60, {.background = Color4{10, 200, 30, 128}});
  EXPECT_EQ(half.alpha.at(0), 128);
  EXPECT_EQ(colorAt(half, 0, 0), (std::array{10, 200, 30}));
}

TEST_F(PictureOptions, UpSaysWhichAxisOfTheModelPointsUpwards) {
  const SceneFile scene =
      makeScene([](Scene_V1& s, const ObjectId& root) { addShape(s, root, "part", box(40, 20, 10)); });
  // Width and height of the front view, in units of ten.
  const auto front = [&](UpAxis up) {
    const auto e =
        extentOf(render(scene, fitted(scene, *defaultCamera("front", up), 200, 200), 200, 200, kOnWhite));
    const double unit = 0.92 * 200 / 4;  // where 40 fills the picture
    return std::array{(e[2] - e[0]) / unit, (e[3] - e[1]) / unit};
  };
  EXPECT_THAT(front(UpAxis::Z),
              ::testing::ElementsAre(::testing::DoubleNear(4, 0.1), ::testing::DoubleNear(1, 0.1)));
  EXPECT_THAT(front(UpAxis::Y),
              ::testing::ElementsAre(::testing::DoubleNear(4, 0.1), ::testing::DoubleNear(2, 0.1)));
  EXPECT_THAT(front(UpAxis::X),
              ::testing::ElementsAre(::testing::DoubleNear(2, 0.1), ::testing::DoubleNear(4, 0.1)));
}

TEST_F(PictureOptions, ALineDrawingHasTheEdgesThatAreNotHidden) {
  const SceneFile scene = makeScene([](Scene_V1& s, const ObjectId& root) {
    addShape(s, root, "near", box(4, 1, 4));
    SampleMesh behind = box(2, 1, 2);
    for (std::size_t i = 0; i < behind.points.size(); ++i) behind.points[i] += i % 3 == 1 ? 3 : 1;
    addMaterial(s, addShape(s, root, "behind", behind), 1, 0, 0, 0);
  });
  const Picture picture =
      render(scene, fitted(scene, *findCamera(scene, "front"), 100, 100), 100, 100, {.outline = true});
  int dark = 0;
  for (std::uint32_t y = 0; y < 100; ++y) {
    for (std::uint32_t x = 0; x < 100; ++x) {
      const bool is_border = x < 6 || x > 94 || y < 6 || y > 94;
      if (colorAt(picture, x, y)[0] < 200) ++dark;
      if (!is_border) {
        EXPECT_EQ(colorAt(picture, x, y), (std::array{255, 255, 255})) << x << ' ' << y;
      }
    }
  }
  EXPECT_GT(dark, 300);
}

// One face of a prism with a bevel of 60 degrees along it: no fold, every pixel the same.
TEST_F(PictureOptions, FlatFacesBesideBevelsAreFlat) {
  const SceneFile scene = makeScene([](Scene_V1& s, const ObjectId& root) {
    addShape(s, root, "plate",
             {MeshType::Triangles,
              {0, 0, 0, 10, 0, 0, 10, 10, 0, 0, 10, 0, 11, 5, -1.7F, 5, 11, -1.7F},
              {0, 1, 2, 0, 2, 3, 1, 4, 2, 2, 5, 3},
              {3, 3, 3, 3}});
  });
  const Picture picture = render(scene, fitted(scene, *findCamera(scene, "top"), 110, 110), 110, 110);
  const auto middle = colorAt(picture, 50, 60);
  int others = 0;
  for (std::uint32_t y = 20; y < 100; ++y) {
    for (std::uint32_t x = 10; x < 90; ++x) others += colorAt(picture, x, y) != middle ? 1 : 0;
  }
  EXPECT_EQ(others, 0);
}

TEST_F(PictureOptions, ASheetHoldsSevenViewsWithTheirNames) {
  const SceneFile scene =
      makeScene([](Scene_V1& s, const ObjectId& root) { addShape(s, root, "part", box(4, 2, 1)); });
  const Picture sheet = renderSheet(scene, 400, 200, kOnWhite);
  for (std::uint32_t i = 0; i < 8; ++i) {
    const auto at = [&](std::uint32_t x, std::uint32_t y) {
      return colorAt(sheet, i % 4 * 100 + x, i / 4 * 100 + y)[0];
    };
    int written = 0;
    for (std::uint32_t y = 0; y < 12; ++y) {
      for (std::uint32_t x = 0; x < 40; ++x) written += at(x, y) == 0x20 ? 1 : 0;
    }
    EXPECT_EQ(written > 20, i < 7) << i;
    EXPECT_EQ(at(50, 50) < 250, i < 7) << i;
  }
  EXPECT_NE(renderSheet(scene, 400, 200, kOnWhite, UpAxis::Y).rgb, sheet.rgb);
  EXPECT_EQ(renderSheet(scene, 1, 1).rgb.size(), 3U);
}

// A picture so large that it is drawn in several bands is the same as its bands are.
TEST_F(PictureOptions, BandsMakeOnePicture) {
  constexpr Surface kGlass{{0.5F, 0, 0}, {0, 0, 0}, 0, 0.5F};
  const auto draw = [&](Canvas& canvas) {
    const ScreenVertex corners[] = {{3, -4, 1, {0, 0, 1}}, {40, 22, 9, {1, 0, 1}}, {-3, 31, 4, {0, 1, 1}}};
    canvas.triangle(corners[0], corners[1], corners[2], kGlass);
    canvas.line(corners[1], corners[2], {0, 0, 0});
    canvas.beginLayers();
    do {
      canvas.triangle(corners[2], {30, 1, 0, {0, 0, 1}}, corners[1], kGlass);
    } while (canvas.endLayer());
    return canvas.resolve();
  };
  Canvas whole(16, 16);
  const auto all = draw(whole);
  std::vector<std::uint8_t> joined;
  for (const auto& rows : {Canvas::Rows{0, 5}, {5, 6}, {6, 16}}) {
    Canvas band(16, 16, rows);
    const auto part = draw(band);
    joined.insert(joined.end(), part.begin(), part.end());
  }
  EXPECT_EQ(joined, all);
}

TEST_F(PictureOptions, TheProgramTakesThemAll) {
  makeScene([](Scene_V1& s, const ObjectId& root) { addShape(s, root, "part", box(4, 2, 1)); });
  const std::string out = folder_.hostPath("a.png");
  for (const std::vector<std::string>& options :
       {std::vector<std::string>{"--background", "none", "--up", "y"},
        {"--background=#10203040"},
        {"--sheet", "--up=x"},
        {"--no-shade", "--view", "top"}}) {
    std::vector<std::string> arguments = {out, "--size", "64x48"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const auto result = renderWith(arguments);
    EXPECT_EQ(result.code, 0) << options[0];
    EXPECT_EQ(result.out + result.err, "");
    const bool has_alpha = options[0].starts_with("--background");
    EXPECT_EQ(folder_.read("a.png")[25], has_alpha ? 6 : 2) << "colour type of " << options[0];
  }
}

TEST_F(PictureOptions, WhatCannotBeMeantIsRefused) {
  makeScene([](Scene_V1& s, const ObjectId& root) { addShape(s, root, "part", box(4, 2, 1)); });
  for (const char* name : {"a.jpg", "a", "a.png.bak", ".png/a"}) {
    const auto result = renderWith({folder_.hostPath(name)});
    EXPECT_EQ(result.code, 2) << name;
    EXPECT_THAT(result.err, HasSubstr("does not have the extension .png"));
  }
  const std::string out = folder_.hostPath("a.PNG");
  EXPECT_EQ(renderWith({out, "--size=8x8"}).code, 0);
  for (const char* color : {"", "red", "#12345", "1234567", "GG0000", "#", "+1+1+1"})
    EXPECT_EQ(renderWith({out, "--background", color}).code, 2) << color;
  EXPECT_EQ(renderWith({out, "--up=w"}).code, 2);
  EXPECT_EQ(renderWith({out, "--sheet", "--view=top"}).code, 2);
}

}  // namespace
}  // namespace Orb::Zix
