// What all shape writers share: the objects of one shape in the scene, its material, and the lines that frame
// a shape in the log. `prefix` is the writer's name, with which its lines begin.
#include <string_view>

#include "convert/job.h"
#include "diag/memory_report.h"
#include "diag/program_seams.h"
#include "diag/trace_log.h"
#include "geometry/shape_arrays.h"

namespace loftbay::convert {

using diag::Counted;
using diag::text;
using diag::WriteTraceLog;
using Orb::Zix::ObjectId;
using Orb::Zix::ObjectType;

MeshArrays meshArrays(Orb::Zix::MeshType type, const std::vector<geometry::Point>& points,
                      std::span<const std::uint32_t> indices, std::span<const std::uint32_t> lengths) {
  return {.type = type,
          .coordinates = geometry::floatsOf(points),
          .point_count = points.size(),
          .indices = indices,
          .lengths = lengths};
}

bool obJt2Zix::beginShape(std::string_view prefix, const char* shape_name, int primitive_sets) {
  WriteTraceLog(text(prefix, ": Shape  Name = ", shape_name));
  WriteTraceLog(text(prefix, ": No of Prims = ", primitive_sets));
  if (primitive_sets < 1) {
    WriteTraceLog(text(prefix, ":End - No. of Prims is not valid"));
    return false;
  }
  WriteTraceLog(text(prefix, ":b4 constructing ZIX Shape:Memory Usage: ", diag::memoryUsageReport()));
  return true;
}

void obJt2Zix::RemoveDuplicateVertices(const std::vector<geometry::Point>& inPoints,
                                       std::vector<geometry::Point>& outPoints, std::uint32_t* indices,
                                       std::size_t indexCount,
                                       const std::vector<geometry::Point>& inCompanion,
                                       std::vector<geometry::Point>& outCompanion) {
  geometry::removeDuplicateVertices(inPoints, outPoints, {indices, indexCount}, inCompanion, outCompanion);
}

void obJt2Zix::mergeVertices(std::string_view prefix, geometry::ShapeArrays& arrays,
                             std::vector<std::uint32_t>& indices) {
  if (!optimize) {
    WriteTraceLog(text(prefix, ": Coord Size  = ", arrays.coordinates.size()));
    WriteTraceLog(text(prefix, ": Normal Size = ", arrays.normal_count));
    WriteTraceLog(text(prefix, ": Color Size  = ", arrays.color_count));
    return;
  }
  WriteTraceLog(text(prefix, ":Optimize option enabled"));
  std::vector<geometry::Point> unique;
  std::vector<geometry::Point> unique_colors;
  RemoveDuplicateVertices(arrays.coordinates, unique, indices.data(), indices.size(), arrays.colors,
                          unique_colors);
  WriteTraceLog(text(prefix, ":RemoveDuplicateVertices completed"));
  WriteTraceLog(text(prefix, ": Coord Size = ", arrays.coordinates.size()));
  WriteTraceLog(text(prefix, ": Coord Size after RDV = ", unique.size()));
  WriteTraceLog(text(prefix, ": Color Size = ", arrays.color_count));
  WriteTraceLog(text(prefix, ": Color Size after RDV = ", unique_colors.size()));
  arrays.coordinates.swap(unique);
  arrays.colors = {};
}

ObjectId obJt2Zix::writeMesh(std::string_view prefix, const char* shape_name, const MeshArrays& arrays) {
  constexpr unsigned char kDimension = 3;
  const ObjectId shape = scene.createObject(ObjectType::Shape);
  scene.setName(shape, MakeUniqueName(shape_name).c_str());
  scene.addComponent(topParent(), shape);

  const ObjectId mesh = scene.createObject(ObjectType::Mesh);
  scene.setMeshType(mesh, arrays.type);
  scene.setName(mesh, "mesh");
  scene.addComponent(shape, mesh);

  const ObjectId coordinates = scene.createObject(ObjectType::Coordinates);
  scene.setDimension(coordinates, kDimension);
  scene.setValues<float>(coordinates, arrays.coordinates, arrays.point_count);
  scene.setCoordinates(mesh, coordinates);

  const ObjectId indices = scene.createObject(ObjectType::IndexArray);
  scene.setValues<unsigned int>(indices, arrays.indices.data(), arrays.indices.size());
  const ObjectId lengths = scene.createObject(ObjectType::IndexArray);
  scene.setValues<unsigned int>(lengths, arrays.lengths.data(), arrays.lengths.size());
  scene.setConnectivity(mesh, indices, lengths);
  WriteTraceLog(text(prefix, ":ZIX Geometry is constructed"));

  notes.meshWritten();
  diag::Observer& observer = *diag::programSeams().observer;
  observer.counted(Counted::Shapes, 1);
  observer.counted(Counted::Meshes, 1);
  observer.counted(Counted::VerticesWritten, arrays.point_count);
  return mesh;
}

void obJt2Zix::endShape(std::string_view prefix, JtkShape* shape, const ObjectId& mesh) {
  JtkMaterial* material = nullptr;
  shape->getShapeMaterial(material);
  if (material == nullptr && !materialStack.empty()) material = materialStack.back();
  if (material != nullptr) WriteMaterial(material, mesh);
  WriteTraceLog(text(prefix, ":ZIX material is set"));
  WriteTraceLog(text(prefix, ":after constructing ZIX Shape:Memory Usage: ", diag::memoryUsageReport()));
  WriteTraceLog(text(prefix, ":End"));
}

}  // namespace loftbay::convert
