// The commands of `zix`: one table entry and one source file each. The table also makes the help texts.
#pragma once

#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cli/program.h"

namespace loftbay::cli {

inline constexpr std::string_view kProgram = "zix";

struct Option {
  std::string_view name;   // with its dashes
  std::string_view value;  // what stands for its value in the help; empty for a flag
  std::string_view help;
};

// A call of a command as it was typed: operands in host form, option values by name.
struct Invocation {
  std::vector<std::string> operands;
  std::map<std::string, std::string, std::less<>> options;

  [[nodiscard]] bool has(std::string_view name) const { return options.find(name) != options.end(); }
};

struct Command {
  std::string_view name;
  std::vector<std::string_view> operands;
  std::string_view help;
  std::vector<Option> options;
  int (*run)(const Invocation&);
};

int runInfo(const Invocation& call);
int runTree(const Invocation& call);
int runValidate(const Invocation& call);
int runDiff(const Invocation& call);
int runExport(const Invocation& call);
int runRender(const Invocation& call);

std::span<const Command> commands();

// Wrong usage: says it on standard error, and where help is.
int refuseUsage(const std::string& reason);

}  // namespace loftbay::cli
