// PNG files.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace Orb::Zix {

// `rgb` holds 3 bytes per pixel, rows from the top; `alpha`, when it is not empty, the opacity in one byte
// per pixel. The result is the reason of a failure. Needs no memory for the file, only for some rows.
std::optional<std::string> writePng(std::string_view program_path, std::uint32_t width, std::uint32_t height,
                                    std::span<const std::uint8_t> rgb,
                                    std::span<const std::uint8_t> alpha = {});

}  // namespace Orb::Zix
