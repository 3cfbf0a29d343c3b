// The help of a program and of its commands, made of the table of options.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "cli/option.h"

namespace loftbay::cli {

// Each form of use, without "Usage: ".
std::vector<std::string> usagesOf(const Program& program, const Command& command);

// Of a command: how it is used, what it does, its options by group.
std::string helpText(const Program& program, const Command& command);

// Of a program whose first word is always a command: the commands and the options that all of them take.
std::string programHelp(const Program& program);

// "--name VALUE", with the short name before it.
std::string nameWithArgument(const Option& option);

// The help of an option, its default included.
std::string helpOf(const Option& option);

// The headings of the options that a command takes and that help shows, in the table's order.
std::vector<std::string_view> groupsOf(const Program& program, const Command& command);

}  // namespace loftbay::cli
