#include "cli/scene_outputs.h"

#include <algorithm>

#include "cli/page.h"
#include "host/path.h"
#include "zix/png.h"

namespace loftbay::cli {

namespace {

using namespace Orb::Zix;

ExportResult writeGlb(const SceneFile& scene, std::string_view program_path, const GlbOptions& options) {
  return exportGlb(scene, program_path, options);
}
ExportResult writeStl(const SceneFile& scene, std::string_view program_path, const GlbOptions&) {
  return exportStl(scene, program_path);
}
ExportResult writeObj(const SceneFile& scene, std::string_view program_path, const GlbOptions&) {
  return exportObj(scene, program_path);
}

struct ExportFormat {
  std::string_view extension;
  ExportResult (*write)(const SceneFile& scene, std::string_view program_path, const GlbOptions& options);
};

constexpr ExportFormat kExportFormats[] = {{".glb", writeGlb}, {".stl", writeStl}, {".obj", writeObj}};

const ExportFormat* exportFormat(std::string_view extension) {
  const auto* const found =
      std::find_if(std::begin(kExportFormats), std::end(kExportFormats),
                   [&](const ExportFormat& format) { return format.extension == extension; });
  return found == std::end(kExportFormats) ? nullptr : found;
}

}  // namespace

std::string extensionOf(std::string_view path) {
  const auto separator = path.find_last_of("/\\");
  const auto name = separator == std::string_view::npos ? 0 : separator + 1;
  const auto dot = path.rfind('.');
  if (dot == std::string_view::npos || dot < name) return {};
  std::string extension(path.substr(dot));
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return extension;
}

bool isExport(std::string_view output) {
  const std::string extension = extensionOf(output);
  return extension == kPageExtension || exportFormat(extension) != nullptr;
}

std::string exportExtensions() {
  std::string known;
  for (const ExportFormat& format : kExportFormats) known += std::string(format.extension) + ", ";
  return known += kPageExtension;
}

std::optional<std::string> exportScene(const ExportRequest& request, const TellUser& tell) {
  const ExportFormat* const format = exportFormat(extensionOf(request.output));
  if (format == nullptr) {
    return writePage(
        {.scene = request.input, .output = request.output, .report = request.report, .force = request.force},
        tell);
  }
  auto scene = SceneFile::open(host::toProgramPath(request.input));
  if (!scene) return scene.error().text();
  verifyArrays(*scene, request.force, tell);
  const auto result = format->write(*scene, host::toProgramPath(request.output), request.glb);
  if (!result) return result.error();
  if (result->unit_assumed) {
    tell(request.input +
         ": states no unit of a known length; taken as millimetres ('--unit' of 'zix export' says "
         "otherwise)");
  }
  if (result->left_out != 0) {
    tell(request.input + ": left out " + std::to_string(result->left_out) +
         " elements that are not whole or not finite");
  }
  return std::nullopt;
}

std::optional<Picture> pictureOf(const SceneFile& scene, const PictureRequest& request) {
  const auto& [width, height, view, sheet, up, style] = request;
  if (sheet) return renderSheet(scene, width, height, style, up);
  const bool is_default =
      std::find(kDefaultViewNames.begin(), kDefaultViewNames.end(), view) != kDefaultViewNames.end();
  auto camera = up && is_default ? defaultCamera(view, *up) : findCamera(scene, view);
  if (!camera) return std::nullopt;
  // A view with a name of its own was meant as it is.
  if (is_default) camera = fitted(scene, *camera, width, height);
  return render(scene, *camera, width, height, style);
}

std::optional<std::string> savePicture(const Picture& picture, const std::string& output) {
  return writePng(host::toProgramPath(output), picture.width, picture.height, picture.rgb, picture.alpha);
}

void verifyArrays(SceneFile& scene, bool force, const TellUser& tell) {
  if (!force) return scene.verifyArrays();
  scene.verifyArrays([tell](const std::string& reason) { tell(reason + "; used as it is"); });
}

}  // namespace loftbay::cli
