#include "jttk/brep/face_nodes.h"

namespace jttk::brep {

const Vec3& FaceNodes::normal(std::uint32_t number) {
  Node& node = nodes_[number];
  if (!node.has_normal) {
    node.normal = normalAt(geometry_, domain_.surface, node.uv, node.uv);
    node.singular = node.normal == Vec3{};
    // Copies of a pole have different normals: the limit along their own meridian.
    if (node.singular) {
      node.normal = normalAt(geometry_, domain_.surface, node.uv, {node.uv.u, domain_.center.v});
      if (node.normal == Vec3{}) node.normal = normalAt(geometry_, domain_.surface, node.uv, domain_.center);
    }
    node.has_normal = true;
  }
  return node.normal;
}

Vec3 FaceNodes::normalAtCorner(const Triangulation::Triangle& triangle, std::size_t corner) {
  const Vec3 own = normal(triangle.corner[corner]);
  const Node& node = nodes_[triangle.corner[corner]];
  if (!node.singular) return own;
  Vec2 sum;
  int count = 0;
  for (const std::uint32_t other : triangle.corner) {
    (void)normal(other);
    if (nodes_[other].singular) continue;
    sum = sum + nodes_[other].uv;
    ++count;
  }
  if (count == 0) return own;
  const Vec2 toward = sum * (1.0 / count);
  const SurfacePoint s = geometry_.at(domain_.surface, node.uv);
  const bool free_u = length(s.du) < length(s.dv);
  const Vec2 uv{free_u ? toward.u : node.uv.u, free_u ? node.uv.v : toward.v};
  const Vec3 made = normalAt(geometry_, domain_.surface, uv, toward);
  return made == Vec3{} ? own : made;
}

}  // namespace jttk::brep
