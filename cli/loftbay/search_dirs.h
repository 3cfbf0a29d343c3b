// The option `--search-dir`, which conversions and `loftbay info` share.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace loftbay::cli {

// Declares the option; `folders` must outlive the parsing.
void addSearchDirs(CLI::App& app, std::vector<std::string>& folders);

// Why a folder that was given (host form) cannot be searched; empty when all can.
[[nodiscard]] std::string complaintOfSearchDirs(const std::vector<std::string>& folders);

// Hands the folders to the toolkit, for the files that are loaded from here on.
void setSearchDirs(const std::vector<std::string>& folders);

}  // namespace loftbay::cli
