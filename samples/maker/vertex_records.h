// The arrays of positions and attributes of shapes of 9.0 and later.
#pragma once

#include <cstdint>
#include <span>

#include "samples/maker/byte_writer.h"
#include "samples/maker/format.h"
#include "samples/maker/product.h"

namespace loftbay::maker {

// Which positions and records of the shape are written, in order.
void writeCoordinates(ByteWriter& out, const Shape& shape, std::span<const std::uint32_t> positions,
                      const Options& options);
void writeAttributes(ByteWriter& out, const Shape& shape, std::span<const std::uint32_t> records,
                     const Options& options);

// U8 x 4: bits of coordinates, normals, texture coordinates, colours.
void writeQuantisation(ByteWriter& out, const Options& options);

}  // namespace loftbay::maker
