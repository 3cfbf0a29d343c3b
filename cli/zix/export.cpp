// zix export: picks the format by the output's extension.
#include <fmt/core.h>

#include "cli/same_file.h"
#include "cli/scene_outputs.h"
#include "cli/zix/command.h"
#include "cli/zix/option_values.h"
#include "cli/zix/report_file.h"

namespace loftbay::cli {

namespace {

// Why the options do not go with the output; empty when they do.
std::string exportComplaint(const CommandLine& call, const std::string& output) {
  const std::string extension = extensionOf(output);
  if (!isExport(output)) return "'" + output + "' has none of the extensions " + exportExtensions();
  for (const char* const option : {"--unit", "--up", "--as-is"}) {
    if (!call.has(option)) continue;
    if (extension != ".glb")
      return fmt::format("'{}' is for .glb: other formats have the scene's own lengths and axes", option);
    if (call.has("--as-is") && option != std::string_view("--as-is"))
      return fmt::format("'{}' does not go with '--as-is'", option);
  }
  if (isSameFile(call.operands()[0], output)) return "input and output are the same file";
  if (call.has("--report") && extension != kPageExtension) return "'--report' is for .html";
  return {};
}

}  // namespace

int runExport(const CommandLine& call) {
  const std::string& output = call.operands()[1];
  if (const std::string reason = exportComplaint(call, output); !reason.empty()) return refuseUsage(reason);
  const auto page = pageRequest(call, output);
  if (!page) return page.error();
  ExportRequest request{.input = page->scene,
                        .output = output,
                        .glb = {.as_is = call.has("--as-is")},
                        .report = page->report,
                        .force = page->force};
  if (const auto unit = call.value("--unit")) request.glb.unit_metres = unitIn(*unit);
  if (const auto up = call.value("--up")) request.glb.up = *upAxisIn(*up);
  const auto tell = [](const std::string& line) { complain(kProgram, line); };
  const auto failure = exportScene(request, tell);
  if (failure) tell(*failure);
  return failure ? kFailed : kDone;
}

}  // namespace loftbay::cli
