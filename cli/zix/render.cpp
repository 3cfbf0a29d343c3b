// zix render: a picture of the scene.
#include "zix/render.h"

#include <fmt/core.h>

#include "cli/closest_match.h"
#include "cli/scene_outputs.h"
#include "cli/zix/open_scene.h"
#include "cli/zix/option_values.h"
#include "host/shown_text.h"

namespace loftbay::cli {

using namespace Orb::Zix;

namespace {

std::vector<std::string> viewNames(const SceneFile& scene) {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < scene.viewCount(); ++i) names.emplace_back(scene.viewName(i));
  if (names.empty()) names.assign(kDefaultViewNames.begin(), kDefaultViewNames.end());
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
  PictureRequest request;
  if (const auto text = call.value("--size")) {
    const PictureSize size = *pictureSizeIn(*text);
    request.width = size.width;
    request.height = size.height;
  }
  if (extensionOf(out) != kPictureExtension)
    return refuseUsage(fmt::format("'{}' does not have the extension .png", host::shownText(out)));
  if (call.has("--sheet") && call.has("--view"))
    return refuseUsage("a sheet shows all views: '--view' does not go with '--sheet'");
  if (isSameFile(call.operands()[0], out)) return refuseUsage("input and output are the same file");
  auto scene = openScene(call.operands()[0]);
  if (!scene) return kFailed;
  verifyArrays(*scene, call);
  request.style = {
      .flat = call.has("--flat"), .edges = call.has("--edges"), .outline = call.has("--no-shade")};
  if (const auto text = call.value("--background")) request.style.background = backgroundIn(*text);
  if (const auto text = call.value("--up")) request.up = upAxisIn(*text);
  request.sheet = call.has("--sheet");
  request.view = call.value("--view").value_or("iso");
  const auto picture = pictureOf(*scene, request);
  if (!picture) return refuseView(*scene, request.view);
  if (const auto failure = savePicture(*picture, out)) {
    complain(kProgram, *failure);
    return kFailed;
  }
  return kDone;
}

}  // namespace loftbay::cli
