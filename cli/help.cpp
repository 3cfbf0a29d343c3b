#include "cli/help.h"

#include <fmt/core.h>

#include <algorithm>

namespace loftbay::cli {

namespace {

std::string line(std::string_view name, std::string_view help) {
  constexpr std::size_t kColumn = 26;
  // A name that is too long for its column has a line of its own.
  if (name.size() > kColumn) return fmt::format("  {}\n{:{}}{}\n", name, "", kColumn + 4, help);
  return fmt::format("  {:<{}}  {}\n", name, kColumn, help);
}

std::string footer(const Command& command) {
  return command.footer.empty() ? "" : fmt::format("\n{}\n", command.footer);
}

std::string operandsText(const Command& command) {
  std::string text;
  for (const Operand& operand : command.operands) {
    if (!operand.help.empty()) text += line(operand.name, operand.help);
  }
  return text.empty() ? "" : "\nFiles:\n" + text;
}

}  // namespace

std::string nameWithArgument(const Option& option) {
  std::string text;
  if (!option.short_name.empty()) text = fmt::format("{}, ", option.short_name);
  text += option.name;
  if (!option.argument.empty()) text += fmt::format(" {}", option.argument);
  return text;
}

std::string helpOf(const Option& option) {
  if (option.default_value.empty()) return std::string(option.help);
  return fmt::format("{} (default: {})", option.help, option.default_value);
}

std::vector<std::string> usagesOf(const Program& program, const Command& command) {
  if (!command.usages.empty()) return {command.usages.begin(), command.usages.end()};
  std::string text(command.called);
  for (const Operand& operand : command.operands) text += fmt::format(" {}", operand.name);
  for (const Option& option : program.options) {
    const bool is_common = option.commands.empty();
    if (!is_common && lists(command, option)) text += fmt::format(" [{}]", nameWithArgument(option));
  }
  return {text};
}

std::vector<std::string_view> groupsOf(const Program& program, const Command& command) {
  std::vector<std::string_view> groups;
  for (const Option& option : program.options) {
    const bool is_new = std::ranges::find(groups, option.group) == groups.end();
    if (lists(command, option) && is_new) groups.push_back(option.group);
  }
  return groups;
}

std::string helpText(const Program& program, const Command& command) {
  std::string text;
  for (const std::string& usage : usagesOf(program, command))
    text += fmt::format("{} {}\n", text.empty() ? "Usage:" : "      ", usage);
  text += fmt::format("\n{}\n", command.about);
  text += operandsText(command);
  for (const std::string_view group : groupsOf(program, command)) {
    text += fmt::format("\n{}:\n", group);
    for (const Option& option : program.options) {
      if (lists(command, option) && option.group == group)
        text += line(nameWithArgument(option), helpOf(option));
    }
  }
  return text + footer(command);
}

std::string programHelp(const Program& program) {
  std::string text = fmt::format("{}\n\nUsage:\n", program.about);
  for (const Command& command : program.commands)
    text += fmt::format("  {}\n", usagesOf(program, command).front());
  text += "\nCommands:\n";
  for (const Command& command : program.commands) text += line(command.name, command.about);
  text += "\nOptions:\n";
  for (const Option& option : program.options) {
    if (option.commands.empty() && !option.unlisted) text += line(nameWithArgument(option), helpOf(option));
  }
  text += line("--", "ends the options: what follows are file names");
  return text + footer(program.commands.front());
}

}  // namespace loftbay::cli
