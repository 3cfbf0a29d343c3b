// Distance of points from a triangle mesh, by a tree of boxes.
#pragma once

#include <cstddef>
#include <vector>

#include "jttk/brep/vec.h"

namespace jttk::brep {

class MeshDistance {
 public:
  struct Triangle {
    Vec3 a, b, c;
  };

  explicit MeshDistance(std::vector<Triangle> triangles);

  // Looks no further once it is `enough` or less, and gives a distance that is no more then.
  [[nodiscard]] double from(const Vec3& p, double enough = 0) const;

 private:
  struct Node {
    Vec3 low, high;
    std::size_t first = 0, last = 0, left = 0, right = 0;
  };

  static double toBox(const Vec3& p, const Node& n);
  std::size_t build(std::size_t first, std::size_t last);

  std::vector<Triangle> triangles_;
  std::vector<Node> nodes_;
};

}  // namespace jttk::brep
