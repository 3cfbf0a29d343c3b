// A constraint edge is made by flipping away the edges that it crosses; then the edges that came instead are
// made Delaunay again (S. Sloan, A Fast Algorithm for Generating Constrained Delaunay Triangulations, 1993).
// All decisions are exact.
#include <deque>
#include <tuple>

#include "jttk/brep/delaunay.h"
#include "jttk/brep/predicates.h"

namespace jttk::brep {

std::pair<std::uint32_t, int> Triangulation::findEdge(std::uint32_t a, std::uint32_t b) const {
  const std::uint32_t start = triangle_of_point_[a];
  // Walk round `a` in one direction and, if the frame's border was reached, in the other.
  for (const bool forward : {true, false}) {
    std::uint32_t t = start;
    do {
      work_.spendSteps();
      const Triangle& triangle = triangles_[t];
      int i = 0;
      while (triangle.corner[at(i)] != a) ++i;
      if (triangle.corner[at(next(i))] == b) return {t, previous(i)};
      t = triangle.neighbor[at(forward ? next(i) : previous(i))];
    } while (t != start && t != kNoTriangle);
    if (t == start) break;
  }
  return {kNoTriangle, -1};
}

std::pair<std::uint32_t, int> Triangulation::findFirstCrossed(std::uint32_t a, std::uint32_t b,
                                                              Edge& blocking) const {
  const Vec2& from = points_[a];
  const Vec2& to = points_[b];
  const std::uint32_t start = triangle_of_point_[a];
  for (const bool forward : {true, false}) {
    std::uint32_t t = start;
    do {
      work_.spendSteps();
      const Triangle& triangle = triangles_[t];
      int i = 0;
      while (triangle.corner[at(i)] != a) ++i;
      const std::uint32_t right = triangle.corner[at(next(i))];
      const std::uint32_t left = triangle.corner[at(previous(i))];
      const double turn_right = orient2d(from, to, points_[right]);
      const double turn_left = orient2d(from, to, points_[left]);
      for (const auto& [corner, turn] : {std::pair{right, turn_right}, std::pair{left, turn_left}}) {
        const Vec2 ahead = points_[corner] - from;
        const Vec2 along = to - from;
        if (turn == 0 && ahead.u * along.u + ahead.v * along.v > 0) {
          blocking = {corner, corner};
          return {kNoTriangle, -1};
        }
      }
      if (turn_right < 0 && turn_left > 0) return {t, i};
      t = triangle.neighbor[at(forward ? next(i) : previous(i))];
    } while (t != start && t != kNoTriangle);
    if (t == start) break;
  }
  blocking = {a, a};
  return {kNoTriangle, -1};
}

Triangulation::Constraint Triangulation::findCrossed(std::uint32_t a, std::uint32_t b,
                                                     std::vector<Edge>& crossed, Edge& blocking) const {
  const Vec2& from = points_[a];
  const Vec2& to = points_[b];
  auto [t, side] = findFirstCrossed(a, b, blocking);
  if (t == kNoTriangle) return Constraint::PassesPoint;
  for (std::size_t step = 0; step < triangles_.size() + 4 && work_.mayWork(); ++step) {
    work_.spendSteps();
    const Triangle& triangle = triangles_[t];
    const std::uint32_t right = triangle.corner[at(next(side))];
    const std::uint32_t left = triangle.corner[at(previous(side))];
    if (triangle.fixed[at(side)]) {
      blocking = {right, left};
      return Constraint::Crosses;
    }
    crossed.emplace_back(right, left);
    const std::uint32_t other = triangle.neighbor[at(side)];
    const Triangle& beyond = triangles_[other];
    const int back = sideTo(other, t);
    const std::uint32_t far = beyond.corner[at(back)];
    if (far == b) return Constraint::Done;
    const double turn = orient2d(from, to, points_[far]);
    if (turn == 0) {
      blocking = {far, far};
      return Constraint::PassesPoint;
    }
    // From `far` counter-clockwise: left, right. On through the side far-right or left-far.
    side = turn > 0 ? next(back) : previous(back);
    t = other;
  }
  blocking = {a, b};
  return Constraint::Crosses;
}

void Triangulation::flipAway(std::uint32_t a, std::uint32_t b, const std::vector<Edge>& crossed,
                             std::vector<Edge>& made) {
  // Edges in quadrilaterals that are not convex have to wait for others.
  std::deque<Edge> waiting(crossed.begin(), crossed.end());
  while (!waiting.empty() && flips_left_ > 0 && work_.mayWork()) {
    --flips_left_;
    work_.spendSteps();
    const auto [p, q] = waiting.front();
    waiting.pop_front();
    const auto [edge, edge_side] = findEdge(p, q);
    if (edge == kNoTriangle) continue;
    if (!mayFlip(edge, edge_side)) {
      waiting.emplace_back(p, q);
      continue;
    }
    const std::uint32_t r = triangles_[edge].corner[at(edge_side)];
    const std::uint32_t other = triangles_[edge].neighbor[at(edge_side)];
    const std::uint32_t s = triangles_[other].corner[at(sideTo(other, edge))];
    flip(edge, edge_side);
    const bool touches = r == a || r == b || s == a || s == b;
    const double turn_r = touches ? 0 : orient2d(points_[a], points_[b], points_[r]);
    const double turn_s = touches ? 0 : orient2d(points_[a], points_[b], points_[s]);
    if (!touches && (turn_r > 0) != (turn_s > 0)) {
      waiting.emplace_back(r, s);
    } else {
      made.emplace_back(r, s);
    }
  }
}

void Triangulation::legalizeEdges(std::vector<Edge>& edges) {
  for (bool again = true; again;) {
    again = false;
    for (auto& [p, q] : edges) {
      if (!work_.mayWork()) return;
      work_.spendSteps();
      const auto [edge, edge_side] = findEdge(p, q);
      if (edge == kNoTriangle || triangles_[edge].fixed[at(edge_side)]) continue;
      const std::uint32_t over = triangles_[edge].neighbor[at(edge_side)];
      if (over == kNoTriangle) continue;
      const Triangle& here = triangles_[edge];
      const std::uint32_t far = triangles_[over].corner[at(sideTo(over, edge))];
      if (isInCircle(here, far) && mayFlip(edge, edge_side)) {
        const std::uint32_t r = here.corner[at(edge_side)];
        flip(edge, edge_side);
        p = r;
        q = far;
        again = true;
      }
    }
  }
}

Triangulation::Constraint Triangulation::constrain(std::uint32_t a, std::uint32_t b, Edge& blocking) {
  if (!work_.mayWork()) {
    blocking = {a, b};
    return Constraint::Crosses;
  }
  auto [t, side] = findEdge(a, b);
  if (t == kNoTriangle) {
    std::vector<Edge> crossed;
    const Constraint found = findCrossed(a, b, crossed, blocking);
    if (found != Constraint::Done) return found;
    std::vector<Edge> made;
    flipAway(a, b, crossed, made);
    std::tie(t, side) = findEdge(a, b);
    if (t == kNoTriangle) {
      blocking = {a, b};
      return Constraint::Crosses;
    }
    triangles_[t].fixed[at(side)] = true;
    const std::uint32_t other = triangles_[t].neighbor[at(side)];
    triangles_[other].fixed[at(sideTo(other, t))] = true;
    legalizeEdges(made);
    std::tie(t, side) = findEdge(a, b);
  }
  Triangle& triangle = triangles_[t];
  triangle.fixed[at(side)] = true;
  triangle.turns[at(side)] += 1;
  const std::uint32_t other = triangle.neighbor[at(side)];
  if (other != kNoTriangle) {
    const int back = sideTo(other, t);
    triangles_[other].fixed[at(back)] = true;
    triangles_[other].turns[at(back)] -= 1;
  }
  return Constraint::Done;
}

}  // namespace jttk::brep
