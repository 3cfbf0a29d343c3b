// PNG files.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace Orb::Zix {

// `rgb` holds 3 bytes per pixel, rows from the top. The result is the reason of a failure.
std::optional<std::string> writePng(std::string_view program_path, std::uint32_t width, std::uint32_t height,
                                    std::span<const std::uint8_t> rgb);

}  // namespace Orb::Zix
