// What shells need to complete a program's command line: a script for each shell.
#include <fmt/core.h>

#include <algorithm>

#include "cli/describe.h"

namespace loftbay::cli {

namespace {

std::string joined(const std::vector<std::string_view>& words) {
  std::string text;
  for (const std::string_view word : words) text += fmt::format("{}{}", text.empty() ? "" : " ", word);
  return text;
}

// As one word of any of the shells.
std::string asWord(std::string_view text) {
  std::string result = "'";
  for (const char c : text) {
    if (c == '\'') {
      result += "'\\''";
    } else {
      result += c;
    }
  }
  return result + "'";
}

std::vector<std::string_view> commandNames(const Program& program) {
  std::vector<std::string_view> names;
  for (const Command& command : program.commands) names.push_back(command.name);
  return names;
}

std::vector<std::string_view> optionNames(const Program& program, const Command& command) {
  std::vector<std::string_view> names;
  for (const Option& option : program.options) {
    if (lists(command, option)) names.push_back(option.name);
  }
  return names;
}

// In what describes an option to zsh a colon and a bracket mean something.
std::string plain(std::string_view text) {
  std::string result;
  for (const char c : text) {
    if (c == '[' || c == ']' || c == ':' || c == '\\') result += '\\';
    result += c;
  }
  return result;
}

// What bash offers behind an option that takes a value.
std::string bashValues(const Option& option) {
  if (option.kind == OptionKind::Path) return "COMPREPLY=($(compgen -f -- \"$word\"))";
  if (!option.choices.empty())
    return fmt::format("COMPREPLY=($(compgen -W {} -- \"$word\"))", asWord(joined(option.choices)));
  return "COMPREPLY=()";
}

// What zsh offers behind an option: ":MESSAGE:ACTION".
std::string zshValues(const Option& option) {
  if (option.kind == OptionKind::Flag) return "";
  std::string action = " ";
  if (option.kind == OptionKind::Path) action = "_files";
  if (!option.choices.empty()) action = fmt::format("({})", joined(option.choices));
  return fmt::format(":{}:{}", plain(option.argument), action);
}

std::string zshArguments(const Program& program, const Command& command) {
  std::string text;
  for (const Option& option : program.options) {
    if (!lists(command, option)) continue;
    const bool has_value = option.kind != OptionKind::Flag;
    const std::string spec = fmt::format("{}{}{}[{}]{}", option.repeated ? "*" : "", option.name,
                                         has_value ? "=" : "", plain(option.help), zshValues(option));
    text += fmt::format(" \\\n        {}", asWord(spec));
  }
  return text + " \\\n        '*:file:_files'";
}

// The condition under which fish offers an option. The first command need not be named where a command line
// can also begin with files.
std::string fishCondition(const Program& program, const Option& option) {
  if (option.commands.empty()) return "";
  const Command& first = program.commands.front();
  if (!takes(first, option)) return " -n " + asWord("__fish_seen_subcommand_from " + joined(option.commands));
  std::vector<std::string_view> others;
  for (const Command& command : program.commands) {
    if (!takes(command, option)) others.push_back(command.name);
  }
  return others.empty() ? "" : " -n " + asWord("not __fish_seen_subcommand_from " + joined(others));
}

}  // namespace

std::string bashCompletion(const Program& program) {
  std::string text = fmt::format("_{}() {{\n", program.name);
  text += "  local word=\"${COMP_WORDS[COMP_CWORD]}\" before=\"${COMP_WORDS[COMP_CWORD-1]}\" options\n";
  text += "  case \"$before\" in\n";
  for (const Option& option : program.options) {
    if (option.kind != OptionKind::Flag && !option.unlisted)
      text += fmt::format("    {}) {}; return ;;\n", option.name, bashValues(option));
  }
  text += "  esac\n  case \"${COMP_WORDS[1]}\" in\n";
  for (std::size_t i = program.commands.size(); i-- > 0;) {
    const Command& command = program.commands[i];
    text += fmt::format("    {}) options={} ;;\n", i == 0 ? "*" : command.name,
                        asWord(joined(optionNames(program, command))));
  }
  text += "  esac\n";
  text +=
      "  if [[ $word == -* ]]; then\n    COMPREPLY=($(compgen -W \"$options\" -- \"$word\"))\n    return\n  "
      "fi\n";
  text += "  COMPREPLY=($(compgen -f -- \"$word\"))\n";
  text += fmt::format("  if ((COMP_CWORD == 1)); then COMPREPLY+=($(compgen -W {} -- \"$word\")); fi\n}}\n",
                      asWord(joined(commandNames(program))));
  return text + fmt::format("complete -o filenames -F _{0} {0}\n", program.name);
}

std::string zshCompletion(const Program& program) {
  std::string text = fmt::format("#compdef {0}\n_{0}() {{\n  case $words[2] in\n", program.name);
  for (std::size_t i = program.commands.size(); i-- > 0;) {
    const Command& command = program.commands[i];
    text += fmt::format("    {})\n", i == 0 ? "*" : command.name);
    if (i == 0)
      text += fmt::format("      ((CURRENT == 2)) && compadd -- {}\n", joined(commandNames(program)));
    text += fmt::format("      _arguments -s{} ;;\n", zshArguments(program, command));
  }
  return text + fmt::format("  esac\n}}\n_{} \"$@\"\n", program.name);
}

std::string fishCompletion(const Program& program) {
  std::string text;
  for (const Command& command : program.commands) {
    text += fmt::format("complete -c {} -n __fish_use_subcommand -a {} -d {}\n", program.name, command.name,
                        asWord(command.about));
  }
  for (const Option& option : program.options) {
    if (option.unlisted) continue;
    text += fmt::format("complete -c {}{} -l {}", program.name, fishCondition(program, option),
                        option.name.substr(2));
    if (!option.short_name.empty()) text += fmt::format(" -s {}", option.short_name.substr(1));
    if (option.kind != OptionKind::Flag) text += option.kind == OptionKind::Path ? " -r -F" : " -x";
    if (!option.choices.empty()) text += fmt::format(" -a {}", asWord(joined(option.choices)));
    text += fmt::format(" -d {}\n", asWord(option.help));
  }
  return text;
}

}  // namespace loftbay::cli
