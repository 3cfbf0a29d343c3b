// A face in the parameter plane of its surface: its loops as polygons with the region on their left, cut open
// along a seam where the face winds round the surface, with a row of points for a pole.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "jttk/brep/bodies.h"

namespace jttk::brep {

// A piece of a loop that lies on no edge: of a seam, or between the copies of a pole.
inline constexpr std::uint32_t kNoEdge = 0xffffffffU;

// A mesh point on a loop. `edge` is the edge from here to the loop's next point.
struct LoopPoint {
  std::uint32_t id = 0;
  std::uint32_t edge = kNoEdge;
};

struct DomainPoint {
  Vec2 uv;
  std::uint32_t id = 0;
  std::uint32_t edge = kNoEdge;
};

using DomainLoop = std::vector<DomainPoint>;

DomainLoop moved(DomainLoop loop, Vec2 by);
// So that it runs against its former direction.
void reverseLoop(DomainLoop& loop);
// Whether p lies inside the polygon.
[[nodiscard]] bool isInside(const DomainLoop& polygon, Vec2 p);

// A request to sample an edge more finely: the edge, and the factor for its tolerance. A quarter makes about
// twice as many pieces, because how far a piece strays falls with the square of its length.
struct EdgeWish {
  std::uint32_t edge = kNoEdge;
  double factor = 0.25;
};

struct FaceDomain {
  Surface surface;       // the face's; a sphere may have other axes
  bool flipped = false;  // the face's normal is against Pu x Pv
  Vec2 scale{1, 1};      // metres per unit of u and v, on the average
  Vec2 stretch{1, 1};    // applied after `scale`, to make curvature about equal; the product is 1
  std::vector<DomainLoop> loops;
  Vec2 center;
  Result<void> usable;  // the error says why the face has no domain; `wishes` count all the same
  // Edges that are not straight enough in the parameter plane. The domain is usable, but between such an edge
  // and its straight image the mesh leaves the face.
  std::vector<EdgeWish> wishes;
};

}  // namespace jttk::brep
