#include "samples/maker/compress.h"

#include <lzma.h>
#include <zlib.h>

#include <stdexcept>

namespace loftbay::maker {

Bytes zlibCompressed(std::span<const std::uint8_t> data) {
  Bytes out(compressBound(static_cast<uLong>(data.size())));
  auto size = static_cast<uLongf>(out.size());
  if (compress2(out.data(), &size, data.data(), static_cast<uLong>(data.size()), 6) != Z_OK) {
    throw std::runtime_error("zlib cannot compress a segment");
  }
  out.resize(size);
  return out;
}

Bytes xzCompressed(std::span<const std::uint8_t> data, std::uint32_t preset, XzCheck check) {
  Bytes out(lzma_stream_buffer_bound(data.size()));
  std::size_t size = 0;
  if (lzma_easy_buffer_encode(preset, check == XzCheck::Crc32 ? LZMA_CHECK_CRC32 : LZMA_CHECK_CRC64, nullptr,
                              data.data(), data.size(), out.data(), &size, out.size()) != LZMA_OK) {
    throw std::runtime_error("liblzma cannot compress a segment");
  }
  out.resize(size);
  return out;
}

}  // namespace loftbay::maker
