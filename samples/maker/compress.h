// Compresses the data of segments.
#pragma once

#include <cstdint>
#include <span>

#include "samples/maker/byte_writer.h"

namespace loftbay::maker {

// A zlib stream.
Bytes zlibCompressed(std::span<const std::uint8_t> data);

// An xz stream of one of the library's presets, 0 (quick) to 9 (small), with one of its checksums.
enum class XzCheck : std::uint8_t { Crc32, Crc64 };
Bytes xzCompressed(std::span<const std::uint8_t> data, std::uint32_t preset = 6,
                   XzCheck check = XzCheck::Crc64);

}  // namespace loftbay::maker
