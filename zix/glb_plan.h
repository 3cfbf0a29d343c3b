// What a GLB file will hold: which geometries, meshes, materials and nodes there are, and where the arrays
// are. Holds facts, never arrays.
//
// Every Node and Shape becomes a node; a Shape with one mesh carries it itself, others get a node per mesh.
// Geometries whose arrays and mesh type are equal byte for byte are in the buffer once, and where the
// material is equal too, the glTF mesh is one.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "zix/export.h"
#include "zix/glb_geometry.h"
#include "zix/placement.h"
#include "zix/reader.h"

namespace Orb::Zix {

// Whether the matrix is finite; objects below a placement that is not are not shown.
bool isFinite(const Matrix& matrix);

class GlbPlan {
 public:
  struct Mesh {
    std::size_t geometry;
    std::size_t material;
    std::uint32_t named_by;  // object whose name it has: the shape that used it first
  };

  // `scene` outlives the plan.
  explicit GlbPlan(const SceneFile& scene);

  // The one mesh of a shape that the shape's own node can carry, or kNone.
  [[nodiscard]] std::uint32_t ownMesh(std::uint32_t object) const;
  // Geometries without anything to show are not used.
  template <typename Visit>
  void forEachUsed(Visit visit) const {
    for (const GlbGeometry& geometry : geometries) {
      if (geometry.index_count != 0) visit(geometry);
    }
  }

  ExportSummary summary;
  std::vector<GlbGeometry> geometries;
  std::uint64_t binary_size = 0;
  std::vector<std::uint32_t> materials;  // objects; kNone: that of meshes without a material
  std::vector<Mesh> meshes;
  std::vector<std::uint32_t> nodes;         // object numbers in the order of their glTF nodes
  std::vector<std::uint32_t> node_numbers;  // by object
  std::vector<std::uint32_t> mesh_numbers;  // by object

 private:
  std::size_t geometryNumber(std::uint32_t mesh);
  std::size_t newGeometryNumber(std::uint32_t mesh);
  std::size_t materialNumber(std::uint32_t material);
  void placeInBuffer();
  void numberNodes();

  const SceneFile& scene_;
  std::map<GeometryKey, std::size_t> geometry_by_key_;
  std::unordered_multimap<std::uint64_t, std::size_t> geometry_by_facts_;
  std::uint64_t array_count_ = 0;  // in the buffer so far
  std::map<std::string, std::size_t> material_by_bytes_;
  std::map<std::pair<std::size_t, std::size_t>, std::size_t> mesh_by_parts_;
};

}  // namespace Orb::Zix
