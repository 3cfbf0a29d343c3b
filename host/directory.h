// Directories and canonical paths by program path (see path.h). Where memory runs out, also the system's,
// these throw std::bad_alloc.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace loftbay::host {

// The names in a directory (files and folders, without `.` and `..`), unsorted, each as one component of a
// program path. Empty optional when the directory cannot be read.
std::optional<std::vector<std::string>> listDirectory(std::string_view program_path);

// The absolute path with every `.`, `..` and link resolved, in program form. Empty when the path does not
// exist.
std::optional<std::string> canonicalPath(std::string_view program_path);

}  // namespace loftbay::host
