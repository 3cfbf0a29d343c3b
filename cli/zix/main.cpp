// zix: looks at Zix scenes. Its commands and options are in the table of commands.cpp.
#include <cstdio>

#include "cli/console.h"
#include "cli/help.h"
#include "cli/zix/command.h"
#include "host/out_of_memory.h"
#include "zix/reader.h"

namespace loftbay::cli {

namespace {

const Command* findCommand(std::string_view name) {
  for (const Command& command : zixProgram().commands) {
    if (command.name == name) return &command;
  }
  return nullptr;
}

std::string usages() {
  std::string text = "Usage:\n";
  for (const Command& command : zixProgram().commands)
    text += "  " + usagesOf(zixProgram(), command).front() + "\n";
  return text;
}

// The options that every command takes, without a command.
int withoutCommand(const std::vector<std::string>& arguments) {
  if (arguments.front() == "--help" || arguments.front() == "-h")
    return print(programHelp(zixProgram())), kDone;
  static const Command kNone{.name = "", .called = kProgram, .about = "", .operands = {}};
  const auto line = readCommandLine(zixProgram(), kNone, arguments);
  return line ? refuseUsage("a command is missing") : line.error();
}

int refuseCommand(const std::string& word) {
  std::vector<std::string> names;
  for (const Command& known : zixProgram().commands) names.emplace_back(known.name);
  return refuseUsage("unknown command '" + word + "'" + didYouMean(word, names, "'"));
}

int dispatch(const std::vector<std::string>& arguments) {
  if (arguments.empty()) {
    std::fputs((usages() + "'zix --help' says more.\n").c_str(), stderr);
    return kWrongUsage;
  }
  const std::string& first = arguments.front();
  if (first.starts_with('-')) return withoutCommand(arguments);
  const Command* const command = findCommand(first);
  if (command == nullptr) return refuseCommand(first);
  const auto call = readCommandLine(zixProgram(), *command, std::span(arguments).subspan(1));
  if (!call) return call.error();
  try {
    return runnerOf(*command)(*call);
  } catch (const Orb::Zix::SceneReadError& error) {
    complain(kProgram, error.what());
    return kFailed;
  } catch (const std::exception& error) {
    complain(kProgram, call->operands()[0] + ": " + host::failureText(error));
    return kFailed;
  }
}

}  // namespace

int runProgram(const std::vector<std::string>& arguments) {
  exitOnInterrupt();
  const int code = dispatch(arguments);
  return !finishOutput(kProgram) && code == kDone ? kFailed : code;
}

}  // namespace loftbay::cli
