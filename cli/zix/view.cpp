// zix view: writes the page into a folder of its own in the system's temporary one, and opens it.
#include <chrono>
#include <filesystem>
#include <random>

#include "cli/console.h"
#include "cli/zix/command.h"
#include "cli/zix/report_file.h"
#include "host/open_file.h"
#include "host/path.h"

namespace loftbay::cli {

namespace {

constexpr std::string_view kFolderName = "zix-view-";  // and a number

// Nobody can tell when the browser has read a page, so each run removes the folders of runs a day ago. What
// cannot be removed is somebody else's.
void removeOldFolders(const std::filesystem::path& parent) {
  const auto oldest = std::filesystem::file_time_type::clock::now() - std::chrono::hours(24);
  std::error_code ignored;
  for (std::filesystem::directory_iterator entry(parent, ignored), end; entry != end;
       entry.increment(ignored)) {
    std::error_code error;
    if (!hostText(entry->path().filename()).starts_with(kFolderName) || !entry->is_directory(error)) continue;
    const auto written = entry->last_write_time(error);
    if (!error && written < oldest) std::filesystem::remove_all(entry->path(), error);
  }
}

// New, and of this user alone. Throws std::filesystem::filesystem_error.
std::filesystem::path newFolder() {
  const auto parent = std::filesystem::temp_directory_path();
  removeOldFolders(parent);
  std::random_device random;
  for (;;) {
    const auto folder = parent / (std::string(kFolderName) + std::to_string(random()));
    if (!std::filesystem::create_directory(folder)) continue;
    std::filesystem::permissions(folder, std::filesystem::perms::owner_all);
    return folder;
  }
}

int writeViewPage(const CommandLine& call, const std::string& page) {
  const auto request = pageRequest(call, page);
  if (!request) return request.error();
  const auto tell = [](const std::string& line) { complain(kProgram, line); };
  const auto failure = writePage(*request, tell);
  if (failure) tell(*failure);
  return failure ? kFailed : kDone;
}

}  // namespace

int runView(const CommandLine& call) {
  const auto input = host::toFileSystemPath(host::toProgramPath(call.operands()[0]));
  auto name = input.stem();
  name += ".html";
  const auto folder = newFolder();
  const std::string page = hostText(folder / name);
  const int code = writeViewPage(call, page);
  if (code != kDone) {
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
    return code;
  }
  print(page + "\n");
  if (call.has("--no-open")) return kDone;
  std::string reason;
  if (host::openInBrowser(page, &reason)) return kDone;
  complain(kProgram, "no browser could be started (" + reason + "); the page is " + page);
  return kFailed;
}

}  // namespace loftbay::cli
