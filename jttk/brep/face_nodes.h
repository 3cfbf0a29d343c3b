// The points of one face's triangulation: where they lie on the surface, and the normals there.
#pragma once

#include <cstdint>
#include <vector>

#include "jttk/brep/delaunay.h"
#include "jttk/brep/face_domain.h"
#include "jttk/brep/geometry.h"

namespace jttk::brep {

// A point by its number in the triangulation. Those of the triangulation's frame are no points of the face.
class FaceNodes {
 public:
  struct Node {
    Vec2 uv;
    std::uint32_t id = 0;  // of the body's points
    Vec3 normal;
    bool has_normal = false;
    bool singular = false;  // a pole: many normals meet there; known with the normal
  };

  // Both must outlive this.
  FaceNodes(Geometry& geometry, const FaceDomain& domain)
      : geometry_(geometry), domain_(domain), nodes_(Triangulation::kFramePoints) {}

  [[nodiscard]] std::size_t size() const { return nodes_.size(); }
  const Node& operator[](std::uint32_t number) const { return nodes_[number]; }
  void add(Vec2 uv, std::uint32_t id) { nodes_.push_back({uv, id, {}, false, false}); }

  // Of the surface at a point, a unit vector, computed once; null where it has none. At a pole the limit
  // along the point's own meridian.
  const Vec3& normal(std::uint32_t number);
  // Of a triangle's corner. At a pole it is taken per triangle: the limit along the direction of the mean of
  // the triangle's other corners.
  Vec3 normalAtCorner(const Triangulation::Triangle& triangle, std::size_t corner);

 private:
  Geometry& geometry_;
  const FaceDomain& domain_;
  std::vector<Node> nodes_;
};

}  // namespace jttk::brep
