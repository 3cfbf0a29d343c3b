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

GlbGeometry measure(std::uint32_t mesh, const MeshArrays& arrays) {
  GlbGeometry geometry{mesh, arrays.type, arrays.pointCount(), 0, 0, localBounds(arrays), {}, {}, {}};
  if (!geometry.box.empty()) geometry.stand_in = geometry.box.low;
  forEachWritten(arrays, [&](std::span<const std::uint32_t> element) {
    ++geometry.element_count;
    geometry.index_count += indicesOf(arrays.type, element);
  });
  return geometry;
}

bool writePositions(const GlbGeometry& geometry, const MeshArrays& mesh, const GlbAppend& append) {
  if (mesh.pointCount() != geometry.point_count) return false;
  Pieces out(append);
  for (std::size_t i = 0; i < mesh.pointCount(); ++i) {
    const auto point = mesh.point(i);
    out.add(isFinite(point) ? point : geometry.stand_in);
  }
  return true;
}

bool writeIndices(const GlbGeometry& geometry, const MeshArrays& mesh, const GlbAppend& append) {
  if (mesh.type != geometry.type) return false;
  Pieces out(append);
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
