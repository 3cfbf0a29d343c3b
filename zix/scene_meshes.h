// The meshes of a scene as display and export need them: where each stands, what it looks like, and its
// whole elements. An element is whole when its indices all exist and all name a point of the mesh; in a
// mesh of triangles it has exactly three of them. What is not whole is left out, never guessed.
#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <span>
#include <tuple>
#include <vector>

#include "zix/bounds.h"
#include "zix/placement.h"
#include "zix/reader.h"

namespace Orb::Zix {

struct PlacedMesh {
  std::uint32_t mesh;      // object number
  std::uint32_t material;  // its own, else that of the nearest object above it that has one, else kNone
  Matrix world;
};

// All meshes below the scene's roots, depth first.
std::vector<PlacedMesh> placedMeshes(const SceneFile& scene);

struct MeshArrays {
  MeshType type = MeshType::Triangles;
  std::uint32_t dimension = 3;
  Values<float> values = {};
  Values<std::uint32_t> indices = {};
  Values<std::uint32_t> lengths = {};

  [[nodiscard]] std::size_t pointCount() const { return values.size() / dimension; }
  // Coordinates that the tuple does not have are 0.
  [[nodiscard]] std::array<float, 3> point(std::size_t index) const {
    const float* tuple = values.data() + index * dimension;
    return {tuple[0], dimension > 1 ? tuple[1] : 0.0F, dimension > 2 ? tuple[2] : 0.0F};
  }
};

// One of the arrays that a mesh names: what reading, checking, comparing and exporting do with every array
// alike needs to know of it.
template <typename T>
struct MeshArrayKind {
  const char* name;
  const char* value_name;                     // of one value
  std::uint32_t format::MeshRecord::*object;  // number of the object that holds it
  ObjectType object_type;                     // that object's
  Values<T> (SceneFile::*read)(std::uint32_t) const;
  Values<T> MeshArrays::*values;
  std::uint32_t dimension;  // that tuples of a Coordinates object must have; 0: any, and for index arrays
  bool one_per_point;       // whether there must be a tuple or value for each of the mesh's points

  // The chunk of the array that the object holds, or kNone.
  [[nodiscard]] std::uint32_t chunkOf(const SceneFile& scene, std::uint32_t number) const {
    if (number == format::kNone) return format::kNone;
    return object_type == ObjectType::Coordinates ? scene.coordinates(number).chunk
                                                  : scene.indexArray(number).chunk;
  }
};

inline constexpr MeshArrayKind<float> kCoordinatesOfMesh{.name = "coordinates",
                                                         .value_name = "coordinate",
                                                         .object = &format::MeshRecord::coordinates,
                                                         .object_type = ObjectType::Coordinates,
                                                         .read = &SceneFile::coordinateValues,
                                                         .values = &MeshArrays::values,
                                                         .dimension = 0,
                                                         .one_per_point = false};
inline constexpr MeshArrayKind<std::uint32_t> kIndicesOfMesh{.name = "indices",
                                                             .value_name = "index",
                                                             .object = &format::MeshRecord::indices,
                                                             .object_type = ObjectType::IndexArray,
                                                             .read = &SceneFile::indexValues,
                                                             .values = &MeshArrays::indices,
                                                             .dimension = 0,
                                                             .one_per_point = false};
inline constexpr MeshArrayKind<std::uint32_t> kLengthsOfMesh{.name = "lengths",
                                                             .value_name = "length",
                                                             .object = &format::MeshRecord::lengths,
                                                             .object_type = ObjectType::IndexArray,
                                                             .read = &SceneFile::indexValues,
                                                             .values = &MeshArrays::lengths,
                                                             .dimension = 0,
                                                             .one_per_point = false};
// All of them. What a tool does with one of them only (counts, elements, accessors of a GLB) stands there.
inline constexpr std::tuple kMeshArrayKinds{kCoordinatesOfMesh, kIndicesOfMesh, kLengthsOfMesh};
inline constexpr std::size_t kMeshArrayCount = std::tuple_size_v<decltype(kMeshArrayKinds)>;

// Calls `visit(kind)` for each.
template <typename Visit>
void forEachMeshArray(Visit visit) {
  std::apply([&](const auto&... kinds) { (visit(kinds), ...); }, kMeshArrayKinds);
}

// Whether the array that the mesh names has the dimension that its kind asks for; none has.
template <typename T>
bool hasRightDimension(const SceneFile& scene, const MeshArrayKind<T>& kind, const format::MeshRecord& mesh) {
  const std::uint32_t object = mesh.*kind.object;
  return kind.dimension == 0 || object == format::kNone ||
         scene.coordinates(object).dimension == kind.dimension;
}

// Reads them: throws what SceneFile's accessors of values throw.
MeshArrays meshArrays(const SceneFile& scene, std::uint32_t mesh);

// Calls `visit(std::span<const std::uint32_t> element)` for every whole element in file order.
template <typename Visit>
void forEachElement(const MeshArrays& mesh, Visit visit) {
  const std::size_t point_count = mesh.pointCount();
  std::size_t start = 0;
  for (const std::uint32_t length : mesh.lengths) {
    if (length > mesh.indices.size() - start) return;
    const auto element = mesh.indices.subspan(start, length);
    start += length;
    if (mesh.type == MeshType::Triangles && length != 3) continue;
    bool whole = true;
    for (const std::uint32_t index : element) whole = whole && index < point_count;
    if (whole) visit(element);
  }
}

// Names the arrays of a mesh without reading them: meshes of equal keys have the same ones.
using GeometryKey = std::array<std::uint32_t, 2 + kMeshArrayCount>;
GeometryKey geometryKey(const SceneFile& scene, std::uint32_t mesh);

// The box of all finite points.
BoxF localBounds(const MeshArrays& mesh);
// Adds all points that are finite once they are placed. `values`: tuples of `dimension` coordinates; those
// that a tuple does not have are 0.
void addPlacedPoints(BoxD& box, std::span<const float> values, std::uint32_t dimension, const Matrix& world);

}  // namespace Orb::Zix
