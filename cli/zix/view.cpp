// zix view: writes the page into a folder of its own in the system's temporary one, and opens it.
#include <filesystem>
#include <random>

#include "cli/console.h"
#include "cli/zix/command.h"
#include "cli/zix/report_file.h"
#include "host/open_file.h"
#include "host/path.h"

namespace loftbay::cli {

namespace {

// New, and of this user alone. Throws std::filesystem::filesystem_error.
std::filesystem::path newFolder() {
  const auto parent = std::filesystem::temp_directory_path();
  std::random_device random;
  for (;;) {
    const auto folder = parent / ("zix-view-" + std::to_string(random()));
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
