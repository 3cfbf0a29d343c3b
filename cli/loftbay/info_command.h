// `loftbay info`: what a JT file holds.
#pragma once

#include <span>
#include <string>

namespace loftbay::cli {

int infoCommand(std::span<const std::string> arguments);

}  // namespace loftbay::cli
