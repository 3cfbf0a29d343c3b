// Cutting a face open that goes round its surface: makes the points along a cut, and joins two loops along
// it.
#pragma once

#include <vector>

#include "jttk/brep/face_domain.h"
#include "jttk/brep/geometry.h"
#include "jttk/brep/tolerances.h"

namespace jttk::brep {

DomainLoop moved(DomainLoop loop, Vec2 by);

class SeamCutter {
 public:
  // `scale`: metres per unit of u and v. New points are added to `points`. The arguments outlive this object.
  SeamCutter(Geometry& geometry, const Surface& surface, const SurfaceDomain& box, const Vec2& scale,
             const Tolerances& tolerances, std::vector<Vec3>& points)
      : geometry_(geometry),
        surface_(surface),
        box_(box),
        scale_(scale),
        tolerances_(tolerances),
        points_(points) {}

  // Points on the straight line from a to b in the parameter plane, dense enough for the chord tolerance.
  DomainLoop cutBetween(const DomainPoint& a, const DomainPoint& b);

  // Joins two loops that wind round, `lower` by `turn` and `upper` against it, to one polygon: along lower,
  // over the cut, along upper, and back over the same cut one turn earlier. If holes block every straight
  // cut, the cut is led through holes, which are then removed from `holes`. Empty if no cut exists.
  DomainLoop joinBand(DomainLoop lower, const DomainLoop& upper, Vec2 turn, std::vector<DomainLoop>& holes);

 private:
  struct Way {
    double size;  // squared
    std::size_t a;
    std::size_t b;
    double shift;  // in turns
  };
  [[nodiscard]] bool crossesLoop(Vec2 a, Vec2 b, const DomainLoop& loop, Vec2 by, bool open_end,
                                 Vec2 turn) const;
  // Straight cuts from points of `lower` to points of another loop: the `kept` shortest, in that order.
  [[nodiscard]] std::vector<Way> waysBetween(const DomainLoop& lower, const DomainLoop& other, Vec2 turn,
                                             std::size_t kept) const;
  [[nodiscard]] bool isFree(Vec2 a, Vec2 b, const DomainLoop& lower, const DomainLoop& upper, Vec2 turn,
                            double shift, const std::vector<DomainLoop>& holes) const;
  bool takeHole(DomainLoop& lower, const DomainLoop& upper, Vec2 turn, std::vector<DomainLoop>& holes);
  DomainLoop joinAt(const DomainLoop& lower, std::size_t a, const DomainLoop& upper, std::size_t b, Vec2 turn,
                    double shift);

  Geometry& geometry_;
  const Surface& surface_;
  const SurfaceDomain& box_;
  const Vec2& scale_;
  const Tolerances& tolerances_;
  std::vector<Vec3>& points_;
};

}  // namespace jttk::brep
