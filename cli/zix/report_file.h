// The report of a conversion, as `--report` names it.
#pragma once

#include <string>
#include <tl/expected.hpp>

#include "cli/command_line.h"
#include "cli/page.h"

namespace loftbay::cli {

// What the page of the call's scene is to be: with the report of --report and by --force. Says itself why the
// report cannot be had, and gives the exit code.
tl::expected<PageRequest, int> pageRequest(const CommandLine& call, const std::string& output);

}  // namespace loftbay::cli
