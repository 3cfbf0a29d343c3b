// One mesh's arrays as they go into a GLB's binary chunk: all points as three floats, and the indices of
// whole, finite elements: three per triangle, two per piece of a polyline, one per point.
#pragma once

#include <cstdint>
#include <functional>
#include <span>

#include "zix/bounds.h"
#include "zix/scene_meshes.h"

namespace Orb::Zix {

// Where an array is in a GLB. Set when all geometries are known.
struct GlbArray {
  std::uint64_t number = 0;  // of its accessor, and of its buffer view
  std::uint64_t offset = 0;  // in the binary chunk
  std::uint64_t size = 0;    // bytes
};

struct GlbGeometry {
  std::uint32_t mesh;  // object number of one that has these arrays
  MeshType type;
  std::uint64_t point_count = 0;
  std::uint64_t element_count = 0;
  std::uint64_t index_count = 0;    // 0: there is nothing to show, and nothing is written
  BoxF box;                         // of all points that are finite
  std::array<float, 3> stand_in{};  // written for points that are not finite; no element refers to them
  GlbArray positions;
  GlbArray indices;

  [[nodiscard]] std::uint64_t positionsSize() const { return 12 * point_count; }
  [[nodiscard]] std::uint64_t indicesSize() const { return 4 * index_count; }
};

GlbGeometry measure(std::uint32_t mesh, const MeshArrays& arrays);

// Hands over positionsSize() + indicesSize() bytes, piece by piece. `arrays` are those that were measured;
// false when they have changed since: then it may be more or less.
bool writeArrays(const GlbGeometry& geometry, const MeshArrays& arrays,
                 const std::function<void(std::span<const std::byte>)>& append);

}  // namespace Orb::Zix
