#include "cli/option.h"

#include <algorithm>

namespace loftbay::cli {

bool takes(const Command& command, const Option& option) {
  return option.commands.empty() || std::ranges::find(option.commands, command.name) != option.commands.end();
}

bool shows(const Command& command, const Option& option) { return !option.hidden && takes(command, option); }

}  // namespace loftbay::cli
