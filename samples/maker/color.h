// Quantisers of colours and texture coordinates.
#pragma once

#include <array>

#include "samples/maker/byte_writer.h"
#include "samples/maker/format.h"
#include "samples/maker/product.h"
#include "samples/maker/quantise.h"

namespace loftbay::maker {

// Hue 0 .. 6, saturation, value, alpha.
Rgba toHsv(const Rgba& rgba);

std::array<UniformQuantiser, 4> colorQuantisers(const Options& options);
// U8 HSV flag; with it four bit numbers (the ranges are fixed), else four quantisers.
void writeColorQuantisers(ByteWriter& out, const Options& options);

std::array<UniformQuantiser, 2> textureQuantisers(const Shape& shape, std::uint8_t bits);

}  // namespace loftbay::maker
