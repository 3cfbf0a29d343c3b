// The folders of `--search-dir`, which conversions and `loftbay info` share.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace loftbay::cli {

// Of a path in host form.
[[nodiscard]] bool isFolder(std::string_view path);

// Hands the folders to the toolkit, for the files that are loaded from here on.
void setSearchDirs(const std::vector<std::string>& folders);

}  // namespace loftbay::cli
