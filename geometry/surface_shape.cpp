// Tells surfaces from points and lines, and writes a surface's triangle strips as a triangle mesh.
#include <algorithm>
#include <cstdint>
#include <utility>

#include "diag/program_seams.h"
#include "diag/trace_log.h"
#include "geometry/duplicate_vertices.h"
#include "geometry/mesh.h"
#include "geometry/prepared_shapes.h"
#include "geometry/shape_arrays.h"
#include "geometry/shape_writers.h"
#include "geometry/strips.h"

namespace loftbay::geometry {

using diag::Counted;
using diag::text;
using diag::WriteTraceLog;

namespace {

constexpr std::string_view kSurfacePrefix = "obJt2Zix::WriteShape()";

// Entries: vertices less 2 per set, none if that is negative. That is not the number of triangles made if
// strips have fewer than two vertices.
std::vector<std::uint32_t> triangleLengths(std::size_t coordinates, int primitive_sets) {
  const auto triangles = static_cast<std::int32_t>(static_cast<std::uint32_t>(coordinates) -
                                                   2U * static_cast<std::uint32_t>(primitive_sets));
  return std::vector<std::uint32_t>(triangles < 1 ? 0 : static_cast<std::size_t>(triangles),
                                    kTriangleCorners);
}

// Of the triangles of three different points, how many the merging has made thinner. `before` has what the
// coordinates were.
std::size_t flattenedTriangles(std::span<const Point> before, std::span<const std::int32_t> strips,
                               const PreparedShape& after) {
  return trianglesOfThreePoints(before, trianglesOfStrips(strips)) -
         trianglesOfThreePoints(after.coordinates, after.indices);
}

}  // namespace

ShapeKind kindOf(const JtkShape& shape) {
  const auto is = [&shape](JtkEntity::TypeID type) { return shape.isOfType(type) == 1; };
  if (is(JtkEntity::JtkTRISTRIPSET)) return ShapeKind::Surface;
  if (is(JtkEntity::JtkPOINTSET)) return ShapeKind::Points;
  if (is(JtkEntity::JtkSHAPE) || is(JtkEntity::JtkNULLSHAPE) || is(JtkEntity::JtkPRIMITIVESET))
    return ShapeKind::Surface;
  if (is(JtkEntity::JtkLINESTRIPSET)) return ShapeKind::Lines;
  return ShapeKind::Surface;  // polygons, primitives, and whatever else there is
}

WrittenShape writeSurface(const ShapeTarget& target, JtkShape& shape, const char* name, int primitive_sets) {
  if (!beginShape(kSurfacePrefix, name, primitive_sets)) return {};
  const bool merge = target.merge_vertices;
  const PreparedShapes::Manner manner{ShapeKind::Surface, merge};
  // The stages of a shape that was written before are only told.
  const auto known = target.prepared != nullptr ? target.prepared->find(shape, manner) : nullptr;
  PreparedShape made;
  const PreparedShape& prepared = known != nullptr ? *known : made;
  std::vector<std::int32_t> strips;
  if (known == nullptr) {
    auto arrays = readShape(shape, {.count_normals = !merge});
    made.take(arrays);
    strips = std::move(arrays.set_lengths);
    // Lengths may be fewer than the sets (empty ones are not recorded): then the strips end early.
    strips.resize(std::min(strips.size(), static_cast<std::size_t>(primitive_sets)));
  }
  diag::Observer& observer = *diag::programSeams().observer;
  observer.counted(Counted::VerticesRead, prepared.vertices_read);
  WriteTraceLog(text(kSurfacePrefix, ":Extracting Coord,Normal,Color is done"));

  if (known == nullptr && !merge) made.indices = trianglesOfStrips(strips);
  WriteTraceLog(text(kSurfacePrefix, ":connectivity is done"));
  if (known == nullptr) made.lengths = triangleLengths(made.vertices_read, primitive_sets);
  WriteTraceLog(text(kSurfacePrefix, ":Polylength is done"));
  observer.counted(Counted::Triangles,
                   known != nullptr ? known->indices.size() / kTriangleCorners : countTriangles(strips));
  if (merge) {
    logMergeStart(kSurfacePrefix);
    if (known == nullptr) {
      const MergedVertices merged = made.merge();
      // Made only now, so that they need not be renamed.
      made.indices = trianglesOfStrips(strips, merged.vertex_of);
      // `unique` has been exchanged for what was read.
      if (merged.has_rounded) made.flattened_triangles = flattenedTriangles(merged.unique, strips, made);
    }
    logMerge(kSurfacePrefix, prepared);
  } else {
    logSizes(kSurfacePrefix, prepared);
  }
  const MeshContents contents =
      meshContents(Orb::Zix::MeshType::Triangles, prepared.coordinates, prepared.indices, prepared.lengths);
  endShape(target, kSurfacePrefix, shape, writeMesh(target, kSurfacePrefix, name, contents));
  const WrittenShape result{.has_mesh = true, .flattened_triangles = prepared.flattened_triangles};
  if (known == nullptr && target.prepared != nullptr) target.prepared->keep(shape, manner, std::move(made));
  return result;
}

}  // namespace loftbay::geometry
