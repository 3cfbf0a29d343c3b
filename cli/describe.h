// What packagers and tests ask a program about itself, by the unlisted option --describe: its table of
// options as JSON, its manual page, and what shells need to complete its command line.
#pragma once

#include <string>
#include <string_view>

#include "cli/option.h"

namespace loftbay::cli {

// `form` is one of the choices of --describe.
std::string description(const Program& program, std::string_view form);

// The page in the troff language, for the first section of the manual.
std::string manualPage(const Program& program);

std::string bashCompletion(const Program& program);
std::string zshCompletion(const Program& program);
std::string fishCompletion(const Program& program);

}  // namespace loftbay::cli
