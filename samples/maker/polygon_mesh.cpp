#include "samples/maker/polygon_mesh.h"

#include <algorithm>
#include <stdexcept>

namespace loftbay::maker {
namespace {

constexpr std::uint32_t kNone = PolygonMesh::kNone;

// Pairs each edge with the one that runs the other way between the same positions. An edge with more than one
// partner, or with one that runs in the same direction, stays unpaired.
void findTwins(PolygonMesh& mesh, const Shape& shape) {
  const auto count = static_cast<std::uint32_t>(mesh.polygon.size());
  const auto& at = shape.corner_positions;
  mesh.twin.assign(count, kNone);
  std::vector<std::uint32_t> starts(shape.positions.size() + 1, 0);
  const auto lower = [&](std::uint32_t c) { return std::min(at[c], at[mesh.next(c)]); };
  const auto upper = [&](std::uint32_t c) { return std::max(at[c], at[mesh.next(c)]); };
  for (std::uint32_t c = 0; c < count; ++c) {
    if (at[c] == at[mesh.next(c)]) throw std::invalid_argument("a polygon names a position twice in a row");
    ++starts[lower(c) + 1];
  }
  for (std::size_t i = 1; i < starts.size(); ++i) starts[i] += starts[i - 1];
  std::vector<std::uint32_t> edges(count);
  auto place = starts;
  for (std::uint32_t c = 0; c < count; ++c) edges[place[lower(c)]++] = c;

  for (std::size_t v = 0; v + 1 < starts.size(); ++v) {
    const auto begin = edges.begin() + starts[v];
    const auto end = edges.begin() + starts[v + 1];
    std::sort(begin, end, [&](std::uint32_t a, std::uint32_t b) {
      return upper(a) != upper(b) ? upper(a) < upper(b) : a < b;
    });
    for (auto i = begin; i != end;) {
      auto j = i;
      while (j != end && upper(*j) == upper(*i)) ++j;
      if (j - i == 2 && at[i[0]] != at[i[1]]) {
        mesh.twin[i[0]] = i[1];
        mesh.twin[i[1]] = i[0];
      }
      i = j;
    }
  }
}

// Every fan of polygons around a position becomes a vertex of its own.
void makeVertices(PolygonMesh& mesh, const Shape& shape) {
  const auto count = static_cast<std::uint32_t>(mesh.polygon.size());
  mesh.vertex.assign(count, kNone);
  for (std::uint32_t c = 0; c < count; ++c) {
    if (mesh.vertex[c] != kNone) continue;
    std::uint32_t first = c;  // the clockwise end of the fan, or c again
    while (mesh.twin[first] != kNone) {
      first = mesh.turnRight(first);
      if (first == c) break;
    }
    const auto v = static_cast<std::uint32_t>(mesh.position.size());
    mesh.position.push_back(shape.corner_positions[c]);
    mesh.degree.push_back(0);
    for (std::uint32_t k = first;;) {
      mesh.vertex[k] = v;
      ++mesh.degree[v];
      k = mesh.turnLeft(k);
      if (k == kNone || k == first) break;
    }
  }
}

// Walks along every hole and puts a polygon over it.
void addCovers(PolygonMesh& mesh) {
  const auto count = static_cast<std::uint32_t>(mesh.polygon.size());
  for (std::uint32_t c = 0; c < count; ++c) {
    if (mesh.twin[c] != kNone) continue;
    const auto cover = static_cast<std::uint32_t>(mesh.polygon_starts.size() - 1);
    std::uint32_t edge = c;
    do {
      const auto corner = static_cast<std::uint32_t>(mesh.polygon.size());
      const std::uint32_t v = mesh.vertex[mesh.next(edge)];
      mesh.polygon.push_back(cover);
      mesh.vertex.push_back(v);
      ++mesh.degree[v];
      mesh.twin.push_back(edge);
      mesh.twin[edge] = corner;
      // On to the hole's edge that ends where this one begins.
      std::uint32_t k = edge;
      while (mesh.twin[mesh.previous(k)] != kNone && mesh.previous(k) != c) k = mesh.turnLeft(k);
      edge = mesh.previous(k);
    } while (edge != c);
    mesh.polygon_starts.push_back(static_cast<std::uint32_t>(mesh.polygon.size()));
  }
}

}  // namespace

PolygonMesh buildMesh(const Shape& shape) {
  PolygonMesh mesh;
  mesh.polygon_starts = shape.primitive_starts;
  mesh.real_polygons = static_cast<std::uint32_t>(shape.primitiveCount());
  mesh.polygon.resize(shape.corner_positions.size());
  for (std::uint32_t p = 0; p < mesh.real_polygons; ++p) {
    for (auto c = mesh.polygon_starts[p]; c < mesh.polygon_starts[p + 1]; ++c) mesh.polygon[c] = p;
  }
  findTwins(mesh, shape);
  makeVertices(mesh, shape);
  addCovers(mesh);
  return mesh;
}

}  // namespace loftbay::maker
