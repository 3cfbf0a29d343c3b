// Points go in one by one: walk to the triangle, split it, flip sides until all circles are empty again (C.
// Lawson, Software for C1 Surface Interpolation, 1977). The walk goes through any side that the point is
// beyond (O. Devillers, S. Pion, M. Teillaud, Walking in a Triangulation, 2002: visibility walk). All
// decisions are exact. Constraints: delaunay_constraints.cpp.
#include "jttk/brep/delaunay.h"

#include <algorithm>

#include "jttk/brep/precision.h"
#include "jttk/brep/predicates.h"

namespace jttk::brep {
namespace {

// In steps: what an exact answer takes, and a new point with its triangles.
constexpr std::uint64_t kStepsOfExactCircle = 4 * WorkCounter::kStepsPerEvaluation;
constexpr std::uint64_t kStepsOfPoint = WorkCounter::kStepsPerEvaluation;
// Distance of the frame from the box of all points, in sizes of the box.
constexpr double kFrameDistance = 2;
// Flips that constraints may take: a fixed number, and so many for each point.
constexpr std::size_t kFreeFlips = 1'000'000;
constexpr std::size_t kFlipsPerPoint = 200;
// Triangles that a walk may enter: so many times all there are, and some more where there are few.
constexpr std::size_t kVisitsPerTriangle = 4;
constexpr std::size_t kFreeVisits = 16;

}  // namespace

Triangulation::Triangulation(const Vec2& low, const Vec2& high, std::size_t expected_points,
                             WorkCounter& work)
    : work_(work) {
  points_.reserve(expected_points + kFramePoints);
  triangle_of_point_.reserve(expected_points + kFramePoints);
  triangles_.reserve(2 * expected_points + 2);
  const double margin = std::max({high.u - low.u, high.v - low.v, kSmallestFrame}) * kFrameDistance;
  points_ = {{low.u - margin, low.v - margin},
             {high.u + margin, low.v - margin},
             {high.u + margin, high.v + margin},
             {low.u - margin, high.v + margin}};
  triangle_of_point_ = {0, 0, 0, 1};
  Triangle first;
  first.corner = {0, 1, 2};
  first.neighbor = {kNoTriangle, 1, kNoTriangle};
  Triangle second;
  second.corner = {0, 2, 3};
  second.neighbor = {kNoTriangle, kNoTriangle, 0};
  triangles_ = {first, second};
  flips_left_ = kFreeFlips + kFlipsPerPoint * expected_points;
}

Triangulation::Location Triangulation::locate(const Vec2& p, std::uint32_t from) const {
  std::uint32_t t = from;
  std::uint32_t came_from = kNoTriangle;
  // A walk in a Delaunay triangulation cannot go in circles; with constraints it could, hence the bound.
  for (std::size_t step = 0; step < kVisitsPerTriangle * triangles_.size() + kFreeVisits && work_.mayWork();
       ++step) {
    work_.spendSteps();
    const Triangle& triangle = triangles_[t];
    int on = -1;
    int zeros = 0;
    bool moved = false;
    const int first = static_cast<int>(step % 3);
    for (int k = 0; k < 3 && !moved; ++k) {
      const int i = (first + k) % 3;
      if (triangle.neighbor[at(i)] == came_from && came_from != kNoTriangle) continue;
      const double turn =
          orient2d(points_[triangle.corner[at(next(i))]], points_[triangle.corner[at(previous(i))]], p);
      if (turn < 0) {
        came_from = t;
        t = triangle.neighbor[at(i)];
        if (t == kNoTriangle) return {};
        moved = true;
      } else if (turn == 0) {
        on = i;
        ++zeros;
      }
    }
    if (moved) continue;
    Location found{t, -1, -1};
    if (zeros == 0) {
      // The side through which the search entered was not tested above.
      for (int i = 0; i < 3; ++i) {
        if (triangle.neighbor[at(i)] == came_from && came_from != kNoTriangle &&
            orient2d(points_[triangle.corner[at(next(i))]], points_[triangle.corner[at(previous(i))]], p) ==
                0) {
          on = i;
          ++zeros;
        }
      }
    }
    for (int i = 0; i < 3; ++i) {
      if (points_[triangle.corner[at(i)]] == p) found.corner = i;
    }
    if (found.corner < 0 && zeros > 0) found.side = on;
    return found;
  }
  return {};
}

void Triangulation::link(std::uint32_t t, int side, std::uint32_t neighbor) {
  triangles_[t].neighbor[at(side)] = neighbor;
}

int Triangulation::sideTo(std::uint32_t t, std::uint32_t neighbor) const {
  const Triangle& triangle = triangles_[t];
  for (int i = 0; i < 3; ++i) {
    if (triangle.neighbor[at(i)] == neighbor) return i;
  }
  return -1;
}

void Triangulation::changed(std::uint32_t t) {
  Triangle& triangle = triangles_[t];
  triangle.center_done = false;
  for (const std::uint32_t corner : triangle.corner) triangle_of_point_[corner] = t;
}

void Triangulation::splitTriangle(std::uint32_t t, std::uint32_t p) {
  const Triangle old = triangles_[t];
  const auto second = static_cast<std::uint32_t>(triangles_.size());
  const std::uint32_t made[3] = {t, second, second + 1};
  triangles_.resize(triangles_.size() + 2);
  for (int i = 0; i < 3; ++i) {
    // Triangle i keeps side i of the old one, opposite to p at corner 0.
    Triangle& triangle = triangles_[made[i]];
    triangle = Triangle{};
    triangle.inside = old.inside;
    triangle.corner = {p, old.corner[at(next(i))], old.corner[at(previous(i))]};
    triangle.neighbor = {old.neighbor[at(i)], made[next(i)], made[previous(i)]};
    triangle.turns[0] = old.turns[at(i)];
    triangle.fixed[0] = old.fixed[at(i)];
    triangle.done[0] = old.done[at(i)];
    if (old.neighbor[at(i)] != kNoTriangle) {
      const int back = sideTo(old.neighbor[at(i)], t);
      if (back >= 0) link(old.neighbor[at(i)], back, made[i]);
    }
    suspects_.emplace_back(made[i], 0);
  }
  for (const std::uint32_t m : made) changed(m);
}

void Triangulation::makeHalf(const Triangle& split, std::uint32_t before, int side, std::uint32_t p,
                             const Half& half) {
  Triangle made;
  made.inside = split.inside;
  made.corner = {p, half.corners[0], half.corners[1]};
  made.neighbor = {split.neighbor[at(half.kept_side)], half.neighbors[0], half.neighbors[1]};
  made.turns[0] = split.turns[at(half.kept_side)];
  made.fixed[0] = split.fixed[at(half.kept_side)];
  made.done[0] = split.done[at(half.kept_side)];
  made.turns[at(half.half_side)] = split.turns[at(side)];
  made.fixed[at(half.half_side)] = split.fixed[at(side)];
  triangles_[half.number] = made;
  if (made.neighbor[0] == kNoTriangle) return;
  const int back = sideTo(made.neighbor[0], before);
  if (back >= 0) link(made.neighbor[0], back, half.number);
}

void Triangulation::splitSide(std::uint32_t t, int side, std::uint32_t p) {
  const Triangle old = triangles_[t];
  const std::uint32_t other = old.neighbor[at(side)];
  const auto t2 = static_cast<std::uint32_t>(triangles_.size());
  const std::uint32_t apex = old.corner[at(side)];
  const std::uint32_t a = old.corner[at(next(side))];
  const std::uint32_t b = old.corner[at(previous(side))];
  triangles_.emplace_back();
  std::uint32_t o2 = kNoTriangle;
  if (other != kNoTriangle) {
    o2 = static_cast<std::uint32_t>(triangles_.size());
    triangles_.emplace_back();
  }
  const Triangle old_other = other == kNoTriangle ? Triangle{} : triangles_[other];
  // Sides of (p, c1, c2): 0 is c1-c2, 1 is c2-p, 2 is p-c1. t becomes (p, apex, a), t2 becomes (p, b, apex).
  makeHalf(old, t, side, p, {t, previous(side), {apex, a}, {o2, t2}, 1});
  makeHalf(old, t, side, p, {t2, next(side), {b, apex}, {t, other}, 2});
  if (other != kNoTriangle) {
    int other_side = 0;
    while (old_other.corner[at(next(other_side))] != b || old_other.corner[at(previous(other_side))] != a)
      ++other_side;
    const std::uint32_t far = old_other.corner[at(other_side)];
    // other becomes (p, far, b), o2 becomes (p, a, far).
    makeHalf(old_other, other, other_side, p, {other, previous(other_side), {far, b}, {t2, o2}, 1});
    makeHalf(old_other, other, other_side, p, {o2, next(other_side), {a, far}, {other, t}, 2});
  }
  for (const std::uint32_t m : {t, t2, other, o2}) {
    if (m == kNoTriangle) continue;
    changed(m);
    suspects_.emplace_back(m, 0);
  }
}

// t = (p, q, r) with `side` opposite to p, its neighbour (s, r, q): the edge q-r becomes p-s.
void Triangulation::flip(std::uint32_t t, int side) {
  const std::uint32_t other = triangles_[t].neighbor[at(side)];
  const int other_side = sideTo(other, t);
  const Triangle a = triangles_[t];
  const Triangle b = triangles_[other];
  const std::uint32_t p = a.corner[at(side)];
  const std::uint32_t q = a.corner[at(next(side))];
  const std::uint32_t r = a.corner[at(previous(side))];
  const std::uint32_t s = b.corner[at(other_side)];
  Triangle left;   // (p, q, s)
  Triangle right;  // (p, s, r)
  const auto carry = [](Triangle& to, int to_side, const Triangle& from, int from_side) {
    to.neighbor[at(to_side)] = from.neighbor[at(from_side)];
    to.turns[at(to_side)] = from.turns[at(from_side)];
    to.fixed[at(to_side)] = from.fixed[at(from_side)];
    to.done[at(to_side)] = from.done[at(from_side)];
  };
  left.corner = {p, q, s};
  right.corner = {p, s, r};
  left.inside = right.inside = a.inside;
  // b's corners: s at other_side, then r, then q: side s-r is opposite to q, side q-s opposite to r.
  carry(left, 0, b, next(other_side));       // q-s, opposite to r
  carry(left, 2, a, previous(side));         // p-q, opposite to r
  carry(right, 0, b, previous(other_side));  // s-r, opposite to q
  carry(right, 1, a, next(side));            // r-p, opposite to q
  left.neighbor[1] = other;
  right.neighbor[2] = t;
  // Both looked up before either changes: it may be one and the same triangle.
  const int left_back = left.neighbor[0] == kNoTriangle ? -1 : sideTo(left.neighbor[0], other);
  const int right_back = right.neighbor[1] == kNoTriangle ? -1 : sideTo(right.neighbor[1], t);
  triangles_[t] = left;
  triangles_[other] = right;
  if (left_back >= 0) link(left.neighbor[0], left_back, t);
  if (right_back >= 0) link(right.neighbor[1], right_back, other);
  changed(t);
  changed(other);
}

bool Triangulation::mayFlip(std::uint32_t t, int side) const {
  const Triangle& a = triangles_[t];
  const std::uint32_t other = a.neighbor[at(side)];
  if (other == kNoTriangle || a.fixed[at(side)]) return false;
  const Triangle& b = triangles_[other];
  const Vec2& p = points_[a.corner[at(side)]];
  const Vec2& s = points_[b.corner[at(sideTo(other, t))]];
  // The quadrilateral p, q, s, r must be strictly convex at q and r.
  return orient2d(p, points_[a.corner[at(next(side))]], s) > 0 &&
         orient2d(s, points_[a.corner[at(previous(side))]], p) > 0;
}

bool Triangulation::isInCircle(const Triangle& t, std::uint32_t corner) const {
  const CircleAnswer answer =
      askCircle(points_[t.corner[0]], points_[t.corner[1]], points_[t.corner[2]], points_[corner]);
  work_.spendSteps(answer.exact ? kStepsOfExactCircle : 1);
  return answer.side > 0;
}

// The suspects are sides opposite to the new point at corner 0.
void Triangulation::legalize(std::uint32_t p) {
  while (!suspects_.empty() && work_.mayWork()) {
    const auto [t, ignored] = suspects_.back();
    suspects_.pop_back();
    int side = 0;
    while (side < 3 && triangles_[t].corner[at(side)] != p) ++side;
    if (side == 3) continue;
    const Triangle& a = triangles_[t];
    const std::uint32_t other = a.neighbor[at(side)];
    if (other == kNoTriangle || a.fixed[at(side)]) continue;
    const std::uint32_t far = triangles_[other].corner[at(sideTo(other, t))];
    if (isInCircle(a, far) && mayFlip(t, side)) {
      flip(t, side);
      suspects_.emplace_back(t, 0);
      suspects_.emplace_back(other, 0);
    }
  }
  suspects_.clear();
}

std::uint32_t Triangulation::insertAt(const Vec2& p, const Location& found) {
  if (found.triangle == kNoTriangle) return kNoTriangle;
  if (found.corner >= 0) return triangles_[found.triangle].corner[at(found.corner)];
  work_.spendSteps(kStepsOfPoint);
  const auto number = static_cast<std::uint32_t>(points_.size());
  points_.push_back(p);
  triangle_of_point_.push_back(found.triangle);
  if (found.side >= 0) {
    splitSide(found.triangle, found.side, number);
  } else {
    splitTriangle(found.triangle, number);
  }
  legalize(number);
  last_ = triangle_of_point_[number];
  return number;
}

std::uint32_t Triangulation::insert(const Vec2& p) { return insertAt(p, locate(p, last_)); }

std::uint32_t Triangulation::refine(std::uint32_t t, const Vec2& p) {
  const Location found = locate(p, t);
  if (found.triangle == kNoTriangle || found.corner >= 0 || !triangles_[found.triangle].inside)
    return kNoTriangle;
  if (found.side >= 0 && triangles_[found.triangle].fixed[at(found.side)]) return kNoTriangle;
  return insertAt(p, found);
}

bool Triangulation::markInside() {
  constexpr std::int32_t kUnknown = INT32_MIN;
  std::vector<std::int32_t> around(triangles_.size(), kUnknown);
  std::vector<std::uint32_t> waiting{triangle_of_point_[0]};
  around[waiting[0]] = 0;
  bool fine = true;
  while (!waiting.empty()) {
    const std::uint32_t t = waiting.back();
    waiting.pop_back();
    triangles_[t].inside = around[t] == 1;
    if (around[t] != 0 && around[t] != 1) fine = false;
    for (int i = 0; i < 3; ++i) {
      const std::uint32_t other = triangles_[t].neighbor[at(i)];
      if (other == kNoTriangle || around[other] != kUnknown) continue;
      // A side that runs counter-clockwise has its region on this side of it.
      around[other] = around[t] - triangles_[t].turns[at(i)];
      waiting.push_back(other);
    }
  }
  return fine;
}

}  // namespace jttk::brep
