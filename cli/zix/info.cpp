// zix info: what a scene holds, as text or as one JSON document.
#include "cli/zix/json_error.h"
#include "cli/zix/open_scene.h"
#include "zix/scene_info.h"

namespace loftbay::cli {

using namespace Orb::Zix;

int runInfo(const CommandLine& call) {
  const auto scene = openScene(call.operands()[0]);
  const bool as_json = call.has("--json");
  if (!scene) {
    if (as_json) printJsonError(scene.error());
    return kFailed;
  }
  if (!as_json) {
    writeInfoText(*scene, print);
    return kDone;
  }
  if (const auto refusal = infoJsonRefusal(*scene)) {
    complain(kProgram, call.operands()[0] + ": " + refusal->message);
    printJsonError(*refusal);
    return kFailed;
  }
  writeInfoJson(*scene, print);
  return kDone;
}

}  // namespace loftbay::cli
