// The edges of a mesh of triangles that a draughtsman would draw: where its surface ends, and where two
// triangles meet at an angle. Points at the same position count as one, because many meshes give each face
// points of its own.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "zix/raster.h"
#include "zix/scene_meshes.h"

namespace Orb::Zix {

// Pairs of point numbers. `points` are those of `mesh`, placed; one whose x is NaN is left out with the
// triangles that use it. Triangles that meet at less than 30 degrees, with either winding, have no edge.
std::vector<std::array<std::uint32_t, 2>> featureEdges(const MeshArrays& mesh,
                                                       const std::vector<Vec3>& points);

}  // namespace Orb::Zix
