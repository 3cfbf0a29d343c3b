// `loftbay convert`: JT files into Zix scenes.
#pragma once

#include <span>
#include <string>

namespace loftbay::cli {

// Parses the arguments of `convert` and runs it: one file in this process, several with a process each. The
// result is the exit code.
int convertCommand(std::span<const std::string> arguments);

}  // namespace loftbay::cli
