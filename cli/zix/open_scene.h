// Opening the scene that a command was given.
#pragma once

#include <string>

#include "cli/console.h"
#include "cli/same_file.h"
#include "cli/scene_outputs.h"
#include "cli/zix/command.h"
#include "host/path.h"
#include "zix/reader.h"

namespace loftbay::cli {

// Says on standard error why the file was refused.
inline tl::expected<Orb::Zix::SceneFile, Orb::Zix::ReadError> openScene(const std::string& host_path) {
  auto scene = Orb::Zix::SceneFile::open(host::toProgramPath(host_path));
  if (!scene) complain(kProgram, scene.error().text());
  return scene;
}

// For commands that use the scene's arrays: a damaged one is an error, or with --force said and used.
inline void verifyArrays(Orb::Zix::SceneFile& scene, const CommandLine& call) {
  verifyArrays(scene, call.has("--force"), [](const std::string& line) { complain(kProgram, line); });
}

}  // namespace loftbay::cli
