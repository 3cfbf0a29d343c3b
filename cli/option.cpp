#include "cli/option.h"

#include <algorithm>

namespace loftbay::cli {

namespace {

bool takesChoicesOnly(const Option& option) {
  return option.kind == OptionKind::Choice && !option.other_values;
}

}  // namespace

bool takes(const Command& command, const Option& option) {
  return option.commands.empty() || std::ranges::find(option.commands, command.name) != option.commands.end();
}

bool lists(const Command& command, const Option& option) {
  return !option.unlisted && takes(command, option);
}

std::string validValues(const Option& option) {
  if (!takesChoicesOnly(option)) return std::string(option.valid);
  std::string text;
  for (std::size_t i = 0; i < option.choices.size(); ++i) {
    const bool is_last = i + 1 == option.choices.size();
    if (i > 0) text += is_last ? " or " : ", ";
    text += option.choices[i];
  }
  return text;
}

bool isValid(const Option& option, std::string_view value) {
  if (takesChoicesOnly(option)) return std::ranges::find(option.choices, value) != option.choices.end();
  return option.accepts == nullptr || option.accepts(value);
}

}  // namespace loftbay::cli
