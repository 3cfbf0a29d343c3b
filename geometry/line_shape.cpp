// Writes one set of polylines as a line mesh.
#include <algorithm>
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

constexpr std::string_view kLinePrefix = "obJt2Zix::Write2DElements()";

// One entry per set; empty sets left no length, so the last entries stay 0.
std::vector<std::uint32_t> polylineLengths(const std::vector<std::int32_t>& set_lengths, int primitive_sets) {
  std::vector<std::uint32_t> lengths(static_cast<std::size_t>(primitive_sets));
  std::transform(
      set_lengths.begin(),
      set_lengths.begin() + static_cast<std::ptrdiff_t>(std::min(set_lengths.size(), lengths.size())),
      lengths.begin(), [](std::int32_t length) { return static_cast<std::uint32_t>(length); });
  return lengths;
}

}  // namespace

WrittenShape writePolylines(const ShapeTarget& target, JtkShape& shape, const char* name) {
  WriteTraceLog(text(kLinePrefix, ":Start"));
  const int primitive_sets = shape.getPrimitiveSetCount();
  if (!beginShape(kLinePrefix, name, primitive_sets)) return {};
  auto arrays = readShape(shape, {.count_normals = false, .keep_colors = target.merge_vertices});
  diag::Observer& observer = *diag::programSeams().observer;
  observer.counted(Counted::VerticesRead, arrays.coordinates.size());
  WriteTraceLog(text(kLinePrefix, ":Extracting Coord,Normal,Color is done"));

  std::vector<std::uint32_t> indices(arrays.coordinates.size());
  std::iota(indices.begin(), indices.end(), 0U);
  WriteTraceLog(text(kLinePrefix, ":connectivity is done"));
  const auto lengths = polylineLengths(arrays.set_lengths, primitive_sets);
  WriteTraceLog(text(kLinePrefix, ":Polylength is done"));
  observer.counted(Counted::Lines, lengths.size());

  if (target.merge_vertices) {
    mergeVertices(kLinePrefix, arrays, indices);
  } else {
    logSizes(kLinePrefix, arrays);
  }
  const MeshContents contents = meshContents(Orb::Zix::MeshType::Lines, arrays.coordinates, indices, lengths);
  endShape(target, kLinePrefix, shape, writeMesh(target, kLinePrefix, name, contents));
  return {.has_mesh = true};
}

}  // namespace loftbay::geometry
