// `loftbay info`: what a JT file holds.
#pragma once

#include <string>
#include <vector>

namespace loftbay::cli {

int infoCommand(const std::vector<std::string>& arguments);

}  // namespace loftbay::cli
