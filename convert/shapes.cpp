// The job's shape writers: they say where a shape goes and what is in force there, and note what became of
// it. The writing itself is in geometry/.
#include "convert/job.h"
#include "diag/trace_log.h"
#include "geometry/duplicate_vertices.h"
#include "geometry/material.h"
#include "geometry/shape_writers.h"

namespace loftbay::convert {

using geometry::ShapeKind;

void obJt2Zix::WriteShape(JtkShape* shape, const char* shape_name) {
  diag::WriteTraceLog("obJt2Zix::WriteShape():Start");
  const int primitive_sets = shape->getPrimitiveSetCount();
  switch (geometry::kindOf(*shape)) {
    case ShapeKind::Surface:
      noteWritten(shape_name, geometry::writeSurface(shapeTarget(), *shape, shape_name, primitive_sets));
      break;
    case ShapeKind::Points:
      if (ignorePoints) {
        notes_.add(Dropped::PointShape, shape_name, primitive_sets);
      } else {
        WritePointElements(shape, shape_name);
      }
      break;
    case ShapeKind::Lines:
      if (ignoreLines) {
        notes_.add(Dropped::LineShape, shape_name, primitive_sets);
      } else {
        Write2DElements(shape, shape_name);
      }
      break;
  }
}

void obJt2Zix::Write2DElements(JtkShape* shape, const char* shape_name) {
  noteWritten(shape_name, geometry::writePolylines(shapeTarget(), *shape, shape_name));
}

void obJt2Zix::WritePointElements(JtkShape* shape, const char* shape_name) {
  noteWritten(shape_name, geometry::writePoints(shapeTarget(), *shape, shape_name));
}

void obJt2Zix::writeTessellatedPart(JtkShape* shape, const char* shape_name) {
  noteWritten(shape_name, geometry::writeTessellation(shapeTarget(), *shape, shape_name));
}

void obJt2Zix::RemoveDuplicateVertices(const std::vector<geometry::Point>& inPoints,
                                       std::vector<geometry::Point>& outPoints, std::uint32_t* indices,
                                       std::size_t indexCount,
                                       const std::vector<geometry::Point>& inCompanion,
                                       std::vector<geometry::Point>& outCompanion) {
  geometry::removeDuplicateVertices(inPoints, outPoints, {indices, indexCount}, inCompanion, outCompanion);
}

void obJt2Zix::WriteMaterial(JtkMaterial* material, const Orb::Zix::ObjectId& mesh) {
  geometry::writeMaterial(scene, material, mesh);
}

geometry::ShapeTarget obJt2Zix::shapeTarget() {
  return {.scene = scene,
          .parent = parentStack.empty() ? nullptr : &parentStack.back(),
          .material = materialStack.empty() ? nullptr : materialStack.back(),
          .uniqueName = [this](const char* name) { return MakeUniqueName(name); },
          .merge_vertices = optimize,
          .prepared = &prepared_shapes_};
}

void obJt2Zix::noteWritten(const char* shape_name, const geometry::WrittenShape& written) {
  if (written.has_mesh) notes_.meshWritten();
  if (written.flattened_triangles != 0)
    notes_.add(Dropped::FlattenedTriangles, shape_name,
               static_cast<std::int64_t>(written.flattened_triangles));
}

}  // namespace loftbay::convert
