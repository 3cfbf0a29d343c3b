#include "jttk/brep/face_domain.h"

#include <algorithm>

namespace jttk::brep {

DomainLoop moved(DomainLoop loop, Vec2 by) {
  for (DomainPoint& p : loop) p.uv = p.uv + by;
  return loop;
}

void reverseLoop(DomainLoop& loop) {
  if (loop.empty()) return;
  std::reverse(loop.begin(), loop.end());
  // A point's `edge` is that of the piece after it: in the reversed loop, of the piece that was before it.
  const std::uint32_t first = loop.front().edge;
  for (std::size_t i = 0; i + 1 < loop.size(); ++i) loop[i].edge = loop[i + 1].edge;
  loop.back().edge = first;
}

// Even-odd rule: a ray from p crosses the polygon an odd number of times.
bool isInside(const DomainLoop& polygon, Vec2 p) {
  bool inside = false;
  for (std::size_t i = 0, j = polygon.size() - 1; i < polygon.size(); j = i++) {
    const Vec2 a = polygon[i].uv;
    const Vec2 b = polygon[j].uv;
    if ((a.v > p.v) != (b.v > p.v) && p.u < (b.u - a.u) * (p.v - a.v) / (b.v - a.v) + a.u) inside = !inside;
  }
  return inside;
}

}  // namespace jttk::brep
