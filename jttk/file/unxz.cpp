#include "jttk/file/unxz.h"

#include <lzma.h>

#include <algorithm>
#include <array>
#include <string>

namespace jttk {
namespace {

constexpr std::array<std::byte, 6> kXzMagic{std::byte{0xfd}, std::byte{'7'}, std::byte{'z'},
                                            std::byte{'X'},  std::byte{'Z'}, std::byte{0}};
constexpr std::size_t kUsualRatioOfXz = 5;

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

std::span<const std::uint8_t> octets(std::span<const std::byte> bytes) {
  return {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
}

// The filters of one block of an .xz stream, as its header states them.
struct BlockHeader {
  BlockHeader() = default;
  ~BlockHeader() { lzma_filters_free(filters, nullptr); }
  BlockHeader(const BlockHeader&) = delete;
  BlockHeader& operator=(const BlockHeader&) = delete;

  bool read(std::span<const std::uint8_t> bytes, lzma_check check) {
    lzma_block block{};
    block.version = 1;
    block.check = check;
    block.filters = filters;
    block.header_size = lzma_block_header_size_decode(bytes[0]);
    size = block.header_size;
    return size <= bytes.size() && lzma_block_header_decode(&block, nullptr, bytes.data()) == LZMA_OK;
  }

  lzma_filter filters[LZMA_FILTERS_MAX + 1]{{LZMA_VLI_UNKNOWN, nullptr}};
  std::size_t size = 0;
};

// Skips the packed data of one block, up to their end mark. False when they are cut off. Adds their unpacked
// size to `unpacked`.
bool passBlock(const BlockHeader& header, std::span<const std::uint8_t>& bytes, std::size_t& unpacked) {
  if (lzma_raw_decoder_memusage(header.filters) > kMaximumLzmaMemoryBytes) return false;
  LzmaStream holder;
  lzma_stream& stream = holder.stream;
  if (lzma_raw_decoder(&stream, header.filters) != LZMA_OK) return false;
  stream.next_in = bytes.data();
  stream.avail_in = bytes.size();
  std::array<std::uint8_t, 4096> nowhere;
  for (;;) {
    stream.next_out = nowhere.data();
    stream.avail_out = nowhere.size();
    const lzma_ret status = lzma_code(&stream, LZMA_RUN);
    unpacked += nowhere.size() - stream.avail_out;
    if (status == LZMA_STREAM_END) break;
    if (status != LZMA_OK || (stream.avail_in == 0 && stream.avail_out > 0)) return false;
  }
  bytes = bytes.last(stream.avail_in);
  return true;
}

// Whether an .xz stream that ends too early holds all its data, `unpacked` bytes: its last block runs to the
// end mark, and what follows blocks is all that is cut off.
bool xzDataAreWhole(std::span<const std::uint8_t> packed, std::size_t unpacked) {
  lzma_stream_flags flags;
  if (packed.size() <= LZMA_STREAM_HEADER_SIZE) return false;
  if (lzma_stream_header_decode(&flags, packed.data()) != LZMA_OK) return false;
  const std::size_t check_size = lzma_check_size(flags.check);
  std::size_t passed = 0;
  for (auto rest = packed.subspan(LZMA_STREAM_HEADER_SIZE); !rest.empty() && rest.front() != 0;) {
    BlockHeader header;
    if (!header.read(rest, flags.check)) return false;
    rest = rest.subspan(header.size);
    const std::size_t before = rest.size();
    if (!passBlock(header, rest, passed)) return false;
    const std::size_t padding = (4 - (before - rest.size()) % 4) % 4;
    rest = rest.subspan(std::min(rest.size(), padding + check_size));
  }
  return passed == unpacked;
}

// Whether a .lzma stream that ends too early has given as many bytes as it states; a stream that states no
// size never has.
bool bareDataAreWhole(std::span<const std::uint8_t> packed, std::size_t unpacked) {
  constexpr std::size_t kSizeAt = 5;
  if (packed.size() < kSizeAt + 8) return false;
  std::uint64_t stated = 0;
  for (std::size_t i = 8; i-- > 0;) stated = stated << 8U | packed[kSizeAt + i];
  return stated == unpacked;
}

}  // namespace

Result<std::vector<std::byte>> unpackLzma(std::span<const std::byte> packed, std::uint64_t offset,
                                          std::size_t limit_bytes, bool* lacks_checksum,
                                          std::size_t* came_out) {
  if (came_out != nullptr) *came_out = 0;
  LzmaStream holder;
  lzma_stream& stream = holder.stream;
  const bool is_xz =
      packed.size() >= kXzMagic.size() && std::equal(kXzMagic.begin(), kXzMagic.end(), packed.begin());
  const lzma_ret started = is_xz ? lzma_stream_decoder(&stream, kMaximumLzmaMemoryBytes, 0)
                                 : lzma_alone_decoder(&stream, kMaximumLzmaMemoryBytes);
  if (started != LZMA_OK) return fail("the LZMA stream cannot be unpacked: no memory", offset);

  std::vector<std::byte> output;
  const std::size_t first_size = firstUnpackedSize(packed.size(), kUsualRatioOfXz);
  std::size_t written = 0;
  stream.next_in = octets(packed).data();
  stream.avail_in = packed.size();
  if (lacks_checksum != nullptr) *lacks_checksum = false;
  for (;;) {
    if (written == output.size() && !growUnpacked(output, first_size, limit_bytes)) {
      return fail("the LZMA stream unpacks to more than " + std::to_string(limit_bytes) + " bytes", offset);
    }
    stream.next_out = reinterpret_cast<std::uint8_t*>(output.data() + written);
    stream.avail_out = output.size() - written;
    const std::size_t had = stream.avail_out;
    const lzma_ret status = lzma_code(&stream, LZMA_RUN);
    written += had - stream.avail_out;
    if (came_out != nullptr) *came_out = written;
    if (status == LZMA_STREAM_END) break;
    if (status == LZMA_OK && (stream.avail_out == 0 || stream.avail_in > 0)) continue;
    const std::uint64_t where = offset + (packed.size() - stream.avail_in);
    if (status == LZMA_OK || status == LZMA_BUF_ERROR) {
      const bool is_whole =
          lacks_checksum != nullptr && written <= limit_bytes &&
          (is_xz ? xzDataAreWhole(octets(packed), written) : bareDataAreWhole(octets(packed), written));
      if (!is_whole) return fail("the LZMA stream ends too early", where);
      *lacks_checksum = true;
      break;
    }
    return fail(std::string("the LZMA stream does not unpack: ") + reasonText(status), where);
  }
  if (written > limit_bytes) {
    return fail("the LZMA stream unpacks to more than " + std::to_string(limit_bytes) + " bytes", offset);
  }
  output.resize(written);
  return output;
}

}  // namespace jttk
