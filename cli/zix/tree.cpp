// zix tree: one line per object, indented by its level, or one JSON document.
#include "cli/zix/json_error.h"
#include "cli/zix/open_scene.h"
#include "zix/scene_info.h"

namespace loftbay::cli {

int runTree(const CommandLine& call) {
  const auto scene = openScene(call.operands()[0]);
  if (!scene) return kFailed;
  const bool with_properties = call.has("--properties");
  if (!call.has("--json")) {
    Orb::Zix::writeTree(*scene, print, with_properties);
    return kDone;
  }
  if (const auto refusal = Orb::Zix::treeJsonRefusal(*scene, with_properties)) {
    complain(kProgram, call.operands()[0] + ": " + refusal->message);
    printJsonError(*refusal);
    return kFailed;
  }
  Orb::Zix::writeTreeJson(*scene, print, with_properties);
  return kDone;
}

}  // namespace loftbay::cli
