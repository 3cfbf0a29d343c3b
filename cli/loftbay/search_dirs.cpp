#include "cli/loftbay/search_dirs.h"

#include <filesystem>

#include "host/path.h"
#include "jttk/interface/settings.h"

namespace loftbay::cli {

bool isFolder(std::string_view path) {
  std::error_code error;
  return std::filesystem::is_directory(host::toFileSystemPath(host::toProgramPath(std::string(path))), error);
}

void setSearchDirs(const std::vector<std::string>& folders) {
  auto& searched = jttk::settings().search_folders;
  searched.clear();
  for (const std::string& folder : folders) searched.push_back(host::toProgramPath(folder));
}

}  // namespace loftbay::cli
