// Rep data of 8.x: I16 version, U8 bindings of normals, texture coordinates and colours, U8 x 4 bits, packet
// of primitive starts; then either quantised arrays of unique vertices and a packet of vertex numbers, or one
// zlib block with a record of floats per corner.
#include <zlib.h>

#include <stdexcept>

#include "samples/maker/color.h"
#include "samples/maker/packet.h"
#include "samples/maker/quantise.h"
#include "samples/maker/shape_lod.h"
#include "samples/maker/strips.h"
#include "samples/maker/vertex_records.h"

namespace loftbay::maker {
namespace {

using Column = std::vector<std::int32_t>;

void putColumn(ByteWriter& out, const Column& codes, const Options& options) {
  writePacket(out, codes, Predictor::Lag1, options);
}

void putQuantiser(ByteWriter& out, const UniformQuantiser& quantiser) {
  out.f32(quantiser.min);
  out.f32(quantiser.max);
  out.u8(quantiser.bits);
}

void writeLossyNormals(ByteWriter& out, const Shape& shape, const IndexedPrimitives& indexed,
                       const Options& options) {
  Column columns[4];
  for (const auto record : indexed.records) {
    const NormalCode code = encodeNormal(shape.normals[record], options.normal_bits);
    const std::uint32_t parts[] = {code.sextant, code.octant, code.theta, code.psi};
    for (std::size_t k = 0; k < 4; ++k) columns[k].push_back(static_cast<std::int32_t>(parts[k]));
  }
  out.u8(options.normal_bits);
  out.i32(static_cast<std::int64_t>(indexed.records.size()));
  for (const auto& column : columns) putColumn(out, column, options);
}

void writeLossyColors(ByteWriter& out, const Shape& shape, const IndexedPrimitives& indexed,
                      const Options& options) {
  const auto quantisers = colorQuantisers(options);
  writeColorQuantisers(out, options);
  out.i32(static_cast<std::int64_t>(indexed.records.size()));
  for (std::size_t k = 0; k < 4; ++k) {
    Column codes;
    for (const auto record : indexed.records) {
      const Rgba stored = options.hsv_colors ? toHsv(shape.colors[record]) : shape.colors[record];
      codes.push_back(static_cast<std::int32_t>(quantisers[k].encode(stored[k])));
    }
    putColumn(out, codes, options);
  }
}

void writeLossyTexture(ByteWriter& out, const Shape& shape, const IndexedPrimitives& indexed,
                       const Options& options) {
  const auto quantisers = textureQuantisers(shape, options.texture_bits);
  for (const auto& quantiser : quantisers) putQuantiser(out, quantiser);
  out.i32(static_cast<std::int64_t>(indexed.records.size()));
  for (std::size_t k = 0; k < 2; ++k) {
    Column codes;
    for (const auto record : indexed.records) {
      codes.push_back(static_cast<std::int32_t>(quantisers[k].encode(shape.texture_coordinates[record][k])));
    }
    putColumn(out, codes, options);
  }
}

void writeLossy(ByteWriter& out, const Shape& shape, const IndexedPrimitives& indexed,
                const Options& options) {
  const auto quantisers = positionQuantisers(shape.positions, options.coordinate_bits);
  for (const auto& quantiser : quantisers.axis) putQuantiser(out, quantiser);
  out.i32(static_cast<std::int64_t>(indexed.positions.size()));
  for (int axis = 0; axis < 3; ++axis) {
    Column codes;
    for (const auto position : indexed.positions) {
      const Vec3& p = shape.positions[position];
      codes.push_back(static_cast<std::int32_t>(quantisers.axis[axis].encode(axis == 0   ? p.x
                                                                             : axis == 1 ? p.y
                                                                                         : p.z)));
    }
    putColumn(out, codes, options);
  }
  if (!shape.normals.empty()) writeLossyNormals(out, shape, indexed, options);
  if (!shape.texture_coordinates.empty()) writeLossyTexture(out, shape, indexed, options);
  if (!shape.colors.empty()) writeLossyColors(out, shape, indexed, options);
  writePacket(out, Column(indexed.corners.begin(), indexed.corners.end()), Predictor::StripIndex, options);
}

void writeLossless(ByteWriter& out, const Shape& shape, const IndexedPrimitives& indexed) {
  ByteWriter records(out.bigEndian());
  for (const auto corner : indexed.corners) {
    const std::uint32_t record = indexed.records[corner];
    if (!shape.texture_coordinates.empty()) {
      for (const float value : shape.texture_coordinates[record]) records.f32(value);
    }
    if (!shape.colors.empty()) {
      for (std::size_t k = 0; k < 3; ++k) records.f32(shape.colors[record][k]);
    }
    if (!shape.normals.empty()) {
      const Vec3& n = shape.normals[record];
      for (const float value : {n.x, n.y, n.z}) records.f32(value);
    }
    const Vec3& p = shape.positions[indexed.positions[corner]];
    for (const float value : {p.x, p.y, p.z}) records.f32(value);
  }
  Bytes packed(compressBound(static_cast<uLong>(records.size())));
  auto size = static_cast<uLongf>(packed.size());
  if (compress2(packed.data(), &size, records.bytes().data(), static_cast<uLong>(records.size()), 6) !=
      Z_OK) {
    throw std::runtime_error("zlib cannot compress a shape");
  }
  packed.resize(size);
  out.i32(static_cast<std::int64_t>(records.size()));
  out.i32(static_cast<std::int64_t>(packed.size()));
  out.append(packed);
}

}  // namespace

void writeRepData8(ByteWriter& out, const Shape& shape, const Options& options) {
  const IndexedPrimitives indexed = indexedPrimitives(shape, options.join_strips);
  out.i16(1);
  out.u8(shape.normals.empty() ? 0 : 1);
  out.u8(shape.texture_coordinates.empty() ? 0 : 1);
  out.u8(shape.colors.empty() ? 0 : 1);
  writeQuantisation(out, options);
  // Point sets have no primitives: every entry is a point.
  Column starts;
  if (shape.kind != ShapeKind::Points) starts.assign(indexed.starts.begin(), indexed.starts.end());
  writePacket(out, starts, Predictor::Stride1, options);
  if (options.coordinate_bits == 0) {
    writeLossless(out, shape, indexed);
  } else {
    writeLossy(out, shape, indexed, options);
  }
}

}  // namespace loftbay::maker
