// Unpacks the LZMA streams of JT 10: an .xz container as a rule, a bare .lzma stream from some writers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "jttk/file/error.h"
#include "jttk/file/inflate.h"

namespace jttk {

// Most memory that the decoder's own tables and dictionary may take. A stream states what it needs; the
// largest preset needs 65 MiB.
inline constexpr std::uint64_t kMaximumLzmaMemoryBytes = std::uint64_t{256} << 20;

// `packed`: one stream; bytes behind its end are ignored. `offset`: where `packed` lies in its file, for
// messages. Fails when the stream is damaged, cut off, needs too much memory, or unpacks to more than
// `limit_bytes`. If `lacks_checksum` is given, a stream that is cut off behind its data (in the checksum,
// index or footer of an .xz stream, in the end mark of a .lzma stream that states its size) succeeds and sets
// it. `came_out` receives the number of bytes unpacked, also on failure.
Result<std::vector<std::byte>> unpackLzma(std::span<const std::byte> packed, std::uint64_t offset,
                                          std::size_t limit_bytes = kMaximumUnpackedBytes,
                                          bool* lacks_checksum = nullptr, std::size_t* came_out = nullptr);

}  // namespace jttk
