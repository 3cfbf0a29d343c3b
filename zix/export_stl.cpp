// Binary STL: 80 bytes of text, the number of triangles (u32), then 50 bytes per triangle: normal and three
// corners (12 floats) and an attribute count of 0.
#include <cmath>
#include <cstring>

#include "zix/export.h"
#include "zix/output_file.h"
#include "zix/scene_meshes.h"

namespace Orb::Zix {

namespace {

using Point = std::array<float, 3>;

struct StlTriangle {
  Point normal;
  Point corners[3];
};
constexpr std::size_t kRecordSize = 50;
static_assert(sizeof(StlTriangle) == 48);

// The corner as STL stores it, or false when it is no finite number there.
bool place(const Matrix& world, const Point& point, Point& placed) {
  const auto result = world.apply(static_cast<double>(point[0]), static_cast<double>(point[1]),
                                  static_cast<double>(point[2]));
  for (std::size_t k = 0; k < 3; ++k) {
    // A double beyond the range of float cannot be converted.
    if (!(std::abs(result[k]) <= static_cast<double>(std::numeric_limits<float>::max()))) return false;
    placed[k] = static_cast<float>(result[k]);
  }
  return true;
}

// Of length 1, or 0 for a triangle without area.
Point normalOf(const Point (&corners)[3]) {
  double u[3];
  double v[3];
  for (std::size_t k = 0; k < 3; ++k) {
    u[k] = static_cast<double>(corners[1][k]) - static_cast<double>(corners[0][k]);
    v[k] = static_cast<double>(corners[2][k]) - static_cast<double>(corners[0][k]);
  }
  const double n[3] = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
  const double length = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
  if (!(length > 0)) return {0, 0, 0};
  return {static_cast<float>(n[0] / length), static_cast<float>(n[1] / length),
          static_cast<float>(n[2] / length)};
}

}  // namespace

ExportResult exportStl(const SceneFile& scene, std::string_view program_path) {
  OutputFile file;
  ExportSummary summary;
  auto failure = file.open(program_path);
  char header[80] = "Triangles of a Zix scene; lengths in the scene's own unit, usually mm";
  std::uint32_t count = 0;
  if (!failure) failure = file.append(std::as_bytes(std::span(header)));
  if (!failure) failure = file.append(std::as_bytes(std::span(&count, 1)));
  for (const PlacedMesh& placed : placedMeshes(scene)) {
    if (failure) break;
    const MeshArrays mesh = meshArrays(scene, placed.mesh);
    if (mesh.type != MeshType::Triangles) continue;
    const bool mirrors = placed.world.mirrors();
    const std::uint64_t before = summary.written;
    forEachElement(mesh, [&](std::span<const std::uint32_t> element) {
      StlTriangle triangle{};
      for (std::size_t k = 0; k < 3; ++k) {
        // A mirrored triangle would turn its inside out.
        const std::uint32_t index = mirrors && k > 0 ? element[3 - k] : element[k];
        if (!place(placed.world, mesh.point(index), triangle.corners[k])) return;
      }
      triangle.normal = normalOf(triangle.corners);
      std::array<std::byte, kRecordSize> record{};
      std::memcpy(record.data(), &triangle, sizeof(triangle));
      if (!failure) failure = file.append(record);
      ++summary.written;
    });
    summary.left_out += mesh.lengths.size() - (summary.written - before);
  }
  if (!failure && summary.written > 0xFFFFFFFFU) {
    return tl::unexpected("STL holds at most 4294967295 triangles; the scene has " +
                          std::to_string(summary.written));
  }
  count = static_cast<std::uint32_t>(summary.written);
  if (!failure) failure = file.overwrite(sizeof(header), std::as_bytes(std::span(&count, 1)));
  if (!failure) failure = file.commit();
  if (failure) return tl::unexpected(failure->text());
  return summary;
}

}  // namespace Orb::Zix
