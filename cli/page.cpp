#include "cli/page.h"

#include <filesystem>

#include "host/child_process.h"
#include "host/path.h"
#include "zix/chunk_check.h"
#include "zix/export_html.h"

namespace loftbay::cli {

namespace {

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

}  // namespace

std::string viewerComplaint() {
  return viewerPath().empty()
             ? "the viewer is not there (viewer.html beside the program): scripts/build-viewer makes it"
             : "";
}

std::optional<std::string> writePage(const PageRequest& request,
                                     const std::function<void(const std::string& line)>& tell) {
  if (const auto reason = viewerComplaint(); !reason.empty()) return reason;
  const auto scene = Orb::Zix::SceneFile::open(host::toProgramPath(request.scene));
  if (!scene) return scene.error().text();
  Orb::Zix::HtmlPage page;
  page.viewer_path = viewerPath();
  page.name = hostText(host::toFileSystemPath(host::toProgramPath(request.scene)).filename());
  page.report = request.report;
  if (const auto offset = Orb::Zix::firstDamagedChunk(*scene)) {
    const std::string reason = request.scene + ": at offset " + std::to_string(*offset) +
                               " the array is damaged: its checksum is not the one that the file states";
    if (!request.force) return reason;
    tell(reason + "; used as it is");
    page.is_damaged = true;
  }
  return Orb::Zix::exportHtml(*scene, page, host::toProgramPath(request.output));
}

}  // namespace loftbay::cli
