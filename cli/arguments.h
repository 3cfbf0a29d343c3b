// Command lines by the same rules in both programs: help and version on standard output with code 0, wrong
// usage on standard error with code 2, and an unknown option is named together with the closest one.
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace loftbay::cli {

// Parses `arguments` with `app`. Empty when the program is to go on, else its exit code: help was printed,
// or wrong usage explained.
std::optional<int> parseArguments(CLI::App& app, const std::vector<std::string>& arguments);

// The options that the command line had, each as one word ("--name" or "--name=value"), in the order of their
// declaration. Those named in `except` and hidden ones are left out.
std::vector<std::string> givenOptions(const CLI::App& app, const std::vector<std::string_view>& except);

// Prints "program: message" and a hint at --help on standard error; gives the code of wrong usage.
int wrongUsage(const std::string& program, const std::string& message);

}  // namespace loftbay::cli
