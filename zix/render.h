// A picture of a scene, made by this program alone: a z-buffer, light from beside the camera, smooth shading
// across soft edges, four samples per pixel. For looking whether a conversion is right, not for beauty.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "zix/reader.h"

namespace Orb::Zix {

struct Camera {
  std::array<double, 3> position;
  std::array<double, 3> target;
  std::array<double, 3> up;
  double height;  // what is visible from the lower to the upper edge, and at least as much from left to right
};

// The scene's own view of that name. For the seven names of the default views also where the scene has no
// such view: then fitted to the scene's bounds.
std::optional<Camera> findCamera(const SceneFile& scene, std::string_view name);

struct Picture {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::vector<std::uint8_t> rgb;  // rows from the top
};

inline constexpr std::uint32_t kLargestPicture = 8192;  // pixels on a side

struct RenderStyle {
  bool flat = false;   // every triangle in one shade
  bool edges = false;  // feature edges are drawn dark
};

// Parallel projection. `width` and `height` from 1 to kLargestPicture. Points that are not finite are left
// out with the elements that use them.
Picture render(const SceneFile& scene, const Camera& camera, std::uint32_t width, std::uint32_t height,
               const RenderStyle& style = {});

}  // namespace Orb::Zix
