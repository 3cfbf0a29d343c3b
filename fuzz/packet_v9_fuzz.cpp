// Decodes any bytes as a packet of JT 9 (first byte even) or JT 10. Seeds: corpus/packet_v9_fuzz.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "jttk/codec/v9/packet.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  constexpr std::uint32_t kMaximum = 1U << 16;
  const auto form = data[0] % 2 == 0 ? jttk::PacketForm::V9 : jttk::PacketForm::V10;
  jttk::ByteReader reader(std::as_bytes(std::span(data + 1, size - 1)));
  jttk::PacketReader packets(form, std::uint64_t{kMaximum} * 8);
  std::vector<std::int32_t> values;
  const auto done = packets.read(reader, "values", jttk::Predictor::Lag1, kMaximum, values);
  if (done && values.size() > kMaximum) std::abort();
  return 0;
}
