// zix tree: one line per object, indented by its level.
#include "cli/zix/open_scene.h"
#include "zix/scene_info.h"

namespace loftbay::cli {

int runTree(const CommandLine& call) {
  const auto scene = openScene(call.operands()[0]);
  if (!scene) return kFailed;
  Orb::Zix::writeTree(*scene, print, call.has("--properties"));
  return kDone;
}

}  // namespace loftbay::cli
