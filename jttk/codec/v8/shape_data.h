// The pieces that a shape LOD element of JT 8.x is decoded with; called by decodeShapeLodV8 only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "jttk/codec/predictors.h"
#include "jttk/file/byte_reader.h"
#include "jttk/file/error.h"
#include "jttk/file/memory_budget.h"
#include "jttk/mesh/shape_geometry.h"

namespace jttk::v8 {

// What an attribute belongs to.
enum class Binding : std::uint8_t { None = 0, Vertex = 1, Facet = 2, Primitive = 3 };

struct Bindings {
  Binding normal = Binding::None;
  Binding texture = Binding::None;
  Binding color = Binding::None;
};

// An element's data after its primitive list. Starts of the primitives and the facts are in the geometry
// already (primitive_starts; a point set may have none yet).
struct Context {
  Bindings bindings;
  // How many values the packets of this element that are still to come may hold together.
  std::size_t values_left = 0;
  // The same for corners.
  std::size_t most_corners = 0;
  MemoryBudget* memory = nullptr;  // never null
  // Decode texture coordinates too (ShapeContext::extra_attributes).
  bool extra_attributes = false;
  // How many texture coordinates there are, where they are not decoded.
  std::size_t undecoded_textures = 0;
};

// The packet that comes next.
struct ExpectedPacket {
  const char* what;  // names the array in messages
  Predictor predictor;
  std::size_t maximum_count;
};

// Reads a packet of `maximum_count` values at most, undoes the predictor, and takes the values off what is
// left.
Result<void> readValues(ByteReader& in, Context& context, const ExpectedPacket& packet,
                        std::vector<std::int32_t>& values);

// Quantised coordinates and attributes, one per vertex, and an index per corner. Attributes that belong to
// facets or primitives are left as stored: see spreadAttributes. Attributes that cannot be read are left out;
// facts.unread_attributes says why.
Result<void> readLossy(ByteReader& in, Context& context, ShapeGeometry& geometry);

// Plain floats, a record per corner.
Result<void> readLossless(ByteReader& in, Context& context, ShapeGeometry& geometry);

// Gives each corner its attribute record. When all attributes belong to vertices, records are numbered as
// positions are. Otherwise every corner gets a record of its own, and strips and lines whose facets carry
// attributes are taken apart into triangles and line segments, also where the attributes are not decoded: the
// corners do not depend on what was asked for. Attributes are dropped, with a reason in
// facts.unread_attributes, if their number is not that of their vertices, facets or primitives.
Result<void> spreadAttributes(const Context& context, std::uint64_t offset, ShapeGeometry& geometry);

}  // namespace jttk::v8
