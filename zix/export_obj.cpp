// Wavefront OBJ: text; points are numbered from 1 over the whole file.
#include <cmath>
#include <vector>

#include "host/number_text.h"
#include "host/shown_text.h"
#include "zix/export.h"
#include "zix/output_file.h"
#include "zix/scene_meshes.h"

namespace Orb::Zix {

namespace {

class ObjWriter {
 public:
  explicit ObjWriter(OutputFile& file) : file_(file) {}

  template <typename T>
  ObjWriter& number(T value) {
    return text(loftbay::host::NumberText(value).view());
  }

  ObjWriter& text(std::string_view value) {
    if (!failure_) failure_ = file_.append(value);
    return *this;
  }

  [[nodiscard]] const std::optional<OutputFailure>& failure() const { return failure_; }

 private:
  OutputFile& file_;
  std::optional<OutputFailure> failure_;
};

char keywordOf(MeshType type) {
  switch (type) {
    case MeshType::Triangles:
      return 'f';
    case MeshType::Lines:
      return 'l';
    case MeshType::Points:
      return 'p';
  }
  return 'p';
}

// Writes the points. `is_finite` says of each whether it was a finite number; others stand as 0 0 0, so that
// the numbering keeps, and nothing refers to them.
void writePoints(ObjWriter& out, const MeshArrays& mesh, const Matrix& world, std::vector<bool>& is_finite) {
  is_finite.assign(mesh.pointCount(), true);
  for (std::size_t i = 0; i < is_finite.size(); ++i) {
    const auto point = mesh.point(i);
    auto placed = world.apply(static_cast<double>(point[0]), static_cast<double>(point[1]),
                              static_cast<double>(point[2]));
    for (const double value : placed) {
      if (!(std::abs(value) <= static_cast<double>(std::numeric_limits<float>::max()))) is_finite[i] = false;
    }
    if (!is_finite[i]) placed = {0, 0, 0};
    out.text("v");
    for (const double value : placed) out.text(" ").number(static_cast<float>(value));
    out.text("\n");
  }
}

}  // namespace

ExportResult exportObj(const SceneFile& scene, std::string_view program_path) {
  OutputFile file;
  if (auto failure = file.open(program_path)) return tl::unexpected(failure->text());
  ObjWriter out(file);
  out.text("# A Zix scene; lengths in the scene's own unit, usually mm\n");
  ExportSummary summary;
  std::uint64_t first_point = 1;
  std::vector<bool> is_finite;
  for (const PlacedMesh& placed : placedMeshes(scene)) {
    const MeshArrays mesh = meshArrays(scene, placed.mesh);
    const std::uint32_t shape = scene.object(placed.mesh).parent;
    out.text("o ")
        .text(loftbay::host::shownText(scene.name(shape == format::kNone ? placed.mesh : shape)))
        .text("\n");
    writePoints(out, mesh, placed.world, is_finite);
    const bool mirrors = mesh.type == MeshType::Triangles && placed.world.mirrors();
    const std::uint64_t before = summary.written;
    forEachElement(mesh, [&](std::span<const std::uint32_t> element) {
      // OBJ has no line of one point.
      if (element.size() < (mesh.type == MeshType::Lines ? 2 : 1)) return;
      for (const std::uint32_t index : element) {
        if (!is_finite[index]) return;
      }
      const char keyword[2] = {keywordOf(mesh.type), '\0'};
      out.text(keyword);
      for (std::size_t k = 0; k < element.size(); ++k) {
        const std::uint32_t index = mirrors && k > 0 ? element[3 - k] : element[k];
        out.text(" ").number(first_point + index);
      }
      out.text("\n");
      ++summary.written;
    });
    summary.left_out += mesh.lengths.size() - (summary.written - before);
    first_point += mesh.pointCount();
    if (out.failure()) break;
  }
  if (out.failure()) return tl::unexpected(out.failure()->text());
  if (auto failure = file.commit()) return tl::unexpected(failure->text());
  return summary;
}

}  // namespace Orb::Zix
