// The commands of `zix`: a source file each. Their table of options also makes the help texts.
#pragma once

#include <string>
#include <string_view>

#include "cli/command_line.h"
#include "cli/program.h"

namespace loftbay::cli {

inline constexpr std::string_view kProgram = "zix";

int runInfo(const CommandLine& call);
int runTree(const CommandLine& call);
int runValidate(const CommandLine& call);
int runDiff(const CommandLine& call);
int runExport(const CommandLine& call);
int runRender(const CommandLine& call);
int runView(const CommandLine& call);

const Program& zixProgram();

// What a command of the table does.
using RunCommand = int (*)(const CommandLine& call);
RunCommand runnerOf(const Command& command);

// Wrong usage: says it on standard error, and where help is.
int refuseUsage(const std::string& reason);

}  // namespace loftbay::cli
