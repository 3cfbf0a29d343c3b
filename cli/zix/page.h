// The page for browsers, as `zix export` and `zix view` write it.
#pragma once

#include <filesystem>
#include <string>

#include "cli/command_line.h"

namespace loftbay::cli {

// A path as the user writes it, in UTF-8.
inline std::string hostText(const std::filesystem::path& path) {
  const auto text = path.u8string();
  return {text.begin(), text.end()};
}

// Writes the page of the scene that the call names, to `output` (host form). Looks at --report and --force.
// Says itself what is wrong; gives the exit code.
int writePage(const CommandLine& call, const std::string& output);

}  // namespace loftbay::cli
