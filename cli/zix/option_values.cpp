#include "cli/zix/option_values.h"

#include <cmath>

#include "cli/number_text.h"
#include "zix/render.h"

namespace loftbay::cli {

std::optional<PictureSize> pictureSizeIn(std::string_view text) {
  const auto cross = text.find('x');
  if (cross == std::string_view::npos) return std::nullopt;
  const auto width = numberIn<std::uint32_t>(text.substr(0, cross));
  const auto height = numberIn<std::uint32_t>(text.substr(cross + 1));
  const auto fits = [](std::uint32_t pixels) { return pixels >= 1 && pixels <= Orb::Zix::kLargestPicture; };
  if (!width || !height || !fits(*width) || !fits(*height)) return std::nullopt;
  return PictureSize{*width, *height};
}

std::optional<double> toleranceIn(std::string_view text) {
  const auto value = numberIn<double>(text);
  return value && *value >= 0 && std::isfinite(*value) ? value : std::nullopt;
}

}  // namespace loftbay::cli
