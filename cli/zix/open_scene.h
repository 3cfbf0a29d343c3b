// Opening the scene that a command was given.
#pragma once

#include <filesystem>
#include <string>
#include <system_error>

#include "cli/console.h"
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

// True when both paths lead to one file, through links or letter case too.
inline bool isSameFile(const std::string& first_host_path, const std::string& second_host_path) {
  std::error_code error;
  return std::filesystem::equivalent(host::toFileSystemPath(host::toProgramPath(first_host_path)),
                                     host::toFileSystemPath(host::toProgramPath(second_host_path)), error) &&
         !error;
}

}  // namespace loftbay::cli
