// Triangle strips to triangle lists.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace loftbay::geometry {

// Three indices per triangle. Of each triangle the first index is the strip's newest vertex; the other two
// alternate, so that all triangles of a strip keep one winding. A strip of n vertices makes n - 2 triangles,
// and the next strip begins two vertices behind its last triangle's first one: a strip of one vertex moves
// the following ones by two as well.
std::vector<std::uint32_t> trianglesOfStrips(std::span<const std::int32_t> strip_lengths);

}  // namespace loftbay::geometry
