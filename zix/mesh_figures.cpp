#include "zix/mesh_figures.h"

#include <algorithm>
#include <cstddef>
#include <span>

#include "zix/array_facts.h"

namespace Orb::Zix {

using format::kNone;

namespace {

PieceReader piecesOf(const SceneFile& scene, std::uint32_t chunk) {
  return chunk == kNone ? PieceReader(scene, 0, 0) : scene.chunkPieces(chunk);
}

// The values of an index array one after the other.
class IndexStream {
 public:
  IndexStream(const SceneFile& scene, std::uint32_t index_array)
      : pieces_(piecesOf(scene, index_array == kNone ? kNone : scene.indexArray(index_array).chunk)) {}

  // Empty at the end.
  std::span<const std::uint32_t> nextPiece() { return array_facts::valuesIn<std::uint32_t>(pieces_.next()); }

  // Takes the next `count` values, which must exist. True when all are below `limit`.
  bool nextAreBelow(std::uint64_t limit, std::uint64_t count) {
    bool all = true;
    while (count > 0) {
      if (held_.empty()) held_ = nextPiece();
      const auto part = held_.first(static_cast<std::size_t>(std::min<std::uint64_t>(count, held_.size())));
      for (const std::uint32_t index : part) all = all && index < limit;
      held_ = held_.subspan(part.size());
      count -= part.size();
    }
    return all;
  }

 private:
  PieceReader pieces_;
  std::span<const std::uint32_t> held_;
};

}  // namespace

std::uint64_t pointCount(const SceneFile& scene, std::uint32_t mesh) {
  return valueCount(scene, kCoordinatesOfMesh, mesh);
}

std::uint64_t indexCount(const SceneFile& scene, std::uint32_t mesh) {
  return valueCount(scene, kIndicesOfMesh, mesh);
}

std::uint64_t elementCount(const SceneFile& scene, std::uint32_t mesh) {
  return valueCount(scene, kLengthsOfMesh, mesh);
}

std::uint64_t wholeElementCount(const SceneFile& scene, std::uint32_t mesh) {
  const format::MeshRecord record = scene.mesh(mesh);
  const bool must_be_three = static_cast<MeshType>(record.mesh_type) == MeshType::Triangles;
  const std::uint64_t points = pointCount(scene, mesh);
  std::uint64_t rest = indexCount(scene, mesh);
  std::uint64_t count = 0;
  IndexStream indices(scene, record.indices);
  IndexStream lengths(scene, record.lengths);
  for (auto piece = lengths.nextPiece(); !piece.empty(); piece = lengths.nextPiece()) {
    for (const std::uint32_t length : piece) {
      if (length > rest) return count;
      rest -= length;
      const bool whole = indices.nextAreBelow(points, length);
      if (whole && (length == 3 || !must_be_three)) ++count;
    }
  }
  return count;
}

void addBounds(const SceneFile& scene, std::uint32_t mesh, const Matrix& world, BoxF& local, BoxD& placed) {
  const std::uint32_t coordinates = scene.mesh(mesh).coordinates;
  if (coordinates == kNone) return;
  const format::CoordinatesRecord record = scene.coordinates(coordinates);
  PieceReader pieces = piecesOf(scene, record.chunk);
  for (auto piece = pieces.next(); !piece.empty(); piece = pieces.next()) {
    const auto values = array_facts::valuesIn<float>(piece);
    addPoints(local, values, record.dimension);
    addPlacedPoints(placed, values, record.dimension, world);
  }
}

}  // namespace Orb::Zix
