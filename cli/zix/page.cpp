#include "cli/zix/page.h"

#include <filesystem>

#include "cli/json_value.h"
#include "cli/zix/open_scene.h"
#include "host/child_process.h"
#include "host/file.h"
#include "zix/chunk_check.h"
#include "zix/export_html.h"

namespace loftbay::cli {

namespace {

using Orb::Zix::SceneFile;

// Beside the program, where packages put it, or in the build tree. Empty where it is not there. Program form.
std::string viewerPath() {
  const auto folder = host::toFileSystemPath(host::toProgramPath(host::ownProgram())).parent_path();
  for (const auto* const place : {"viewer.html", "../share/loftbay/viewer.html", "../viewer/viewer.html"}) {
    std::error_code error;
    const auto path = folder / place;
    if (std::filesystem::is_regular_file(path, error))
      return host::toProgramPath(hostText(path.lexically_normal()));
  }
  return {};
}

// Says why, where the report cannot be had.
tl::expected<std::string, int> readReport(const std::string& host_path) {
  constexpr std::uint64_t kMostBytes = std::uint64_t{256} << 20;
  std::string reason;
  const auto file = host::ReadOnlyFile::open(host::toProgramPath(host_path), &reason);
  const auto refuse = [&](const std::string& why) {
    complain(kProgram, host_path + ": " + why);
    return tl::unexpected(static_cast<int>(kFailed));
  };
  if (!file) return refuse(reason);
  if (file->size() > kMostBytes) return refuse("this is no report of a conversion");
  std::string text(static_cast<std::size_t>(file->size()), '\0');
  if (!file->readAt(0, std::as_writable_bytes(std::span(text)), &reason)) return refuse(reason);
  if (!JsonValue::parse(text)) return refuse("this is no JSON document");
  return text;
}

}  // namespace

int writePage(const CommandLine& call, const std::string& output) {
  const std::string& input = call.operands()[0];
  const std::string viewer = viewerPath();
  if (viewer.empty()) {
    complain(kProgram,
             "the viewer is not there (viewer.html beside the program): scripts/build-viewer makes it");
    return kFailed;
  }
  const auto scene = openScene(input);
  if (!scene) return kFailed;
  Orb::Zix::HtmlPage page;
  page.viewer_path = viewer;
  page.name = hostText(host::toFileSystemPath(host::toProgramPath(input)).filename());
  if (const auto path = call.value("--report")) {
    auto report = readReport(*path);
    if (!report) return report.error();
    page.report = std::move(*report);
  }
  if (const auto offset = Orb::Zix::firstDamagedChunk(*scene)) {
    const std::string reason = input + ": at offset " + std::to_string(*offset) +
                               " the array is damaged: its checksum is not the one that the file states";
    complain(kProgram, reason + (call.has("--force") ? "; used as it is" : ""));
    if (!call.has("--force")) return kFailed;
    page.is_damaged = true;
  }
  if (const auto failure = Orb::Zix::exportHtml(*scene, page, host::toProgramPath(output))) {
    complain(kProgram, *failure);
    return kFailed;
  }
  return kDone;
}

}  // namespace loftbay::cli
