// zix render: a picture of the scene.
#include "zix/render.h"

#include <fmt/core.h>

#include <algorithm>

#include "cli/closest_match.h"
#include "cli/zix/open_scene.h"
#include "cli/zix/option_values.h"
#include "host/shown_text.h"
#include "zix/png.h"

namespace loftbay::cli {

using namespace Orb::Zix;

namespace {

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

int runRender(const CommandLine& call) {
  const std::string& out = call.operands()[1];
  PictureSize size;
  if (const auto text = call.value("--size")) size = *pictureSizeIn(*text);
  if (extensionOf(out) != ".png")
    return refuseUsage(fmt::format("'{}' does not have the extension .png", host::shownText(out)));
  if (call.has("--sheet") && call.has("--view"))
    return refuseUsage("a sheet shows all views: '--view' does not go with '--sheet'");
  if (isSameFile(call.operands()[0], out)) return refuseUsage("input and output are the same file");
  auto scene = openScene(call.operands()[0]);
  if (!scene) return kFailed;
  verifyArrays(*scene, call);
  RenderStyle style{
      .flat = call.has("--flat"), .edges = call.has("--edges"), .outline = call.has("--no-shade")};
  if (const auto text = call.value("--background")) style.background = backgroundIn(*text);
  std::optional<UpAxis> up;
  if (const auto text = call.value("--up")) up = upAxisIn(*text);
  Picture picture;
  if (call.has("--sheet")) {
    picture = renderSheet(*scene, size.width, size.height, style, up);
  } else {
    const std::string name = call.value("--view").value_or("iso");
    const bool is_default =
        std::find(kDefaultViewNames.begin(), kDefaultViewNames.end(), name) != kDefaultViewNames.end();
    auto camera = up && is_default ? defaultCamera(name, *up) : findCamera(*scene, name);
    if (!camera) return refuseView(*scene, name);
    // A view with a name of its own was meant as it is.
    if (is_default) camera = fitted(*scene, *camera, size.width, size.height);
    picture = render(*scene, *camera, size.width, size.height, style);
  }
  if (const auto failure =
          writePng(host::toProgramPath(out), picture.width, picture.height, picture.rgb, picture.alpha)) {
    complain(kProgram, *failure);
    return kFailed;
  }
  return kDone;
}

}  // namespace loftbay::cli
