// Constrained Delaunay triangulation in the plane. Points and constraint edges come first; then the triangles
// inside the region are marked, by the direction of the constraints, and points may be added inside.
#pragma once

#include <array>
#include <cstdint>
#include <unordered_map>
#include <utility>
#include <vector>

#include "jttk/brep/vec.h"
#include "jttk/brep/work_counter.h"

namespace jttk::brep {

class Triangulation {
 public:
  static constexpr std::uint32_t kNoTriangle = 0xffffffffU;

  // Side i of a triangle lies opposite to corner i, between corners i + 1 and i + 2.
  struct Triangle {
    std::array<std::uint32_t, 3> corner{};
    std::array<std::uint32_t, 3> neighbor{};
    // Per side: constraint edges that run as the side does (counter-clockwise) less those against it.
    std::array<std::int32_t, 3> turns{};
    std::array<bool, 3> fixed{};
    std::array<bool, 3> done{};  // for the user of the triangulation; false on every new or changed side
    bool inside = false;
    bool center_done = false;
  };

  // All points to come lie within the box. Its work is counted in `work`, which outlives it: once all is used
  // up, nothing is inserted or constrained any more, and what there is need not be Delaunay.
  Triangulation(const Vec2& low, const Vec2& high, std::size_t expected_points, WorkCounter& work);

  // Number of the new point; or that of an earlier point with the same coordinates.
  std::uint32_t insert(const Vec2& p);

  using Edge = std::pair<std::uint32_t, std::uint32_t>;
  enum class Constraint : std::uint8_t { Done, Crosses, PassesPoint };
  // Inserts the constraint edge a-b. What blocks it is no error (the caller has other ways, and asks for each
  // edge of each loop), so the answer is an enum and not a result. If another constraint edge or a point
  // blocks it, `blocking` receives the edge's two ends, or the point twice.
  Constraint constrain(std::uint32_t a, std::uint32_t b, Edge& blocking);

  // Marks triangles with winding number 1 as `inside`. False if any triangle has a winding number other than
  // 0 or 1.
  bool markInside();

  // Inserts a point, which is searched for from triangle `t` on. New triangles inherit `inside`. kNoTriangle
  // when it lies outside, on a constraint edge or on another point; else the point's number.
  std::uint32_t refine(std::uint32_t t, const Vec2& p);

  [[nodiscard]] const std::vector<Triangle>& triangles() const { return triangles_; }
  Triangle& triangle(std::uint32_t t) { return triangles_[t]; }
  [[nodiscard]] const Vec2& point(std::uint32_t i) const { return points_[i]; }
  [[nodiscard]] std::size_t pointCount() const { return points_.size(); }
  // The first points are the corners of a frame around everything.
  static constexpr std::uint32_t kFramePoints = 4;

 private:
  static constexpr int next(int i) { return i == 2 ? 0 : i + 1; }
  static constexpr int previous(int i) { return i == 0 ? 2 : i - 1; }
  static constexpr std::size_t at(int i) { return static_cast<std::size_t>(i); }

  struct Location {
    std::uint32_t triangle = kNoTriangle;
    int side = -1;    // >= 0: on that side
    int corner = -1;  // >= 0: at that corner
  };
  [[nodiscard]] Location locate(const Vec2& p, std::uint32_t from) const;
  // The number of the point, put where locate() found it.
  std::uint32_t insertAt(const Vec2& p, const Location& found);
  void splitTriangle(std::uint32_t t, std::uint32_t p);
  void splitSide(std::uint32_t t, int side, std::uint32_t p);
  // One of the two triangles that replace a triangle whose side is split.
  struct Half {
    std::uint32_t number;  // becomes (p, corners)
    int kept_side;         // of the split triangle: opposite to p from now on
    std::array<std::uint32_t, 2> corners;
    std::array<std::uint32_t, 2> neighbors;  // at sides 1 and 2
    int half_side;                           // which of these is half of the split side
  };
  // `split`: the triangle as it was, `before`: its number; `side`: which of its sides is split at p.
  void makeHalf(const Triangle& split, std::uint32_t before, int side, std::uint32_t p, const Half& half);
  void legalize(std::uint32_t p);
  void flip(std::uint32_t t, int side);
  void link(std::uint32_t t, int side, std::uint32_t neighbor);
  void changed(std::uint32_t t);
  [[nodiscard]] int sideTo(std::uint32_t t, std::uint32_t neighbor) const;
  [[nodiscard]] bool mayFlip(std::uint32_t t, int side) const;
  // Whether the corner across `side` lies inside the circle of t.
  [[nodiscard]] bool isInCircle(const Triangle& t, std::uint32_t corner) const;
  // A triangle with the edge a -> b as a side, and that side; kNoTriangle when there is none.
  [[nodiscard]] std::pair<std::uint32_t, int> findEdge(std::uint32_t a, std::uint32_t b) const;
  // The triangle at `a` whose opposite side the segment a-b crosses, and that side. kNoTriangle when a point
  // lies on the segment; `blocking` then receives it twice.
  [[nodiscard]] std::pair<std::uint32_t, int> findFirstCrossed(std::uint32_t a, std::uint32_t b,
                                                               Edge& blocking) const;
  // The edges that the segment a-b crosses. Where a point or a constraint edge blocks it, the answer and
  // `blocking` are as in constrain().
  Constraint findCrossed(std::uint32_t a, std::uint32_t b, std::vector<Edge>& crossed, Edge& blocking) const;
  // Flips the edges in `crossed` until none of them crosses a-b any more, or no flips are left; `made` gets
  // those that came instead.
  void flipAway(std::uint32_t a, std::uint32_t b, const std::vector<Edge>& crossed, std::vector<Edge>& made);
  // Makes the edges Delaunay again, apart from fixed ones.
  void legalizeEdges(std::vector<Edge>& edges);

  WorkCounter& work_;
  std::vector<Vec2> points_;
  std::vector<std::uint32_t> triangle_of_point_;
  std::vector<Triangle> triangles_;
  std::vector<std::pair<std::uint32_t, int>> suspects_;  // sides that may not be Delaunay
  std::uint32_t last_ = 0;
  // Flips that constraints may still take: far more than real loops need, so that tangled ones end.
  std::size_t flips_left_ = 0;
};

}  // namespace jttk::brep
