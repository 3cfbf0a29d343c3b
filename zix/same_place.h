// Points at the same position count as one where it matters how triangles meet: many meshes give each face
// points of its own.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace Orb::Zix {

// For every point the first one at the same position. A point whose x is NaN is nowhere, and stands for
// itself.
std::vector<std::uint32_t> firstAtSamePlace(std::span<const std::array<float, 3>> points);

}  // namespace Orb::Zix
