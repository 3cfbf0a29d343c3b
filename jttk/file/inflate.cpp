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

class InflateStream {
 public:
  InflateStream() noexcept { ready_ = inflateInit(&stream) == Z_OK; }
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

}  // namespace

bool growUnpacked(std::vector<std::byte>& buffer, std::size_t first_size, std::size_t limit_bytes) {
  if (buffer.size() > limit_bytes) return false;
  const std::size_t wanted = std::max(first_size, buffer.size() * 2);
  try {
    buffer.resize(std::min(wanted, limit_bytes + 1));
  } catch (const std::bad_alloc&) {
    return false;
  }
  return true;
}

Result<std::vector<std::byte>> inflateZlib(std::span<const std::byte> packed, std::uint64_t offset,
                                           std::size_t limit_bytes) {
  InflateStream inflater;
  if (!inflater.ready()) return fail("the zlib stream cannot be unpacked: no memory", offset);
  z_stream& z = inflater.stream;
  std::vector<std::byte> output;
  std::size_t fed = 0;
  std::size_t written = 0;
  const std::size_t first_size =
      std::max(kSmallestBuffer, std::min(packed.size(), kMaximumStep) * kUsualRatio);
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
    if (status == Z_STREAM_END) break;
    if (status == Z_OK && (z.avail_out == 0 || fed < packed.size())) continue;
    if (status == Z_OK || status == Z_BUF_ERROR) {
      return fail("the zlib stream ends too early", offset + fed);
    }
    return fail(std::string("the zlib stream does not inflate: ") + (z.msg != nullptr ? z.msg : "damaged"),
                offset + fed);
  }
  if (written > limit_bytes) {
    return fail("the zlib stream unpacks to more than " + std::to_string(limit_bytes) + " bytes", offset);
  }
  output.resize(written);
  return output;
}

}  // namespace jttk
