// Figures of a mesh whose arrays pass by piece by piece: in constant memory, however large the mesh is.
// They throw SceneReadError.
#pragma once

#include <cstdint>

#include "zix/bounds.h"
#include "zix/placement.h"
#include "zix/reader.h"

namespace Orb::Zix {

std::uint64_t pointCount(const SceneFile& scene, std::uint32_t mesh);
std::uint64_t indexCount(const SceneFile& scene, std::uint32_t mesh);
std::uint64_t elementCount(const SceneFile& scene, std::uint32_t mesh);

// Of the elements that forEachElement (scene_meshes.h) visits.
std::uint64_t wholeElementCount(const SceneFile& scene, std::uint32_t mesh);

// Adds all finite points to `local`, and all points that are finite once they are placed to `placed`.
void addBounds(const SceneFile& scene, std::uint32_t mesh, const Matrix& world, BoxF& local, BoxD& placed);

}  // namespace Orb::Zix
