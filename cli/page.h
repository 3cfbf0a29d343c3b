// The page for browsers: the viewer with a scene in it.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace loftbay::cli {

// A path as the user writes it, in UTF-8.
inline std::string hostText(const std::filesystem::path& path) {
  const auto text = path.u8string();
  return {text.begin(), text.end()};
}

// Why no page can be written, whatever the scene: the viewer is missing. Empty: it is there.
std::string viewerComplaint();

// Paths in host form.
struct PageRequest {
  std::string scene;
  std::string output;
  std::optional<std::string> report;  // a conversion's, in JSON
  bool force = false;                 // a damaged scene is told and used
};
// Why there is no page. Needs the viewer beside the program. `tell` hears of damage that is used.
std::optional<std::string> writePage(const PageRequest& request,
                                     const std::function<void(const std::string& line)>& tell);

}  // namespace loftbay::cli
