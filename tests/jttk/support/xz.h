// Data packed as an xz stream.
#pragma once

#include <lzma.h>

#include <cstdint>

#include "tests/jttk/support/jt_bytes.h"

namespace jttk::testing {

inline Bytes xzOf(const Bytes& plain, lzma_check check = LZMA_CHECK_CRC64) {
  Bytes packed(lzma_stream_buffer_bound(plain.size()));
  std::size_t size = 0;
  lzma_easy_buffer_encode(1, check, nullptr, reinterpret_cast<const std::uint8_t*>(plain.data()),
                          plain.size(), reinterpret_cast<std::uint8_t*>(packed.data()), &size, packed.size());
  packed.resize(size);
  return packed;
}

}  // namespace jttk::testing
