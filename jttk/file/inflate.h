// Unpacks zlib streams whose unpacked size is not known beforehand.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "jttk/file/error.h"

namespace jttk {

// No segment unpacks to more than this, whatever the file claims: a kilobyte of input can unpack to a
// megabyte, so the input's size is no protection.
inline constexpr std::size_t kMaximumUnpackedBytes = std::size_t{1} << 30;

// `packed`: a zlib stream; bytes behind its end are ignored. `offset`: where `packed` lies in its file, for
// messages. Fails when the stream is damaged, cut off, or unpacks to more than `limit_bytes`. If
// `lacks_checksum` is given, a stream that is cut off within its checksum succeeds and sets it: all data are
// there. `came_out` receives the number of bytes unpacked, also on failure.
Result<std::vector<std::byte>> inflateZlib(std::span<const std::byte> packed, std::uint64_t offset,
                                           std::size_t limit_bytes = kMaximumUnpackedBytes,
                                           bool* lacks_checksum = nullptr, std::size_t* came_out = nullptr);

// First size of the output buffer. Kept small, because `packed_bytes` may include bytes behind the stream.
[[nodiscard]] std::size_t firstUnpackedSize(std::size_t packed_bytes, std::size_t usual_ratio);

// For unpackers: enlarges `buffer` to take more output: twice the size, from `first_size` up, and at most
// limit_bytes + 1, so that one byte too many is noticed. False when the limit is reached.
bool growUnpacked(std::vector<std::byte>& buffer, std::size_t first_size, std::size_t limit_bytes);

}  // namespace jttk
