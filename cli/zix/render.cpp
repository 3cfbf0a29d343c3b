// zix render: a picture of the scene.
#include "zix/render.h"

#include <fmt/core.h>

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
  PictureSize size;
  if (const auto text = call.value("--size")) size = *pictureSizeIn(*text);
  if (isSameFile(call.operands()[0], call.operands()[1]))
    return refuseUsage("input and output are the same file");
  const auto scene = openScene(call.operands()[0]);
  if (!scene) return kFailed;
  const std::string name = call.value("--view").value_or("iso");
  const auto camera = findCamera(*scene, name);
  if (!camera) return refuseView(*scene, name);
  const RenderStyle style{call.has("--flat"), call.has("--edges")};
  const Picture picture = render(*scene, *camera, size.width, size.height, style);
  if (const auto failure =
          writePng(host::toProgramPath(call.operands()[1]), picture.width, picture.height, picture.rgb)) {
    complain(kProgram, *failure);
    return kFailed;
  }
  return kDone;
}

}  // namespace loftbay::cli
