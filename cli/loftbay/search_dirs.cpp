#include "cli/loftbay/search_dirs.h"

#include <filesystem>

#include "host/path.h"
#include "jttk/settings.h"

namespace loftbay::cli {

void addSearchDirs(CLI::App& app, std::vector<std::string>& folders) {
  app.add_option("--search-dir", folders,
                 "where else to look for files that the model refers to (may be given several times)")
      ->type_name("DIR")
      ->allow_extra_args(false)  // what follows the folder is no further folder
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

std::string complaintOfSearchDirs(const std::vector<std::string>& folders) {
  for (const std::string& folder : folders) {
    std::error_code error;
    if (!std::filesystem::is_directory(host::toFileSystemPath(host::toProgramPath(folder)), error)) {
      return "--search-dir: '" + folder + "' is not a folder";
    }
  }
  return {};
}

void setSearchDirs(const std::vector<std::string>& folders) {
  auto& searched = jttk::settings().search_folders;
  searched.clear();
  for (const std::string& folder : folders) searched.push_back(host::toProgramPath(folder));
}

}  // namespace loftbay::cli
