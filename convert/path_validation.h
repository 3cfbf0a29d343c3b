// The checks of the user's two paths before a job is made.
#pragma once

#include <string>
#include <string_view>

namespace loftbay::convert {

// Checks in a fixed order that both paths are given, that their extensions are supported, that the input
// opens, that the output's directory exists and that the output can be created. The first failure is shown
// in an error box (program_seams.h) and gives false. Success has removed whatever file stood at the output
// path. Paths are in program form.
bool validatePaths(std::string input_path, std::string output_path);

// The text behind the last `.` of the whole path, directories included; empty without one.
std::string_view fileExtension(std::string_view path);

bool isInputExtension(std::string_view path);   // "jt" in any case
bool isOutputExtension(std::string_view path);  // "zix" in any case

// Whether the process can change into the directory. Leaves the current directory as it was. True when the
// current directory cannot be read (or needs 2048 bytes or more).
bool isDirectoryAvailable(const std::string& directory);

}  // namespace loftbay::convert
