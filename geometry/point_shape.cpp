// Writes one point set as a point mesh.
#include <cstdint>
#include <numeric>

#include "diag/program_seams.h"
#include "diag/trace_log.h"
#include "geometry/mesh.h"
#include "geometry/shape_arrays.h"
#include "geometry/shape_writers.h"

namespace loftbay::geometry {

using diag::Counted;
using diag::text;
using diag::WriteTraceLog;

namespace {
constexpr std::string_view kPointPrefix = "obJt2Zix::WritePointElements()";
}

WrittenShape writePoints(const ShapeTarget& target, JtkShape& shape, const char* name) {
  WriteTraceLog(text(kPointPrefix, ":Start"));
  const int primitive_sets = shape.getPrimitiveSetCount();
  if (!beginShape(kPointPrefix, name, primitive_sets)) return {};
  const auto arrays = readShape(shape, {});
  WriteTraceLog(text(kPointPrefix, ":Extracting Coord,Normal,Color is done"));
  const std::size_t points = arrays.coordinates.size();
  WriteTraceLog(text(kPointPrefix, ": Coord Size  = ", points));
  WriteTraceLog(text(kPointPrefix, ": Color Size  = ", arrays.color_count));

  std::vector<std::uint32_t> indices(points);
  std::iota(indices.begin(), indices.end(), 0U);
  const std::vector<std::uint32_t> lengths(points, 1U);
  diag::Observer& observer = *diag::programSeams().observer;
  observer.counted(Counted::VerticesRead, points);
  observer.counted(Counted::Points, points);
  const MeshContents contents =
      meshContents(Orb::Zix::MeshType::Points, arrays.coordinates, indices, lengths);
  endShape(target, kPointPrefix, shape, writeMesh(target, kPointPrefix, name, contents));
  return {.has_mesh = true};
}

}  // namespace loftbay::geometry
