// zix export: picks the format by the output's extension.
#include <algorithm>

#include "cli/zix/open_scene.h"
#include "cli/zix/option_values.h"
#include "zix/export.h"

namespace loftbay::cli {

namespace {

using Exporter = Orb::Zix::ExportResult (*)(const Orb::Zix::SceneFile&, std::string_view);

struct Format {
  std::string_view extension;
  Exporter write;
};

constexpr Format kFormats[] = {
    {".glb", Orb::Zix::exportGlb}, {".stl", Orb::Zix::exportStl}, {".obj", Orb::Zix::exportObj}};

}  // namespace

int runExport(const CommandLine& call) {
  const std::string extension = extensionOf(call.operands()[1]);
  const auto* const found = std::find_if(std::begin(kFormats), std::end(kFormats),
                                         [&](const Format& format) { return format.extension == extension; });
  if (found == std::end(kFormats)) {
    std::string known;
    for (const Format& format : kFormats)
      known += (known.empty() ? "" : ", ") + std::string(format.extension);
    return refuseUsage("'" + call.operands()[1] + "' has none of the extensions " + known);
  }
  if (isSameFile(call.operands()[0], call.operands()[1])) {
    return refuseUsage("input and output are the same file");
  }
  const auto scene = openScene(call.operands()[0]);
  if (!scene) return kFailed;
  const auto result = found->write(*scene, host::toProgramPath(call.operands()[1]));
  if (!result) {
    complain(kProgram, result.error());
    return kFailed;
  }
  if (result->left_out != 0) {
    complain(kProgram, call.operands()[0] + ": left out " + std::to_string(result->left_out) +
                           " elements that are not whole or not finite");
  }
  return kDone;
}

}  // namespace loftbay::cli
