#include "cli/loftbay/further_outputs.h"

#include <fmt/core.h>

#include <exception>

#include "cli/page.h"
#include "cli/same_file.h"
#include "host/out_of_memory.h"
#include "host/path.h"
#include "zix/reader.h"

namespace loftbay::cli {

namespace {

std::optional<std::string> writePreview(const std::string& scene_path, const std::string& output) {
  auto scene = Orb::Zix::SceneFile::open(host::toProgramPath(scene_path));
  if (!scene) return scene.error().text();
  verifyArrays(*scene, false, {});
  return savePicture(*pictureOf(*scene, {}), output);
}

}  // namespace

std::vector<std::string> furtherOutputs(const ConvertOptions& options) {
  std::vector<std::string> outputs = options.exports;
  if (options.preview) outputs.insert(outputs.begin(), *options.preview);
  return outputs;
}

std::string outputComplaint(const std::string& input, const std::string& scene,
                            const std::vector<std::string>& outputs) {
  for (std::size_t i = 0; i < outputs.size(); ++i) {
    if (isSameFile(input, outputs[i])) return fmt::format("{}: this is the input", outputs[i]);
    if (isSameFile(scene, outputs[i])) return fmt::format("{}: this is the scene", outputs[i]);
    for (std::size_t k = 0; k < i; ++k) {
      if (isSameFile(outputs[k], outputs[i]))
        return fmt::format("{}: two outputs are the same file", outputs[i]);
    }
    if (extensionOf(outputs[i]) != kPageExtension) continue;
    if (const auto reason = viewerComplaint(); !reason.empty())
      return fmt::format("{}: {}", outputs[i], reason);
  }
  return {};
}

std::optional<std::string> writeFurther(const std::string& scene, const std::string& output,
                                        const std::string& report, const TellUser& tell) {
  try {
    if (extensionOf(output) == kPictureExtension) return writePreview(scene, output);
    return exportScene({.input = scene, .output = output, .glb = {}, .report = report}, tell);
  } catch (const std::exception& error) {
    return host::failureText(error);
  }
}

}  // namespace loftbay::cli
