// Values on loftbay's command line.
#include <cmath>
#include <filesystem>
#include <limits>

#include "cli/loftbay/options.h"
#include "cli/number_text.h"
#include "cli/scene_outputs.h"
#include "jttk/interface/settings.h"

namespace loftbay::cli {

namespace {

constexpr std::uint64_t kThousand = 1000;
constexpr std::uint64_t kKilobyte = 1024;

// A whole number, with K, M or G behind it for the first three powers of `step`. None when it is something
// else, 0 or too large.
std::optional<std::uint64_t> amountIn(std::string_view text, std::uint64_t step) {
  std::uint64_t factor = 1;
  const std::size_t power = text.empty() ? std::string_view::npos : std::string_view("KMG").find(text.back());
  if (power != std::string_view::npos) {
    for (std::size_t i = 0; i <= power; ++i) factor *= step;
    text.remove_suffix(1);
  }
  const auto value = numberIn<std::uint64_t>(text);
  if (!value || *value == 0 || *value > std::numeric_limits<std::uint64_t>::max() / factor)
    return std::nullopt;
  return *value * factor;
}

}  // namespace

std::optional<float> lengthIn(std::string_view text) {
  const auto value = numberIn<double>(text);
  // False for what is not a number, too.
  if (!value || !(std::abs(*value) <= std::numeric_limits<float>::max())) return std::nullopt;
  return static_cast<float>(*value);
}

std::optional<std::uint32_t> levelIn(std::string_view text) {
  if (text == "finest") return jttk::kFinestLevel;
  if (text == "coarsest") return jttk::kCoarsestLevel;
  return numberIn<std::uint32_t>(text);
}

std::optional<std::chrono::milliseconds> timeIn(std::string_view text) {
  constexpr double kMostSeconds = 1e8;
  const auto seconds = numberIn<double>(text);
  if (!seconds || !(*seconds > 0 && *seconds <= kMostSeconds)) return std::nullopt;
  return std::chrono::milliseconds(static_cast<std::int64_t>(std::ceil(*seconds * 1000)));
}

std::optional<std::uint64_t> countIn(std::string_view text) { return amountIn(text, kThousand); }

std::optional<std::uint64_t> bytesIn(std::string_view text) { return amountIn(text, kKilobyte); }

std::optional<std::string_view> pictureNameIn(std::string_view text) {
  return extensionOf(text) == kPictureExtension ? std::optional(text) : std::nullopt;
}

std::optional<std::string_view> exportNameIn(std::string_view text) {
  return isExport(text) ? std::optional(text) : std::nullopt;
}

std::optional<std::size_t> jobsIn(std::string_view text) {
  const auto jobs = numberIn<std::size_t>(text);
  return jobs == std::size_t{0} ? std::nullopt : jobs;
}

}  // namespace loftbay::cli
