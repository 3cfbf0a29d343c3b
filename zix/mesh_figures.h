// Figures of a mesh whose arrays pass by piece by piece: in constant memory, however large the mesh is.
// They throw SceneReadError.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <utility>

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

// The same figures for many meshes: arrays that meshes share are read once, so that the work stays within
// some times the size of the file, whatever its records name. `scene` must outlive it.
class MeshFigures {
 public:
  explicit MeshFigures(const SceneFile& scene) : scene_(scene) {}

  std::uint64_t wholeElements(std::uint32_t mesh);
  // The box of all finite points.
  const BoxF& bounds(std::uint32_t mesh);
  // As addBounds does. Beyond kMostPlacedPoints calls add the corners of the mesh's box instead of its
  // points: the result may be larger than the points, and never smaller.
  void addPlaced(std::uint32_t mesh, const Matrix& world, BoxD& placed);
  static constexpr std::uint64_t kMostPlacedPoints = std::uint64_t{1} << 29;

 private:
  struct Points {
    BoxF box;
    std::optional<Matrix> last;  // where they were placed the last time
  };
  Points& pointsOf(std::uint32_t mesh);

  const SceneFile& scene_;
  // By type, number of points, and the chunks of indices and lengths.
  std::map<std::array<std::uint64_t, 4>, std::uint64_t> whole_elements_;
  std::map<std::pair<std::uint32_t, std::uint32_t>, Points> points_;  // by chunk and dimension
  std::uint64_t placed_points_ = 0;
};

}  // namespace Orb::Zix
