// The geometry of one shape as a value, as a file holds it (before strips are made of faces). All versions
// and codings give this one form, and exact geometry too.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace jttk {

enum class PrimitiveKind : std::uint8_t {
  TriangleStrips,  // a primitive is one strip as stored, degenerate links included (8.x)
  Polygons,        // a primitive is one polygon, counter-clockwise seen from outside (9.0 and later)
  Polylines,       // a primitive is one open line
  Points,          // a primitive is a group of points
  Empty,           // a null shape
};

// What decoding found out apart from the geometry. It decides what is reported, how the shape is typed and
// whether its coordinates are compared with the stated box.
struct ShapeFacts {
  bool lossless = false;
  std::uint8_t quantization_bits[4] = {};  // coordinates, normals, texture coordinates, colours
  std::uint64_t bindings = 0;
  std::uint32_t components = 0;  // connected components of the topology coder
  std::uint32_t covers = 0;      // polygons that close holes and are not part of the shape
  bool topology_hash_checked = false;
  // The coordinates agree with their hash. False also where it is not known what the hash is taken over
  // (lossless 9.x).
  bool coordinate_hash_checked = false;
  // Quantiser step of x, y and z; 0 for float coordinates.
  std::array<float, 3> coordinate_steps{};
  // Why attributes (normals, colours, …) that the shape has and that were asked for are not among its
  // records; empty when all are.
  std::string unread_attributes;
  // Not empty when a hash of the connectivity is wrong although the mesh decodes: indices are in range and
  // faces closed, but the faces or lines may not be those that were written.
  std::string doubt;
  // A fault of the coordinates for which the shape is kept; empty when there is none.
  std::string coordinate_note;
  // Of a primitive set: bit 0 boxes, 1 cylinders, 2 pyramids, 3 spheres, 4 prisms.
  std::uint32_t solid_types = 0;
};

struct ShapeGeometry {
  PrimitiveKind kind = PrimitiveKind::Empty;
  ShapeFacts facts;

  // Vertex positions: x, y, z per position.
  std::vector<float> positions;
  // Attribute records, each array empty or with one entry per record. Texture coordinates and vertex flags
  // are decoded only where somebody asks for them. Normals x, y, z as stored (not always
  // of unit length); colours red, green, blue, alpha; texture coordinates u, v, w (channel 0, padded with 0).
  std::vector<float> normals;
  std::vector<float> colors;
  std::vector<float> texture_coordinates;
  std::vector<std::uint32_t> vertex_flags;

  // Primitive i owns the corners primitive_starts[i] .. primitive_starts[i + 1] - 1; one entry more than
  // primitives (empty when there are none).
  std::vector<std::uint32_t> primitive_starts;
  // Per corner: index of the position, and index of the attribute record (kNoRecord when there is none).
  // corner_records is empty when the shape has no attributes at all.
  std::vector<std::uint32_t> corner_positions;
  std::vector<std::uint32_t> corner_records;

  // For polygons that are triangles, where the decoder knows it: across which edges they hang together, as
  // stripsOfTriangles() wants it. Else empty; whoever changes the primitives empties it.
  std::vector<std::uint32_t> neighbours;

  static constexpr std::uint32_t kNoRecord = 0xffffffffU;

  [[nodiscard]] std::size_t primitiveCount() const noexcept {
    return primitive_starts.empty() ? 0 : primitive_starts.size() - 1;
  }
};

}  // namespace jttk
