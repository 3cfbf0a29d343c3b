// zix: looks at Zix scenes. Reads the command line by the table in commands.cpp.
#include <fmt/format.h>

#include <cstdio>
#include <optional>

#include "cli/closest_match.h"
#include "cli/console.h"
#include "cli/program.h"
#include "cli/zix/command.h"
#include "host/out_of_memory.h"
#include "zix/format.h"
#include "zix/reader.h"

namespace loftbay::cli {

namespace {

std::string withValue(std::string_view option, std::string_view value) {
  return value.empty() ? std::string(option) : fmt::format("{} {}", option, value);
}

std::string usageOf(const Command& command) {
  std::string text = fmt::format("{} {}", kProgram, command.name);
  for (const std::string_view operand : command.operands) text += fmt::format(" {}", operand);
  for (const Option& option : command.options)
    text += fmt::format(" [{}]", withValue(option.name, option.value));
  return text;
}

std::string exitCodes() {
  return "Exit codes: 0 done (validate: no error, warnings allowed; diff: equal); 1 damaged, different or\n"
         "failed; 2 wrong usage. Results go to standard output, everything else to standard error.\n";
}

std::string optionLine(std::string_view name, std::string_view value, std::string_view help) {
  return fmt::format("  {:<20}  {}\n", withValue(name, value), help);
}

std::string usages() {
  std::string text = "Usage:\n";
  for (const Command& command : commands()) text += fmt::format("  {}\n", usageOf(command));
  return text;
}

std::string help() {
  std::string text = fmt::format("zix looks at Zix scenes.\n\n{}\nCommands:\n", usages());
  for (const Command& command : commands()) text += optionLine(command.name, "", command.help);
  text += "\nOptions:\n";
  text += optionLine("--help", "", "This text; after a command, the command's own.");
  text += optionLine("--version", "", "Version of the program and of the file format.");
  text += optionLine("--", "", "Ends the options: what follows are file names.");
  return fmt::format("{}\n{}", text, exitCodes());
}

std::string help(const Command& command) {
  std::string text = fmt::format("Usage: {}\n\n{}\n", usageOf(command), command.help);
  if (!command.options.empty()) text += "\nOptions:\n";
  for (const Option& option : command.options) text += optionLine(option.name, option.value, option.help);
  return fmt::format("{}\n{}", text, exitCodes());
}

std::string version() {
  return "zix " LOFTBAY_VERSION " (Zix format " + std::to_string(Orb::Zix::format::kMajorVersion) + "." +
         std::to_string(Orb::Zix::format::kMinorVersion) + ")\n";
}

std::string didYouMean(std::string_view text, const std::vector<std::string>& candidates) {
  const auto match = closestMatch(text, candidates);
  return match ? fmt::format("; did you mean '{}'?", *match) : "";
}

const Command* findCommand(std::string_view name) {
  for (const Command& command : commands()) {
    if (command.name == name) return &command;
  }
  return nullptr;
}

// Fills in `call`. A text is the reason why the arguments are wrong.
std::optional<std::string> parse(const Command& command, std::span<const std::string> arguments,
                                 Invocation& call) {
  bool options_ended = false;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (options_ended || argument.size() < 2 || argument[0] != '-') {
      call.operands.push_back(argument);
      continue;
    }
    if (argument == "--") {
      options_ended = true;
      continue;
    }
    const auto equals = argument.find('=');
    const std::string name = argument.substr(0, equals);
    const Option* known = nullptr;
    for (const Option& option : command.options) {
      if (option.name == name) known = &option;
    }
    if (known == nullptr) {
      std::vector<std::string> names{"--help"};
      for (const Option& option : command.options) names.emplace_back(option.name);
      return "unknown option '" + name + "'" + didYouMean(name, names);
    }
    if (known->value.empty()) {
      if (equals != std::string::npos) return "option '" + name + "' takes no value";
      call.options[name] = "";
    } else if (equals != std::string::npos) {
      call.options[name] = argument.substr(equals + 1);
    } else if (i + 1 < arguments.size()) {
      call.options[name] = arguments[++i];
    } else {
      return "option '" + name + "' needs a value: " + std::string(known->value);
    }
  }
  if (call.operands.size() == command.operands.size()) return std::nullopt;
  return fmt::format("{}: {}",
                     call.operands.size() < command.operands.size() ? "a file name is missing"
                                                                    : "there are too many file names",
                     usageOf(command));
}

bool asksFor(std::span<const std::string> arguments, std::string_view option) {
  for (const std::string& argument : arguments) {
    if (argument == "--") return false;
    if (argument == option) return true;
  }
  return false;
}

int dispatch(const std::vector<std::string>& arguments) {
  if (arguments.empty()) {
    std::fputs((usages() + "'zix --help' says more.\n").c_str(), stderr);
    return kWrongUsage;
  }
  const std::string& first = arguments.front();
  if (first == "--help") return print(help()), kDone;
  if (first == "--version") return print(version()), kDone;
  const Command* const command = findCommand(first);
  if (command == nullptr) {
    std::vector<std::string> names{"--help", "--version"};
    for (const Command& known : commands()) names.emplace_back(known.name);
    return refuseUsage((first[0] == '-' ? "unknown option '" : "unknown command '") + first + "'" +
                       didYouMean(first, names));
  }
  const auto rest = std::span(arguments).subspan(1);
  if (asksFor(rest, "--help")) return print(help(*command)), kDone;
  if (asksFor(rest, "--version")) return print(version()), kDone;
  Invocation call;
  if (const auto reason = parse(*command, rest, call)) return refuseUsage(*reason);
  try {
    return command->run(call);
  } catch (const Orb::Zix::SceneReadError& error) {
    complain(kProgram, error.what());
    return kFailed;
  } catch (const std::exception& error) {
    complain(kProgram, call.operands[0] + ": " + host::failureText(error));
    return kFailed;
  }
}

}  // namespace

int runProgram(const std::vector<std::string>& arguments) {
  exitOnInterrupt();
  const int code = dispatch(arguments);
  return !finishOutput(kProgram) && code == kDone ? kFailed : code;
}

int refuseUsage(const std::string& reason) {
  complain(kProgram, reason);
  complain(kProgram, "'zix --help' shows how it is used");
  return kWrongUsage;
}

}  // namespace loftbay::cli
