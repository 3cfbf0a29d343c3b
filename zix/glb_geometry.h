// One mesh's arrays as they go into a GLB's binary chunk: points as three floats, for triangles with the
// normal of the smooth surface there, and the indices of whole, finite elements: three per triangle, two per
// piece of a polyline (all of a mesh are one primitive), one per point.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <span>

#include "zix/bounds.h"
#include "zix/scene_meshes.h"
#include "zix/smooth_normals.h"

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
  std::uint64_t point_count = 0;  // of triangles: of their vertices, a point for each normal that it has
  std::uint64_t element_count = 0;
  std::uint64_t index_count = 0;    // 0: there is nothing to show, and nothing is written
  std::uint64_t normal_count = 0;   // 0 but for triangles
  BoxF box = {};                    // of all points that are finite
  std::array<float, 3> stand_in{};  // written for points that are not finite; no element refers to them
  GlbArray positions = {};
  GlbArray normals = {};
  GlbArray indices = {};
};

// What the arrays of a geometry are made of.
struct GlbContent {
  MeshArrays arrays;
  SmoothMesh smooth;  // of triangles
};

GlbContent contentOf(const SceneFile& scene, std::uint32_t mesh);
GlbGeometry measure(std::uint32_t mesh, const GlbContent& content);

using GlbAppend = std::function<void(std::span<const std::byte>)>;

// One of the arrays of a geometry: all that the plan (its place), the JSON (attribute, accessor, view) and
// the binary chunk (its bytes) need to know of it.
struct GlbArrayKind {
  const char* attribute;  // its name in a primitive; null: the primitive's indices
  GlbArray GlbGeometry::*place;
  std::uint64_t GlbGeometry::*count;  // of its entries
  std::uint64_t entry_size;           // bytes
  const char* type;                   // of the accessor
  std::uint32_t component_type;
  std::uint32_t view_target;
  bool has_box;  // the accessor states the geometry's box
  // Hands over count * entry_size bytes, piece by piece. `content` is what was measured; false when it has
  // changed since: then it may be more or less.
  bool (*write)(const GlbGeometry& geometry, const GlbContent& content, const GlbAppend& append);

  [[nodiscard]] std::uint64_t sizeIn(const GlbGeometry& geometry) const {
    return entry_size * geometry.*count;
  }
};

bool writePositions(const GlbGeometry& geometry, const GlbContent& content, const GlbAppend& append);
bool writeNormals(const GlbGeometry& geometry, const GlbContent& content, const GlbAppend& append);
bool writeIndices(const GlbGeometry& geometry, const GlbContent& content, const GlbAppend& append);

// In the order in which they stand in the file.
inline constexpr std::array kGlbArrays{GlbArrayKind{.attribute = "POSITION",
                                                    .place = &GlbGeometry::positions,
                                                    .count = &GlbGeometry::point_count,
                                                    .entry_size = 12,
                                                    .type = "VEC3",
                                                    .component_type = 5126,  // float
                                                    .view_target = 34962,    // ARRAY_BUFFER
                                                    .has_box = true,
                                                    .write = writePositions},
                                       GlbArrayKind{.attribute = "NORMAL",
                                                    .place = &GlbGeometry::normals,
                                                    .count = &GlbGeometry::normal_count,
                                                    .entry_size = 12,
                                                    .type = "VEC3",
                                                    .component_type = 5126,  // float
                                                    .view_target = 34962,    // ARRAY_BUFFER
                                                    .has_box = false,
                                                    .write = writeNormals},
                                       GlbArrayKind{.attribute = nullptr,
                                                    .place = &GlbGeometry::indices,
                                                    .count = &GlbGeometry::index_count,
                                                    .entry_size = 4,
                                                    .type = "SCALAR",
                                                    .component_type = 5125,  // unsigned int
                                                    .view_target = 34963,    // ELEMENT_ARRAY_BUFFER
                                                    .has_box = false,
                                                    .write = writeIndices}};

// Calls `visit(kind)` for those that the geometry has.
template <typename Visit>
void forEachArray(const GlbGeometry& geometry, Visit visit) {
  for (const GlbArrayKind& kind : kGlbArrays) {
    if (geometry.*kind.count != 0) visit(kind);
  }
}

}  // namespace Orb::Zix
