#include "cli/zix/option_values.h"

#include <charconv>
#include <cmath>
#include <system_error>

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

std::optional<Orb::Zix::Color4> backgroundIn(std::string_view text) {
  if (text == "none") return Orb::Zix::Color4{0, 0, 0, 0};
  if (text.starts_with('#')) text.remove_prefix(1);
  if (text.size() != 6 && text.size() != 8) return std::nullopt;
  Orb::Zix::Color4 color{0, 0, 0, 0xFF};
  for (std::size_t i = 0; i < text.size(); i += 2) {
    const auto digits = text.substr(i, 2);
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + 2, color[i / 2], 16);
    if (error != std::errc() || end != digits.data() + 2) return std::nullopt;
  }
  return color;
}

std::optional<Orb::Zix::UpAxis> upAxisIn(std::string_view text) {
  if (text == "x") return Orb::Zix::UpAxis::X;
  if (text == "y") return Orb::Zix::UpAxis::Y;
  if (text == "z") return Orb::Zix::UpAxis::Z;
  return std::nullopt;
}

std::optional<double> unitIn(std::string_view text) {
  struct Unit {
    std::string_view name;
    double metres;
  };
  constexpr Unit kUnits[] = {{"um", 1e-6},   {"mm", 0.001},  {"cm", 0.01},     {"dm", 0.1},
                             {"m", 1},       {"km", 1000},   {"mil", 2.54e-5}, {"in", 0.0254},
                             {"ft", 0.3048}, {"yd", 0.9144}, {"mi", 1609.344}};
  for (const Unit& unit : kUnits) {
    if (unit.name == text) return unit.metres;
  }
  const auto value = numberIn<double>(text);
  return value && *value >= 1e-15 && *value <= 1e15 ? value : std::nullopt;
}

std::optional<double> toleranceIn(std::string_view text) {
  const auto value = numberIn<double>(text);
  return value && *value >= 0 && std::isfinite(*value) ? value : std::nullopt;
}

}  // namespace loftbay::cli
