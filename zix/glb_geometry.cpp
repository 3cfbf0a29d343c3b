#include "zix/glb_geometry.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace Orb::Zix {

namespace {

bool isFinite(const std::array<float, 3>& point) {
  return std::isfinite(point[0]) && std::isfinite(point[1]) && std::isfinite(point[2]);
}

// Calls `visit(element)` for every element that is written.
template <typename Visit>
void forEachWritten(const MeshArrays& mesh, Visit visit) {
  forEachElement(mesh, [&](std::span<const std::uint32_t> element) {
    if (element.size() < (mesh.type == MeshType::Lines ? 2 : 1)) return;
    for (const std::uint32_t index : element) {
      if (!isFinite(mesh.point(index))) return;
    }
    visit(element);
  });
}

// Collects small pieces into larger ones.
class Pieces {
 public:
  explicit Pieces(const GlbAppend& append) : append_(append) { buffer_.reserve(kFull); }
  ~Pieces() { flush(); }
  Pieces(const Pieces&) = delete;
  Pieces& operator=(const Pieces&) = delete;

  template <typename T>
  void add(const T& value) {
    const auto bytes = std::as_bytes(std::span(&value, 1));
    buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
    if (buffer_.size() >= kFull) flush();
  }
  void flush() {
    append_(buffer_);
    buffer_.clear();
  }

 private:
  static constexpr std::size_t kFull = std::size_t{1} << 16;
  const GlbAppend& append_;
  std::vector<std::byte> buffer_;
};

// A polyline becomes separate lines.
std::uint64_t indicesOf(MeshType type, std::span<const std::uint32_t> element) {
  return type == MeshType::Lines ? 2 * (element.size() - 1) : element.size();
}

}  // namespace

GlbContent contentOf(const SceneFile& scene, std::uint32_t mesh) {
  GlbContent content{meshArrays(scene, mesh), {}};
  if (content.arrays.type == MeshType::Triangles) content.smooth = smoothMesh(content.arrays);
  return content;
}

GlbGeometry measure(std::uint32_t mesh, const GlbContent& content) {
  const MeshArrays& arrays = content.arrays;
  GlbGeometry geometry{.mesh = mesh, .type = arrays.type};
  if (arrays.type == MeshType::Triangles) {
    geometry.point_count = geometry.normal_count = content.smooth.vertices.size();
    geometry.index_count = content.smooth.corners.size();
    geometry.element_count = geometry.index_count / 3;
    for (const SmoothMesh::Vertex& vertex : content.smooth.vertices) {
      const auto [x, y, z] = arrays.point(vertex.point);
      geometry.box.add(x, y, z);
    }
    return geometry;
  }
  geometry.point_count = arrays.pointCount();
  geometry.box = localBounds(arrays);
  if (!geometry.box.empty()) geometry.stand_in = geometry.box.low;
  forEachWritten(arrays, [&](std::span<const std::uint32_t> element) {
    ++geometry.element_count;
    geometry.index_count += indicesOf(arrays.type, element);
  });
  return geometry;
}

bool writePositions(const GlbGeometry& geometry, const GlbContent& content, const GlbAppend& append) {
  const MeshArrays& mesh = content.arrays;
  Pieces out(append);
  if (geometry.type == MeshType::Triangles) {
    for (const SmoothMesh::Vertex& vertex : content.smooth.vertices) out.add(mesh.point(vertex.point));
    return content.smooth.vertices.size() == geometry.point_count;
  }
  if (mesh.pointCount() != geometry.point_count) return false;
  for (std::size_t i = 0; i < mesh.pointCount(); ++i) {
    const auto point = mesh.point(i);
    out.add(isFinite(point) ? point : geometry.stand_in);
  }
  return true;
}

bool writeNormals(const GlbGeometry& geometry, const GlbContent& content, const GlbAppend& append) {
  Pieces out(append);
  for (const SmoothMesh::Vertex& vertex : content.smooth.vertices) out.add(vertex.normal);
  return content.smooth.vertices.size() == geometry.normal_count;
}

bool writeIndices(const GlbGeometry& geometry, const GlbContent& content, const GlbAppend& append) {
  const MeshArrays& mesh = content.arrays;
  if (mesh.type != geometry.type) return false;
  Pieces out(append);
  if (mesh.type == MeshType::Triangles) {
    for (const std::uint32_t corner : content.smooth.corners) out.add(corner);
    return content.smooth.corners.size() == geometry.index_count;
  }
  std::uint64_t index_count = 0;
  forEachWritten(mesh, [&](std::span<const std::uint32_t> element) {
    index_count += indicesOf(mesh.type, element);
    if (mesh.type != MeshType::Lines) {
      for (const std::uint32_t index : element) out.add(index);
      return;
    }
    for (std::size_t k = 1; k < element.size(); ++k) {
      out.add(element[k - 1]);
      out.add(element[k]);
    }
  });
  return index_count == geometry.index_count;
}

}  // namespace Orb::Zix
