// A page for browsers: the viewer, which scripts/build-viewer makes as one HTML file, with the scene's file
// in it. The page's own program reads the scene, so the file goes in as it is, packed.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "zix/reader.h"

namespace Orb::Zix {

struct HtmlPage {
  std::string viewer_path;            // program form
  std::string name;                   // of the scene's file, for the page's title; any bytes
  std::optional<std::string> report;  // a conversion's report in JSON, which the page shows
  bool is_damaged = false;            // the page says so
};

// The reason where the page could not be written. Takes constant memory beside the viewer and the report.
std::optional<std::string> exportHtml(const SceneFile& scene, const HtmlPage& page,
                                      std::string_view program_path);

}  // namespace Orb::Zix
