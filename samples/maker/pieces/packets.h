// Packets of 9.x and 10.x, each value in the same number of bits.
#pragma once

#include <cstdint>
#include <vector>

#include "samples/maker/format.h"
#include "samples/maker/packet.h"
#include "samples/maker/pieces/bytes.h"

namespace loftbay::maker::pieces {

// How 9.x and 10.x differ in their packets, and in what is made of them.
enum class PacketForm : std::uint8_t { V9, V10 };

// A version with this form, and packets of a fixed width.
inline Options optionsOf(PacketForm form) {
  Options options;
  options.version = form == PacketForm::V10 ? JtVersion::V10_0 : JtVersion::V9_5;
  options.codec = Codec::FixedBits;
  return options;
}

// The values as residuals of the predictor.
inline void addPacket(ByteBuilder& out, const std::vector<std::int32_t>& values, Predictor predictor,
                      PacketForm form) {
  writePacket(out.writer(), values, predictor, optionsOf(form));
}

inline Bytes packetOf(const std::vector<std::int32_t>& values, PacketForm form) {
  ByteBuilder out;
  addPacket(out, values, Predictor::None, form);
  return out.result();
}

}  // namespace loftbay::maker::pieces
