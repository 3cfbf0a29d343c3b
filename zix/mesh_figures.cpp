#include "zix/mesh_figures.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
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

std::uint64_t MeshFigures::wholeElements(std::uint32_t mesh) {
  const format::MeshRecord record = scene_.mesh(mesh);
  const auto [known, is_new] = whole_elements_.try_emplace({record.mesh_type, pointCount(scene_, mesh),
                                                            kIndicesOfMesh.chunkOf(scene_, record.indices),
                                                            kLengthsOfMesh.chunkOf(scene_, record.lengths)});
  if (is_new) known->second = wholeElementCount(scene_, mesh);
  return known->second;
}

MeshFigures::Points& MeshFigures::pointsOf(std::uint32_t mesh) {
  const std::uint32_t object = scene_.mesh(mesh).coordinates;
  const std::uint32_t chunk = kCoordinatesOfMesh.chunkOf(scene_, object);
  const std::uint32_t dimension = object == kNone ? 3 : scene_.coordinates(object).dimension;
  const auto [known, is_new] = points_.try_emplace({chunk, dimension});
  if (is_new) {
    PieceReader pieces = piecesOf(scene_, chunk);
    for (auto piece = pieces.next(); !piece.empty(); piece = pieces.next())
      addPoints(known->second.box, array_facts::valuesIn<float>(piece), dimension);
  }
  return known->second;
}

const BoxF& MeshFigures::bounds(std::uint32_t mesh) { return pointsOf(mesh).box; }

void MeshFigures::addPlaced(std::uint32_t mesh, const Matrix& world, BoxD& placed) {
  Points& points = pointsOf(mesh);
  // As bits: what is not finite equals nothing.
  if (points.last && std::memcmp(&points.last->m, &world.m, sizeof(world.m)) == 0) return;
  points.last = world;
  placed_points_ += pointCount(scene_, mesh);
  if (placed_points_ <= kMostPlacedPoints) {
    BoxF local;  // is known
    addBounds(scene_, mesh, world, local, placed);
    return;
  }
  if (points.box.empty()) return;
  for (unsigned corner = 0; corner < 8; ++corner) {
    std::array<float, 3> point{};
    for (std::size_t k = 0; k < 3; ++k)
      point[k] = (corner >> k & 1U) != 0 ? points.box.high[k] : points.box.low[k];
    addPlacedPoints(placed, point, 3, world);
  }
}

}  // namespace Orb::Zix
