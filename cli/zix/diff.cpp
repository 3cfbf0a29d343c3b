// zix diff: what differs between two scenes.
#include <fmt/core.h>

#include "cli/zix/open_scene.h"
#include "cli/zix/option_values.h"
#include "zix/scene_diff.h"

namespace loftbay::cli {

int runDiff(const CommandLine& call) {
  const auto stated = call.value("--tolerance");
  const double tolerance = stated ? *toleranceIn(*stated) : -1;
  auto first = openScene(call.operands()[0]);
  auto second = openScene(call.operands()[1]);
  if (!first || !second) return kFailed;
  verifyArrays(*first, call);
  verifyArrays(*second, call);
  const auto result = Orb::Zix::diffScenes(*first, *second, tolerance);
  for (const std::string& line : result.differences) print(line + "\n");
  if (result.count > result.differences.size()) {
    print(fmt::format("and {} more differences\n", result.count - result.differences.size()));
  }
  return result.count == 0 ? kDone : kFailed;
}

}  // namespace loftbay::cli
