// zix info: what a scene holds, as text or as one JSON document.
#include "cli/zix/open_scene.h"
#include "zix/json_writer.h"
#include "zix/scene_info.h"

namespace loftbay::cli {

using namespace Orb::Zix;

namespace {

// The document if there is no scene to describe.
void printJsonError(const ReadError& error) {
  JsonWriter json(print);
  json.beginObject();
  json.key("error");
  json.beginObject();
  json.key("code");
  json.text(error.code);
  json.key("offset");
  json.number(error.offset);
  json.key("message");
  json.text(error.message);
  json.end();
  json.end();
  json.finish();
}

}  // namespace

int runInfo(const CommandLine& call) {
  const auto scene = openScene(call.operands()[0]);
  const bool as_json = call.has("--json");
  if (!scene) {
    if (as_json) printJsonError(scene.error());
    return kFailed;
  }
  as_json ? writeInfoJson(*scene, print) : writeInfoText(*scene, print);
  return kDone;
}

}  // namespace loftbay::cli
