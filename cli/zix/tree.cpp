// zix tree: one line per object, indented by its level, or one JSON document.
#include "cli/zix/open_scene.h"
#include "zix/scene_info.h"

namespace loftbay::cli {

int runTree(const CommandLine& call) {
  const auto scene = openScene(call.operands()[0]);
  if (!scene) return kFailed;
  const auto write = call.has("--json") ? Orb::Zix::writeTreeJson : Orb::Zix::writeTree;
  write(*scene, print, call.has("--properties"));
  return kDone;
}

}  // namespace loftbay::cli
