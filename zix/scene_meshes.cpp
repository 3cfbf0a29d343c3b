#include "zix/scene_meshes.h"

#include "zix/tree_walk.h"

namespace Orb::Zix {

using format::kNone;

std::vector<PlacedMesh> placedMeshes(const SceneFile& scene) {
  std::vector<PlacedMesh> meshes;
  std::vector<std::uint32_t> materials{kNone};  // in force, one per level of the path
  for (const std::uint32_t root : scene.treeRoots()) {
    walkTree(
        root, [&](std::uint32_t object) { return scene.children(object); },
        [&](std::uint32_t object) { return scene.placement(object); },
        [&](std::uint32_t object, const Matrix& world, std::size_t) {
          const std::uint32_t own = scene.object(object).material;
          materials.push_back(own != kNone ? own : materials.back());
          if (scene.type(object) == ObjectType::Mesh) meshes.push_back({object, materials.back(), world});
        },
        [&](std::uint32_t) { materials.pop_back(); });
  }
  return meshes;
}

MeshArrays meshArrays(const SceneFile& scene, std::uint32_t mesh) {
  const format::MeshRecord record = scene.mesh(mesh);
  MeshArrays arrays;
  arrays.type = static_cast<MeshType>(record.mesh_type);
  arrays.dimension = record.coordinates == kNone ? 3 : scene.coordinates(record.coordinates).dimension;
  forEachMeshArray([&](const auto& kind) { arrays.*kind.values = (scene.*kind.read)(record.*kind.object); });
  return arrays;
}

GeometryKey geometryKey(const SceneFile& scene, std::uint32_t mesh) {
  const format::MeshRecord record = scene.mesh(mesh);
  GeometryKey key{record.mesh_type, 3};
  if (record.coordinates != kNone) key[1] = scene.coordinates(record.coordinates).dimension;
  auto next = key.begin() + 2;
  forEachMeshArray([&](const auto& kind) { *next++ = kind.chunkOf(scene, record.*kind.object); });
  return key;
}

BoxF localBounds(const MeshArrays& mesh) {
  BoxF box;
  addPoints(box, mesh.values, mesh.dimension);
  return box;
}

void addPlacedPoints(BoxD& box, std::span<const float> values, std::uint32_t dimension, const Matrix& world) {
  for (; values.size() >= dimension; values = values.subspan(dimension)) {
    const auto placed =
        world.apply(static_cast<double>(values[0]), dimension > 1 ? static_cast<double>(values[1]) : 0,
                    dimension > 2 ? static_cast<double>(values[2]) : 0);
    if (std::isfinite(placed[0]) && std::isfinite(placed[1]) && std::isfinite(placed[2])) {
      box.add(placed[0], placed[1], placed[2]);
    }
  }
}

}  // namespace Orb::Zix
