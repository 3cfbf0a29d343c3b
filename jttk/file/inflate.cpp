#include "jttk/file/inflate.h"

#include <zlib.h>

#include <algorithm>
#include <new>
#include <string>

namespace jttk {
namespace {

// zlib counts in 32 bits.
constexpr std::size_t kMaximumStep = std::size_t{1} << 30;
constexpr std::size_t kSmallestBuffer = 4096;
// Scene graphs and meta data pack to about a quarter.
constexpr std::size_t kUsualRatio = 4;

constexpr std::size_t kMostFirstSize = std::size_t{4} << 20;

constexpr std::size_t kHeaderBytes = 2;
constexpr std::size_t kChecksumBytes = 4;
constexpr const char* kEndsTooEarly = "the zlib stream ends too early";

// The deflate data inside of a zlib stream, without header and checksum: so their end is seen even where the
// checksum is cut off.
class InflateStream {
 public:
  InflateStream() noexcept { ready_ = inflateInit2(&stream, -MAX_WBITS) == Z_OK; }
  ~InflateStream() {
    if (ready_) inflateEnd(&stream);
  }
  InflateStream(const InflateStream&) = delete;
  InflateStream& operator=(const InflateStream&) = delete;
  [[nodiscard]] bool ready() const noexcept { return ready_; }

  z_stream stream{};

 private:
  bool ready_ = false;
};

tl::unexpected<Error> doesNotInflate(const std::string& reason, std::uint64_t offset,
                                     CheckPlace check = CheckPlace::current()) {
  return fail("the zlib stream does not inflate: " + reason, offset, check);
}

// Whether it is a header that can be read.
Result<void> checkHeader(std::span<const std::byte> packed, std::uint64_t offset) {
  if (packed.size() < kHeaderBytes) return fail(kEndsTooEarly, offset + packed.size());
  const auto method = std::to_integer<unsigned>(packed[0]);
  const auto flags = std::to_integer<unsigned>(packed[1]);
  if ((method * 256 + flags) % 31 != 0) return doesNotInflate("incorrect header check", offset);
  if ((method & 15U) != Z_DEFLATED) return doesNotInflate("unknown compression method", offset);
  if ((method >> 4U) > 7) return doesNotInflate("invalid window size", offset);
  if ((flags & 32U) != 0) return doesNotInflate("it needs a dictionary", offset);
  return {};
}

uLong checksumOf(std::span<const std::byte> bytes) {
  uLong sum = adler32(0, nullptr, 0);
  while (!bytes.empty()) {
    const auto part = bytes.first(std::min(bytes.size(), kMaximumStep));
    sum = adler32(sum, reinterpret_cast<const Bytef*>(part.data()), static_cast<uInt>(part.size()));
    bytes = bytes.subspan(part.size());
  }
  return sum;
}

// Whether what is there of the stored checksum (the highest byte first) is that of the data.
bool agrees(std::span<const std::byte> stored, uLong sum) {
  for (std::size_t i = 0; i < stored.size(); ++i) {
    if (std::to_integer<uLong>(stored[i]) != ((sum >> (24 - 8 * i)) & 255U)) return false;
  }
  return true;
}

}  // namespace

std::size_t firstUnpackedSize(std::size_t packed_bytes, std::size_t usual_ratio) {
  return std::clamp(std::min(packed_bytes, kMostFirstSize) * usual_ratio, kSmallestBuffer, kMostFirstSize);
}

bool growUnpacked(std::vector<std::byte>& buffer, std::size_t first_size, std::size_t limit_bytes) {
  if (buffer.size() > limit_bytes) return false;
  const std::size_t wanted = std::max(first_size, buffer.size() * 2);
  buffer.resize(std::min(wanted, limit_bytes + 1));
  return true;
}

Result<std::vector<std::byte>> inflateZlib(std::span<const std::byte> packed, std::uint64_t offset,
                                           std::size_t limit_bytes, bool* lacks_checksum,
                                           std::size_t* came_out) {
  if (came_out != nullptr) *came_out = 0;
  if (const auto header = checkHeader(packed, offset); !header) return passOn(header);
  InflateStream inflater;
  if (!inflater.ready()) return fail("the zlib stream cannot be unpacked: no memory", offset);
  z_stream& z = inflater.stream;
  std::vector<std::byte> output;
  std::size_t fed = kHeaderBytes;
  std::size_t written = 0;
  const std::size_t first_size = firstUnpackedSize(packed.size(), kUsualRatio);
  for (;;) {
    if (written == output.size() && !growUnpacked(output, first_size, limit_bytes)) {
      return fail("the zlib stream unpacks to more than " + std::to_string(limit_bytes) + " bytes", offset);
    }
    const std::size_t in_step = std::min(packed.size() - fed, kMaximumStep);
    const std::size_t out_step = std::min(output.size() - written, kMaximumStep);
    // zlib does not write through next_in; its type lost the const long ago.
    z.next_in = const_cast<Bytef*>(reinterpret_cast<const Bytef*>(packed.data() + fed));
    z.avail_in = static_cast<uInt>(in_step);
    z.next_out = reinterpret_cast<Bytef*>(output.data() + written);
    z.avail_out = static_cast<uInt>(out_step);
    const int status = inflate(&z, Z_NO_FLUSH);
    fed += in_step - z.avail_in;
    written += out_step - z.avail_out;
    if (came_out != nullptr) *came_out = written;
    if (status == Z_STREAM_END) break;
    if (status == Z_OK && (z.avail_out == 0 || fed < packed.size())) continue;
    if (status == Z_OK || status == Z_BUF_ERROR) return fail(kEndsTooEarly, offset + fed);
    if (status == Z_MEM_ERROR) throw std::bad_alloc();
    return doesNotInflate(z.msg != nullptr ? z.msg : "damaged", offset + fed);
  }
  if (written > limit_bytes) {
    return fail("the zlib stream unpacks to more than " + std::to_string(limit_bytes) + " bytes", offset);
  }
  output.resize(written);
  const auto stored = packed.subspan(fed, std::min(kChecksumBytes, packed.size() - fed));
  if (!agrees(stored, checksumOf(output))) {
    return doesNotInflate("incorrect data check", offset + fed + stored.size());
  }
  const bool is_cut_off = stored.size() < kChecksumBytes;
  if (is_cut_off && lacks_checksum == nullptr) return fail(kEndsTooEarly, offset + packed.size());
  if (lacks_checksum != nullptr) *lacks_checksum = is_cut_off;
  return output;
}

}  // namespace jttk
