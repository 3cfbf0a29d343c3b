// How the values of zix's options are read.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "zix/raster.h"
#include "zix/up_axis.h"

namespace loftbay::cli {

struct PictureSize {
  std::uint32_t width = 1024;
  std::uint32_t height = 768;
};

// "800x600".
std::optional<PictureSize> pictureSizeIn(std::string_view text);

// "RRGGBB" or "RRGGBBAA" in hexadecimal digits, with or without a "#" in front; "none" is a background that
// is not there.
std::optional<Orb::Zix::Color4> backgroundIn(std::string_view text);

// "x", "y" or "z".
std::optional<Orb::Zix::UpAxis> upAxisIn(std::string_view text);

// The length in metres of a unit, stated by its short name or as that number.
std::optional<double> unitIn(std::string_view text);

// A finite number from 0 on.
std::optional<double> toleranceIn(std::string_view text);

}  // namespace loftbay::cli
