// The attribute arrays of JT 9 and 10: coordinates, normals, colours, texture coordinates, vertex flags. Each
// array is stored on its own, quantised or as float bits, with a hash behind it.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "jttk/codec/v9/packet.h"
#include "jttk/file/byte_reader.h"
#include "jttk/file/error.h"
#include "jttk/mesh/shape_geometry.h"

namespace jttk {

// Which arrays there are, as bits of the 64-bit binding number.
namespace bindings {
inline constexpr std::uint64_t kNormals = 0x8;
inline constexpr std::uint64_t kColors = 0x30;
inline constexpr std::uint64_t kVertexFlags = 0x40;
inline constexpr std::uint32_t kFirstTextureBit = 8;  // four bits per channel
inline constexpr std::uint32_t kTextureChannels = 8;
inline constexpr std::uint64_t kAuxiliaryFields = std::uint64_t{1} << 63;
}  // namespace bindings

// Reads the arrays of one shape into its ShapeGeometry. Each function checks that the array has `count`
// entries and, where the rule is known, that its hash is right.
class VertexArrayReader {
 public:
  // `box`: where coordinates that do not agree with their hash may still be confirmed; null: nowhere.
  VertexArrayReader(ByteReader& reader, PacketReader& packets,
                    const std::array<float, 6>* box = nullptr) noexcept
      : reader_(reader), packets_(packets), box_(box) {}

  // U64 bindings and four bytes of quantisation, in front of the arrays.
  Result<void> readHeader(ShapeFacts& facts);
  // Positions, for `count` vertices; says in `facts` whether they were lossless. Those that do not agree with
  // their hash stay where they fill the box, and facts.coordinate_note says so.
  Result<void> readCoordinates(std::uint32_t count, ShapeGeometry& shape);
  // All arrays that `shape.facts.bindings` names, except coordinates, for `count` records. `with_extras`:
  // also texture coordinates (channels above the first are read and dropped) and vertex flags. These come
  // last and are left unread otherwise, as auxiliary fields behind them always are. An array that cannot be
  // read stays empty, and so do those behind it; shape.facts.unread_attributes says why.
  void readAttributes(std::uint32_t count, bool with_extras, ShapeGeometry& shape);

 private:
  struct CoordinateLayout;
  Result<void> readCoordinatesAs(const CoordinateLayout& layout, bool lossless, bool box_decides,
                                 ShapeGeometry& shape);
  Result<void> makeRoom(std::vector<float>& values, std::size_t count, float fill);
  Result<void> readNormals(std::uint32_t count, std::vector<float>& normals);
  Result<void> readPackedNormals(std::uint32_t bits, std::uint32_t count, std::vector<float>& normals);
  Result<void> readColors(std::uint32_t count, std::vector<float>& colors);
  Result<void> readTextureCoordinates(std::uint32_t count, std::vector<float>& coordinates);
  Result<void> readVertexFlags(std::uint32_t count, std::vector<std::uint32_t>& flags);

  ByteReader& reader_;
  PacketReader& packets_;
  const std::array<float, 6>* box_;
};

}  // namespace jttk
