// Writes one set of polylines as a line mesh.
#include <algorithm>
#include <cstdint>
#include <numeric>

#include "convert/job.h"
#include "diag/program_seams.h"
#include "diag/trace_log.h"
#include "geometry/shape_arrays.h"

namespace loftbay::convert {

using diag::Counted;
using diag::text;
using diag::WriteTraceLog;

namespace {
constexpr std::string_view kLinePrefix = "obJt2Zix::Write2DElements()";
}

void obJt2Zix::Write2DElements(JtkShape* shape, const char* shape_name) {
  WriteTraceLog(text(kLinePrefix, ":Start"));
  const int primitive_sets = shape->getPrimitiveSetCount();
  if (!beginShape(kLinePrefix, shape_name, primitive_sets)) return;
  auto arrays = geometry::readShape(*shape, {.count_normals = false, .keep_colors = optimize});
  diag::Observer& observer = *diag::programSeams().observer;
  observer.counted(Counted::VerticesRead, arrays.coordinates.size());
  WriteTraceLog(text(kLinePrefix, ":Extracting Coord,Normal,Color is done"));

  std::vector<std::uint32_t> indices(arrays.coordinates.size());
  std::iota(indices.begin(), indices.end(), 0U);
  WriteTraceLog(text(kLinePrefix, ":connectivity is done"));
  // One entry per set; empty sets left no length, so the last entries stay 0.
  std::vector<std::uint32_t> lengths(static_cast<std::size_t>(primitive_sets));
  std::transform(arrays.set_lengths.begin(),
                 arrays.set_lengths.begin() +
                     static_cast<std::ptrdiff_t>(std::min(arrays.set_lengths.size(), lengths.size())),
                 lengths.begin(), [](std::int32_t length) { return static_cast<std::uint32_t>(length); });
  WriteTraceLog(text(kLinePrefix, ":Polylength is done"));
  observer.counted(Counted::Lines, lengths.size());

  mergeVertices(kLinePrefix, arrays, indices);
  const MeshArrays contents = meshArrays(Orb::Zix::MeshType::Lines, arrays.coordinates, indices, lengths);
  endShape(kLinePrefix, shape, writeMesh(kLinePrefix, shape_name, contents));
}

}  // namespace loftbay::convert
