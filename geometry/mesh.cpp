#include "geometry/mesh.h"

#include <stdexcept>

#include "diag/memory_report.h"
#include "diag/program_seams.h"
#include "diag/trace_log.h"
#include "geometry/duplicate_vertices.h"
#include "geometry/material.h"

namespace loftbay::geometry {

using diag::Counted;
using diag::text;
using diag::WriteTraceLog;
using Orb::Zix::ObjectId;
using Orb::Zix::ObjectType;

MeshContents meshContents(Orb::Zix::MeshType type, std::span<const Point> points,
                          std::span<const std::uint32_t> indices, std::span<const std::uint32_t> lengths) {
  return {.type = type,
          .coordinates = floatsOf(points),
          .point_count = points.size(),
          .indices = indices,
          .lengths = lengths};
}

bool beginShape(std::string_view prefix, const char* name, int primitive_sets) {
  WriteTraceLog(text(prefix, ": Shape  Name = ", name));
  WriteTraceLog(text(prefix, ": No of Prims = ", primitive_sets));
  if (primitive_sets < 1) {
    WriteTraceLog(text(prefix, ":End - No. of Prims is not valid"));
    return false;
  }
  WriteTraceLog(text(prefix, ":b4 constructing ZIX Shape:Memory Usage: ", diag::memoryUsageReport()));
  return true;
}

void logMergeStart(std::string_view prefix) { WriteTraceLog(text(prefix, ":Optimize option enabled")); }

void logMerge(std::string_view prefix, const PreparedShape& shape) {
  WriteTraceLog(text(prefix, ":RemoveDuplicateVertices completed"));
  WriteTraceLog(text(prefix, ": Coord Size = ", shape.vertices_read));
  WriteTraceLog(text(prefix, ": Coord Size after RDV = ", shape.coordinates.size()));
  WriteTraceLog(text(prefix, ": Color Size = ", shape.color_count));
  WriteTraceLog(text(prefix, ": Color Size after RDV = ", shape.unique_color_count));
}

void logSizes(std::string_view prefix, const PreparedShape& shape) {
  WriteTraceLog(text(prefix, ": Coord Size  = ", shape.vertices_read));
  WriteTraceLog(text(prefix, ": Normal Size = ", shape.normal_count));
  WriteTraceLog(text(prefix, ": Color Size  = ", shape.color_count));
}

ObjectId writeMesh(const ShapeTarget& target, std::string_view prefix, const char* name,
                   const MeshContents& contents) {
  constexpr unsigned char kDimension = 3;
  Orb::Zix::Scene_V1& scene = target.scene;
  const ObjectId shape = scene.createObject(ObjectType::Shape);
  scene.setName(shape, target.uniqueName(name).c_str());
  if (target.parent == nullptr) throw std::out_of_range("invalid vector subscript");
  scene.addComponent(*target.parent, shape);

  const ObjectId mesh = scene.createObject(ObjectType::Mesh);
  scene.setMeshType(mesh, contents.type);
  scene.setName(mesh, "mesh");
  scene.addComponent(shape, mesh);

  const ObjectId coordinates = scene.createObject(ObjectType::Coordinates);
  scene.setDimension(coordinates, kDimension);
  scene.setValues<float>(coordinates, contents.coordinates, contents.point_count);
  scene.setCoordinates(mesh, coordinates);

  const ObjectId indices = scene.createObject(ObjectType::IndexArray);
  scene.setValues<unsigned int>(indices, contents.indices.data(), contents.indices.size());
  const ObjectId lengths = scene.createObject(ObjectType::IndexArray);
  scene.setValues<unsigned int>(lengths, contents.lengths.data(), contents.lengths.size());
  scene.setConnectivity(mesh, indices, lengths);
  WriteTraceLog(text(prefix, ":ZIX Geometry is constructed"));

  diag::Observer& observer = *diag::programSeams().observer;
  observer.counted(Counted::Shapes, 1);
  observer.counted(Counted::Meshes, 1);
  observer.counted(Counted::VerticesWritten, contents.point_count);
  return mesh;
}

void endShape(const ShapeTarget& target, std::string_view prefix, JtkShape& shape, const ObjectId& mesh) {
  JtkMaterial* material = nullptr;
  shape.getShapeMaterial(material);
  if (material == nullptr) material = target.material;
  if (material != nullptr) writeMaterial(target.scene, material, mesh);
  WriteTraceLog(text(prefix, ":ZIX material is set"));
  WriteTraceLog(text(prefix, ":after constructing ZIX Shape:Memory Usage: ", diag::memoryUsageReport()));
  WriteTraceLog(text(prefix, ":End"));
}

}  // namespace loftbay::geometry
