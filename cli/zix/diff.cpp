// zix diff: what differs between two scenes.
#include <fmt/format.h>

#include <charconv>
#include <cmath>

#include "cli/zix/open_scene.h"
#include "zix/scene_diff.h"

namespace loftbay::cli {

namespace {

// A number from 0 on; locale-free.
std::optional<double> parseTolerance(const std::string& text) {
  double value = 0;
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value);
  if (result.ec != std::errc() || result.ptr != end || !(value >= 0) || !std::isfinite(value))
    return std::nullopt;
  return value;
}

}  // namespace

int runDiff(const Invocation& call) {
  double tolerance = -1;
  if (const auto text = call.options.find("--tolerance"); text != call.options.end()) {
    const auto parsed = parseTolerance(text->second);
    if (!parsed)
      return refuseUsage(fmt::format("'{}' is no tolerance; it is a number from 0 on", text->second));
    tolerance = *parsed;
  }
  const auto first = openScene(call.operands[0]);
  const auto second = openScene(call.operands[1]);
  if (!first || !second) return kFailed;
  const auto result = Orb::Zix::diffScenes(*first, *second, tolerance);
  for (const std::string& line : result.differences) print(line + "\n");
  if (result.count > result.differences.size()) {
    print(fmt::format("and {} more differences\n", result.count - result.differences.size()));
  }
  return result.count == 0 ? kDone : kFailed;
}

}  // namespace loftbay::cli
