// A picture of a scene, made by this program alone: a z-buffer, light from beside the camera, smooth shading
// across soft edges, transparent surfaces layer by layer, four samples per pixel. For looking whether a
// conversion is right, not for beauty.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "zix/raster.h"
#include "zix/reader.h"
#include "zix/up_axis.h"

namespace Orb::Zix {

struct Camera {
  std::array<double, 3> position;
  std::array<double, 3> target;
  std::array<double, 3> up;
  double height;  // what is visible from the lower to the upper edge, and at least as much from left to right
};

// In the order of the default views.
inline constexpr std::array<std::string_view, 7> kDefaultViewNames = {"front", "back",   "left", "right",
                                                                      "top",   "bottom", "iso"};

// The scene's own view of that name. For the seven names of the default views also where the scene has no
// such view: then fitted to the scene's bounds.
std::optional<Camera> findCamera(const SceneFile& scene, std::string_view name);

// The camera of the default view of that name for a model whose `up` points upwards. Not fitted to anything.
std::optional<Camera> defaultCamera(std::string_view name, UpAxis up);

// The same direction of view, moved and scaled until all that is projected fills a picture of this size but
// for a margin of kFitMargin on each side. Counts every finite point of every mesh that is shown. A camera
// that would show nothing stays as it is.
Camera fitted(const SceneFile& scene, const Camera& camera, std::uint32_t width, std::uint32_t height);
inline constexpr double kFitMargin = 0.04;  // of the picture's width, and of its height

struct Picture {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::vector<std::uint8_t> rgb;    // rows from the top
  std::vector<std::uint8_t> alpha;  // opacity, one byte per pixel; empty where all is opaque
};

inline constexpr std::uint32_t kLargestPicture = 8192;  // pixels on a side

struct RenderStyle {
  bool flat = false;     // every triangle in one shade
  bool edges = false;    // feature edges are drawn dark
  bool outline = false;  // a line drawing: feature edges alone, as far as surfaces do not hide them
  std::optional<Color4> background = {};  // else light above and darker below; white for a line drawing
};

// Parallel projection. `width` and `height` from 1 to kLargestPicture. Points that are not finite are left
// out with the elements that use them. Needs, beside the picture and the largest mesh, at most some hundred
// megabytes, however large the picture is.
Picture render(const SceneFile& scene, const Camera& camera, std::uint32_t width, std::uint32_t height,
               const RenderStyle& style = {});

// The seven default views on one picture of that size, each with its name, each fitted to its part. Without
// `up` the directions of view are the scene's own where it has views of these names.
Picture renderSheet(const SceneFile& scene, std::uint32_t width, std::uint32_t height,
                    const RenderStyle& style = {}, std::optional<UpAxis> up = {});

}  // namespace Orb::Zix
