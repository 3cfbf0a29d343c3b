// Triangle strips for 8.x, which has no polygons.
#pragma once

#include <cstdint>
#include <vector>

#include "samples/maker/product.h"

namespace loftbay::maker {

// Corners of primitives: pairs of position and record are numbered as vertices in order of first use.
struct IndexedPrimitives {
  std::vector<std::uint32_t> starts;
  std::vector<std::uint32_t> corners;    // vertex numbers
  std::vector<std::uint32_t> positions;  // per vertex
  std::vector<std::uint32_t> records;    // per vertex; 0 without records
};

// The shape's primitives with its corners numbered; triangles become strips. Triangle k of a strip is
// (k, k+1, k+2) for even k and (k+1, k, k+2) for odd k. With `join`, all strips become one by repeated
// corners.
IndexedPrimitives indexedPrimitives(const Shape& shape, bool join);

}  // namespace loftbay::maker
