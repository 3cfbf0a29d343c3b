// Triangle strips to triangle lists.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "geometry/raw_vector.h"

namespace loftbay::geometry {

// Three indices per triangle. Of each triangle the first index is the strip's newest vertex; the other two
// alternate, so that all triangles of a strip keep one winding. A strip of n vertices makes n - 2 triangles,
// each one vertex further than the last; then two more vertices are skipped, also behind a strip of one
// vertex (kept: see docs/behaviour.md).
RawVector<std::uint32_t> trianglesOfStrips(std::span<const std::int32_t> strip_lengths);
// The same triangles, where vertex i became `vertex_of[i]`. One beyond the list stays as it is.
RawVector<std::uint32_t> trianglesOfStrips(std::span<const std::int32_t> strip_lengths,
                                           std::span<const std::uint32_t> vertex_of);
// How many there are.
std::size_t countTriangles(std::span<const std::int32_t> strip_lengths);

}  // namespace loftbay::geometry
