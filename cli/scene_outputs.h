// What `zix export` and `zix render` write of a scene, and `loftbay` behind a conversion: other formats and a
// picture. Paths in host form.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zix/export.h"
#include "zix/render.h"

namespace loftbay::cli {

// Takes a line for the user without its end.
using TellUser = std::function<void(const std::string& line)>;

// In lower case, with its dot; empty: the name has none.
std::string extensionOf(std::string_view path);

inline constexpr std::string_view kPageExtension = ".html";
inline constexpr std::string_view kPictureExtension = ".png";

// Whether the name's extension is one of the formats that exportScene writes.
bool isExport(std::string_view output);
// ".glb, .stl, .obj, .html".
std::string exportExtensions();

struct ExportRequest {
  std::string input;                  // the scene
  std::string output;                 // its extension is the format
  Orb::Zix::GlbOptions glb = {};      // for .glb
  std::optional<std::string> report;  // for .html: a conversion's report in JSON
  bool force = false;                 // damaged arrays are told and used
};
// Why nothing was written. `tell` hears what the user may want to know of the result. Throws SceneReadError.
std::optional<std::string> exportScene(const ExportRequest& request, const TellUser& tell);

struct PictureRequest {
  std::uint32_t width = 1024;
  std::uint32_t height = 768;
  std::string view = "iso";
  bool sheet = false;  // all default views instead
  std::optional<Orb::Zix::UpAxis> up;
  Orb::Zix::RenderStyle style;
};
// None: the scene has no such view.
std::optional<Orb::Zix::Picture> pictureOf(const Orb::Zix::SceneFile& scene, const PictureRequest& request);
// Why it was not written.
std::optional<std::string> savePicture(const Orb::Zix::Picture& picture, const std::string& output);

// From here on a damaged array of the scene is an error, or with `force` told and used.
void verifyArrays(Orb::Zix::SceneFile& scene, bool force, const TellUser& tell);

}  // namespace loftbay::cli
