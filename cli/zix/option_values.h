// How the values of zix's options are read.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace loftbay::cli {

struct PictureSize {
  std::uint32_t width = 1024;
  std::uint32_t height = 768;
};

// "800x600".
std::optional<PictureSize> pictureSizeIn(std::string_view text);

// A finite number from 0 on.
std::optional<double> toleranceIn(std::string_view text);

}  // namespace loftbay::cli
