// zix render: a picture of the scene.
#include "zix/render.h"

#include <fmt/format.h>

#include <charconv>

#include "cli/closest_match.h"
#include "cli/zix/open_scene.h"
#include "host/shown_text.h"
#include "zix/png.h"

namespace loftbay::cli {

using namespace Orb::Zix;

namespace {

struct Size {
  std::uint32_t width = 1024;
  std::uint32_t height = 768;
};

// "800x600".
std::optional<Size> parseSize(std::string_view text) {
  Size size;
  const char* const end = text.data() + text.size();
  const auto width = std::from_chars(text.data(), end, size.width);
  if (width.ec != std::errc() || width.ptr == end || *width.ptr != 'x') return std::nullopt;
  const auto height = std::from_chars(width.ptr + 1, end, size.height);
  if (height.ec != std::errc() || height.ptr != end) return std::nullopt;
  if (size.width < 1 || size.height < 1) return std::nullopt;
  if (size.width > kLargestPicture || size.height > kLargestPicture) return std::nullopt;
  return size;
}

std::vector<std::string> viewNames(const SceneFile& scene) {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < scene.viewCount(); ++i) names.emplace_back(scene.viewName(i));
  if (names.empty()) names = {"front", "back", "left", "right", "top", "bottom", "iso"};
  return names;
}

int refuseView(const SceneFile& scene, const std::string& name) {
  const auto names = viewNames(scene);
  std::string known;
  for (const std::string& one : names)
    known += fmt::format("{}{}", known.empty() ? "" : ", ", host::shownText(one));
  const auto match = closestMatch(name, names);
  return refuseUsage(fmt::format("there is no view '{}'{}; the views are {}", name,
                                 match ? fmt::format("; did you mean '{}'?", host::shownText(*match)) : "",
                                 known));
}

}  // namespace

int runRender(const Invocation& call) {
  Size size;
  if (const auto text = call.options.find("--size"); text != call.options.end()) {
    const auto parsed = parseSize(text->second);
    if (!parsed) {
      return refuseUsage(fmt::format("'{}' is no size; it is WIDTHxHEIGHT in pixels, each from 1 to {}",
                                     text->second, kLargestPicture));
    }
    size = *parsed;
  }
  if (isSameFile(call.operands[0], call.operands[1]))
    return refuseUsage("input and output are the same file");
  const auto scene = openScene(call.operands[0]);
  if (!scene) return kFailed;
  const auto named = call.options.find("--view");
  const std::string name = named != call.options.end() ? named->second : "iso";
  const auto camera = findCamera(*scene, name);
  if (!camera) return refuseView(*scene, name);
  const RenderStyle style{call.has("--flat"), call.has("--edges")};
  const Picture picture = render(*scene, *camera, size.width, size.height, style);
  if (const auto failure =
          writePng(host::toProgramPath(call.operands[1]), picture.width, picture.height, picture.rgb)) {
    complain(kProgram, *failure);
    return kFailed;
  }
  return kDone;
}

}  // namespace loftbay::cli
