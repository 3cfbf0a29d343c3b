// Packets of JT 8.x. The first byte is the byte order, the rest the packet. Whatever the bytes are: no more
// values than allowed, the same values again from the same bytes, and no more bytes read than there are.
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "jttk/codec/v8/packet.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  constexpr std::size_t kMaximumCount = 4096;
  const auto order = (data[0] & 1U) != 0 ? jttk::ByteOrder::Big : jttk::ByteOrder::Little;
  const auto bytes = std::as_bytes(std::span(data + 1, size - 1));
  std::vector<std::int32_t> first;
  std::vector<std::int32_t> second(17, -1);
  jttk::ByteReader first_reader(bytes, order);
  jttk::ByteReader second_reader(bytes, order);
  const bool decoded = jttk::decodePacketV8(first_reader, kMaximumCount, first).has_value();
  const bool again = jttk::decodePacketV8(second_reader, kMaximumCount, second).has_value();
  if (decoded != again) std::abort();
  if (!decoded) return 0;
  if (first != second || first.size() > kMaximumCount) std::abort();
  if (first_reader.offset() != second_reader.offset() || first_reader.offset() > bytes.size()) std::abort();
  return 0;
}
