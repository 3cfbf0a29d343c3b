// Manual pages.
#include <fmt/core.h>

#include <algorithm>

#include "cli/describe.h"
#include "cli/help.h"

namespace loftbay::cli {

namespace {

// For troff a backslash begins an escape sequence, a point or an apostrophe at the start of a line a request;
// and only an escaped hyphen is the sign that a shell takes.
std::string escaped(std::string_view text) {
  std::string result;
  bool at_start = true;
  for (const char c : text) {
    if (at_start && (c == '.' || c == '\'')) result += "\\&";
    if (c == '\\') {
      result += "\\e";
    } else if (c == '-') {
      result += "\\-";
    } else {
      result += c;
    }
    at_start = c == '\n';
  }
  return result;
}

std::string nameLine(const Option& option) {
  std::string text = ".TP\n";
  if (!option.short_name.empty()) text += fmt::format("\\fB{}\\fR, ", escaped(option.short_name));
  text += fmt::format("\\fB{}\\fR", escaped(option.name));
  if (!option.argument.empty()) text += fmt::format(" \\fI{}\\fR", escaped(option.argument));
  return text + "\n";
}

std::string optionText(const Option& option) {
  std::string text = nameLine(option) + escaped(helpOf(option)) + "\n";
  const std::string valid = validValues(option);
  if (!valid.empty())
    text += fmt::format(".br\n\\fI{}\\fR is {}.\n", escaped(option.argument), escaped(valid));
  return text;
}

std::string commandText(const Program& program, const Command& command) {
  std::string text = fmt::format(".SH {}\n{}\n", escaped(command.called), escaped(command.about));
  for (const Operand& operand : command.operands) {
    if (!operand.help.empty())
      text += fmt::format(".TP\n\\fI{}\\fR\n{}\n", escaped(operand.name), escaped(operand.help));
  }
  for (const std::string_view group : groupsOf(program, command)) {
    text += fmt::format(".SS {}\n", escaped(group));
    for (const Option& option : program.options) {
      if (lists(command, option) && option.group == group) text += optionText(option);
    }
  }
  return text;
}

// The last lines of the commands' help, each once.
std::string footers(const Program& program) {
  std::vector<std::string_view> told;
  std::string text = ".SH EXIT CODES AND ENVIRONMENT\n";
  for (const Command& command : program.commands) {
    if (command.footer.empty() || std::ranges::find(told, command.footer) != told.end()) continue;
    told.push_back(command.footer);
    text += fmt::format(".PP\n{}:\n.PP\n.nf\n{}\n.fi\n", escaped(command.called), escaped(command.footer));
  }
  return text;
}

}  // namespace

std::string manualPage(const Program& program) {
  std::string text = fmt::format(".TH {} 1 \"\" \"{}\"\n", program.name, escaped(program.version));
  text += fmt::format(".SH NAME\n{} \\- {}\n.SH SYNOPSIS\n.nf\n", program.name, escaped(program.about));
  for (const Command& command : program.commands) {
    for (const std::string& usage : usagesOf(program, command)) text += escaped(usage) + "\n";
  }
  text += ".fi\n";
  for (const Command& command : program.commands) text += commandText(program, command);
  return text + footers(program);
}

}  // namespace loftbay::cli
