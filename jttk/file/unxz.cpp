#include "jttk/file/unxz.h"

#include <lzma.h>

#include <algorithm>
#include <array>
#include <string>

namespace jttk {
namespace {

constexpr std::array<std::byte, 6> kXzMagic{std::byte{0xfd}, std::byte{'7'}, std::byte{'z'},
                                            std::byte{'X'},  std::byte{'Z'}, std::byte{0}};
constexpr std::size_t kSmallestBuffer = 4096;
constexpr std::size_t kUsualRatio = 5;

class LzmaStream {
 public:
  LzmaStream() = default;
  ~LzmaStream() { lzma_end(&stream); }
  LzmaStream(const LzmaStream&) = delete;
  LzmaStream& operator=(const LzmaStream&) = delete;

  lzma_stream stream = LZMA_STREAM_INIT;
};

const char* reasonText(lzma_ret status) {
  switch (status) {
    case LZMA_MEM_ERROR:
      return "no memory";
    case LZMA_MEMLIMIT_ERROR:
      return "it needs too much memory";
    case LZMA_FORMAT_ERROR:
      return "it is neither .xz nor .lzma";
    case LZMA_OPTIONS_ERROR:
      return "it uses options that are not supported";
    default:
      return "it is damaged";
  }
}

}  // namespace

Result<std::vector<std::byte>> unpackLzma(std::span<const std::byte> packed, std::uint64_t offset,
                                          std::size_t limit_bytes) {
  LzmaStream holder;
  lzma_stream& stream = holder.stream;
  const bool is_xz =
      packed.size() >= kXzMagic.size() && std::equal(kXzMagic.begin(), kXzMagic.end(), packed.begin());
  const lzma_ret started = is_xz ? lzma_stream_decoder(&stream, kMaximumLzmaMemoryBytes, 0)
                                 : lzma_alone_decoder(&stream, kMaximumLzmaMemoryBytes);
  if (started != LZMA_OK) return fail("the LZMA stream cannot be unpacked: no memory", offset);

  std::vector<std::byte> output;
  const std::size_t first_size =
      std::max(kSmallestBuffer, std::min(packed.size(), limit_bytes / kUsualRatio) * kUsualRatio);
  std::size_t written = 0;
  stream.next_in = reinterpret_cast<const std::uint8_t*>(packed.data());
  stream.avail_in = packed.size();
  for (;;) {
    if (written == output.size() && !growUnpacked(output, first_size, limit_bytes)) {
      return fail("the LZMA stream unpacks to more than " + std::to_string(limit_bytes) + " bytes", offset);
    }
    stream.next_out = reinterpret_cast<std::uint8_t*>(output.data() + written);
    stream.avail_out = output.size() - written;
    const std::size_t had = stream.avail_out;
    const lzma_ret status = lzma_code(&stream, LZMA_RUN);
    written += had - stream.avail_out;
    if (status == LZMA_STREAM_END) break;
    if (status == LZMA_OK && (stream.avail_out == 0 || stream.avail_in > 0)) continue;
    const std::uint64_t place = offset + (packed.size() - stream.avail_in);
    if (status == LZMA_OK || status == LZMA_BUF_ERROR) return fail("the LZMA stream ends too early", place);
    return fail(std::string("the LZMA stream does not unpack: ") + reasonText(status), place);
  }
  if (written > limit_bytes) {
    return fail("the LZMA stream unpacks to more than " + std::to_string(limit_bytes) + " bytes", offset);
  }
  output.resize(written);
  return output;
}

}  // namespace jttk
