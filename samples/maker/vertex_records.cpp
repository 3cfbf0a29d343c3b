// Each array: I32 count, U8 components, quantisers, packets, U32 hash.
// Lossless floats of 9.x are two packets per component: sign and exponent (9 bits), and 27 bits that hold the
// mantissa below the lowest four bits of the exponent once more. In 10.0 they are one packet of float bits.
#include "samples/maker/vertex_records.h"

#include <bit>
#include <vector>

#include "samples/maker/color.h"
#include "samples/maker/hash.h"
#include "samples/maker/packet.h"
#include "samples/maker/quantise.h"

namespace loftbay::maker {
namespace {

using Column = std::vector<std::int32_t>;

// A packet, and the hash of the values in it chained to `hash`.
void put(ByteWriter& out, const Column& values, Predictor predictor, const Options& options,
         std::uint32_t& hash) {
  writePacket(out, values, predictor, options);
  hash = hashWords(values, hash);
}

// get(i): component value of entry i.
template <typename Get>
void putLossless(ByteWriter& out, std::size_t count, Get get, Predictor predictor, const Options& options,
                 std::uint32_t& hash) {
  Column first(count);
  if (options.major() == 10) {
    for (std::size_t i = 0; i < count; ++i) first[i] = std::bit_cast<std::int32_t>(get(i));
    put(out, first, predictor, options, hash);
    return;
  }
  Column mantissae(count);
  for (std::size_t i = 0; i < count; ++i) {
    const auto bits = std::bit_cast<std::uint32_t>(get(i));
    first[i] = static_cast<std::int32_t>(bits >> 23);
    mantissae[i] = static_cast<std::int32_t>(bits & 0x07ffffffU);
  }
  put(out, first, predictor, options, hash);
  put(out, mantissae, predictor, options, hash);
}

// The same as codes of the quantiser, or lossless where that has no bits.
template <typename Get>
void putComponent(ByteWriter& out, std::size_t count, Get get, const UniformQuantiser& quantiser,
                  Predictor predictor, const Options& options, std::uint32_t& hash) {
  if (quantiser.bits == 0) return putLossless(out, count, get, predictor, options, hash);
  Column codes(count);
  for (std::size_t i = 0; i < count; ++i) codes[i] = static_cast<std::int32_t>(quantiser.encode(get(i)));
  put(out, codes, predictor, options, hash);
}

float component(const Vec3& v, int axis) { return axis == 0 ? v.x : axis == 1 ? v.y : v.z; }

void putQuantiser(ByteWriter& out, const UniformQuantiser& quantiser) {
  out.f32(quantiser.min);
  out.f32(quantiser.max);
  out.u8(quantiser.bits);
}

void putHeader(ByteWriter& out, std::size_t count, unsigned components, unsigned bits) {
  out.i32(static_cast<std::int64_t>(count));
  out.u8(components);
  out.u8(bits);
}

void writeNormals(ByteWriter& out, const Shape& shape, std::span<const std::uint32_t> records,
                  const Options& options) {
  const unsigned bits = options.normal_bits;
  putHeader(out, records.size(), 3, bits);
  std::uint32_t hash = 0;
  if (bits == 0) {
    for (int axis = 0; axis < 3; ++axis) {
      putLossless(
          out, records.size(), [&](std::size_t i) { return component(shape.normals[records[i]], axis); },
          Predictor::None, options, hash);
    }
    out.u32(hash);
    return;
  }
  Column columns[4];
  for (auto& column : columns) column.reserve(records.size());
  for (const auto record : records) {
    const NormalCode code = encodeNormal(shape.normals[record], bits);
    if (options.major() == 10) {
      columns[0].push_back(static_cast<std::int32_t>(code.packed(bits)));
    } else {
      columns[0].push_back(static_cast<std::int32_t>(code.sextant));
      columns[1].push_back(static_cast<std::int32_t>(code.octant));
      columns[2].push_back(static_cast<std::int32_t>(code.theta));
      columns[3].push_back(static_cast<std::int32_t>(code.psi));
    }
  }
  const int used = options.major() == 10 ? 1 : 4;
  for (int i = 0; i < used; ++i) put(out, columns[i], Predictor::None, options, hash);
  out.u32(hash);
}

void writeColors(ByteWriter& out, const Shape& shape, std::span<const std::uint32_t> records,
                 const Options& options) {
  const Predictor predictor = options.plain_attributes ? Predictor::None : Predictor::Lag1;
  putHeader(out, records.size(), 4, options.color_bits);
  std::uint32_t hash = 0;
  const auto quantisers = colorQuantisers(options);
  if (options.color_bits > 0) writeColorQuantisers(out, options);
  const bool as_hsv = options.hsv_colors && options.color_bits > 0;
  for (std::size_t k = 0; k < 4; ++k) {
    const auto value = [&](std::size_t i) {
      const Rgba& color = shape.colors[records[i]];
      return as_hsv ? toHsv(color)[k] : color[k];
    };
    putComponent(out, records.size(), value, quantisers[k], predictor, options, hash);
  }
  out.u32(hash);
}

void writeTextureCoordinates(ByteWriter& out, const Shape& shape, std::span<const std::uint32_t> records,
                             const Options& options) {
  const Predictor predictor = options.plain_attributes ? Predictor::None : Predictor::Lag1;
  putHeader(out, records.size(), 2, options.texture_bits);
  std::uint32_t hash = 0;
  const auto quantisers = textureQuantisers(shape, options.texture_bits);
  if (options.texture_bits > 0) {
    for (const auto& quantiser : quantisers) putQuantiser(out, quantiser);
  }
  for (std::size_t k = 0; k < 2; ++k) {
    const auto value = [&](std::size_t i) { return shape.texture_coordinates[records[i]][k]; };
    putComponent(out, records.size(), value, quantisers[k], predictor, options, hash);
  }
  out.u32(hash);
}

}  // namespace

void writeQuantisation(ByteWriter& out, const Options& options) {
  out.u8(options.coordinate_bits);
  out.u8(options.normal_bits);
  out.u8(options.texture_bits);
  out.u8(options.color_bits);
}

void writeCoordinates(ByteWriter& out, const Shape& shape, std::span<const std::uint32_t> positions,
                      const Options& options) {
  out.i32(static_cast<std::int64_t>(positions.size()));
  out.u8(3);
  const auto quantisers = positionQuantisers(shape.positions, options.coordinate_bits);
  for (const auto& quantiser : quantisers.axis) putQuantiser(out, quantiser);
  std::uint32_t hash = 0;
  for (int axis = 0; axis < 3; ++axis) {
    const auto value = [&](std::size_t i) { return component(shape.positions[positions[i]], axis); };
    putComponent(out, positions.size(), value, quantisers.axis[axis], Predictor::Lag1, options, hash);
  }
  out.u32(hash);
}

void writeAttributes(ByteWriter& out, const Shape& shape, std::span<const std::uint32_t> records,
                     const Options& options) {
  if (!shape.normals.empty()) writeNormals(out, shape, records, options);
  if (!shape.colors.empty()) writeColors(out, shape, records, options);
  if (!shape.texture_coordinates.empty()) writeTextureCoordinates(out, shape, records, options);
  if (!shape.vertex_flags.empty()) {
    Column flags;
    flags.reserve(records.size());
    for (const auto record : records) flags.push_back(static_cast<std::int32_t>(shape.vertex_flags[record]));
    out.i32(static_cast<std::int64_t>(flags.size()));
    writePacket(out, flags, Predictor::None, options);
  }
}

}  // namespace loftbay::maker
