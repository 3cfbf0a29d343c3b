// zix export: picks the format by the output's extension.
#include <fmt/core.h>

#include <algorithm>

#include "cli/zix/open_scene.h"
#include "cli/zix/option_values.h"
#include "cli/zix/page.h"
#include "zix/export.h"

namespace loftbay::cli {

namespace {

using namespace Orb::Zix;

using Exporter = ExportResult (*)(const SceneFile&, std::string_view, const CommandLine&);

ExportResult writeGlb(const SceneFile& scene, std::string_view program_path, const CommandLine& call) {
  GlbOptions options{.as_is = call.has("--as-is")};
  if (const auto unit = call.value("--unit")) options.unit_metres = unitIn(*unit);
  if (const auto up = call.value("--up")) options.up = *upAxisIn(*up);
  return exportGlb(scene, program_path, options);
}
ExportResult writeStl(const SceneFile& scene, std::string_view program_path, const CommandLine&) {
  return exportStl(scene, program_path);
}
ExportResult writeObj(const SceneFile& scene, std::string_view program_path, const CommandLine&) {
  return exportObj(scene, program_path);
}

struct Format {
  std::string_view extension;
  Exporter write;
};

// A page for browsers, which takes options of its own.
constexpr std::string_view kPage = ".html";

constexpr Format kFormats[] = {{".glb", writeGlb}, {".stl", writeStl}, {".obj", writeObj}};

}  // namespace

int runExport(const CommandLine& call) {
  const std::string extension = extensionOf(call.operands()[1]);
  const auto* const found = std::find_if(std::begin(kFormats), std::end(kFormats),
                                         [&](const Format& format) { return format.extension == extension; });
  if (found == std::end(kFormats) && extension != kPage) {
    std::string known;
    for (const Format& format : kFormats) known += std::string(format.extension) + ", ";
    known += kPage;
    return refuseUsage("'" + call.operands()[1] + "' has none of the extensions " + known);
  }
  for (const char* const option : {"--unit", "--up", "--as-is"}) {
    if (!call.has(option)) continue;
    if (extension != ".glb")
      return refuseUsage(
          fmt::format("'{}' is for .glb: other formats have the scene's own lengths and axes", option));
    if (call.has("--as-is") && option != std::string_view("--as-is"))
      return refuseUsage(fmt::format("'{}' does not go with '--as-is'", option));
  }
  if (isSameFile(call.operands()[0], call.operands()[1])) {
    return refuseUsage("input and output are the same file");
  }
  if (extension == kPage) return writePage(call, call.operands()[1]);
  if (call.has("--report")) return refuseUsage("'--report' is for .html");
  auto scene = openScene(call.operands()[0]);
  if (!scene) return kFailed;
  verifyArrays(*scene, call);
  const auto result = found->write(*scene, host::toProgramPath(call.operands()[1]), call);
  if (!result) {
    complain(kProgram, result.error());
    return kFailed;
  }
  if (result->unit_assumed) {
    complain(kProgram,
             call.operands()[0] +
                 ": states no unit of a known length; taken as millimetres ('--unit' says otherwise)");
  }
  if (result->left_out != 0) {
    complain(kProgram, call.operands()[0] + ": left out " + std::to_string(result->left_out) +
                           " elements that are not whole or not finite");
  }
  return kDone;
}

}  // namespace loftbay::cli
