// Writes arrays of 32-bit integers as compressed packets: a predictor turns the values into residuals, a
// codec stores these. 8.x has one packet form ("Mk. 1"), 9.0 and later another ("Mk. 2").
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "samples/maker/byte_writer.h"
#include "samples/maker/format.h"

namespace loftbay::maker {

enum class Predictor : std::uint8_t { None, Lag1, Stride1, StripIndex };

// The same 32 bits.
inline std::uint32_t bitsOf(std::int32_t value) { return static_cast<std::uint32_t>(value); }

// values[0 .. 3] stay; the others become differences from what the predictor expects, modulo 2^32.
std::vector<std::int32_t> residuals(std::span<const std::int32_t> values, Predictor predictor);

// One packet of the version in `options`, with its codec.
void writePacket(ByteWriter& out, std::span<const std::int32_t> values, Predictor predictor,
                 const Options& options);

// The two forms, for values that are residuals already.
void writePacketV8(ByteWriter& out, std::span<const std::int32_t> values, Codec codec);
void writePacketV9(ByteWriter& out, std::span<const std::int32_t> values, Codec codec, bool version10);

}  // namespace loftbay::maker
