// Figures of a mesh whose arrays pass by piece by piece: in constant memory, however large the mesh is.
// They throw SceneReadError.
#pragma once

#include <cstdint>

#include "zix/bounds.h"
#include "zix/placement.h"
#include "zix/reader.h"
#include "zix/scene_meshes.h"

namespace Orb::Zix {

std::uint64_t pointCount(const SceneFile& scene, std::uint32_t mesh);
// Of the values, or of the tuples of a Coordinates object, that one of the arrays of a mesh has; 0 for none.
template <typename T>
std::uint64_t valueCount(const SceneFile& scene, const MeshArrayKind<T>& kind, std::uint32_t mesh) {
  const std::uint32_t object = scene.mesh(mesh).*kind.object;
  if (object == format::kNone) return 0;
  const bool is_tuples = kind.object_type == ObjectType::Coordinates;
  const std::uint32_t chunk = is_tuples ? scene.coordinates(object).chunk : scene.indexArray(object).chunk;
  if (chunk == format::kNone) return 0;
  return scene.chunks()[chunk].size / sizeof(T) / (is_tuples ? scene.coordinates(object).dimension : 1);
}

// Whether an array that a mesh names has as many values as its kind asks for.
template <typename T>
bool hasRightCount(const SceneFile& scene, const MeshArrayKind<T>& kind, std::uint32_t mesh) {
  return !kind.one_per_point || scene.mesh(mesh).*kind.object == format::kNone ||
         valueCount(scene, kind, mesh) == pointCount(scene, mesh);
}

std::uint64_t indexCount(const SceneFile& scene, std::uint32_t mesh);
std::uint64_t elementCount(const SceneFile& scene, std::uint32_t mesh);

// Of the elements that forEachElement (scene_meshes.h) visits.
std::uint64_t wholeElementCount(const SceneFile& scene, std::uint32_t mesh);

// Adds all finite points to `local`, and all points that are finite once they are placed to `placed`.
void addBounds(const SceneFile& scene, std::uint32_t mesh, const Matrix& world, BoxF& local, BoxD& placed);

}  // namespace Orb::Zix
