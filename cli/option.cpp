#include "cli/option.h"

#include <algorithm>

namespace loftbay::cli {

bool takes(const Command& command, const Option& option) {
  return option.commands.empty() || std::ranges::find(option.commands, command.name) != option.commands.end();
}

}  // namespace loftbay::cli
