// Cutting a face open that goes round its surface: makes the points along a cut, and joins two loops along
// it.
#pragma once

#include <vector>

#include "jttk/brep/face_domain.h"
#include "jttk/brep/geometry.h"
#include "jttk/brep/tolerances.h"

namespace jttk::brep {

class SeamCutter {
 public:
  // Of `face`: its surface and scale. New points are added to `points`. The arguments outlive this object.
  SeamCutter(Geometry& geometry, const FaceDomain& face, const SurfaceDomain& box,
             const Tolerances& tolerances, std::vector<Vec3>& points)
      : geometry_(geometry),
        surface_(face.surface),
        box_(box),
        scale_(face.scale),
        tolerances_(tolerances),
        points_(points) {}

  // Points on the straight line from a to b in the parameter plane, dense enough for the chord tolerance.
  DomainLoop cutBetween(const DomainPoint& a, const DomainPoint& b);

  // Joins two loops that wind round, `lower` by `turn` and `upper` against it, to one polygon: along lower,
  // over the cut, along upper, and back over the same cut one turn earlier. If holes block every straight
  // cut, the cut is led through holes, which are then removed from `holes`. Empty if no cut exists.
  DomainLoop joinBand(DomainLoop lower, const DomainLoop& upper, Vec2 turn, std::vector<DomainLoop>& holes);

 private:
  // As in joinBand().
  struct Band {
    DomainLoop lower;
    const DomainLoop& upper;
    Vec2 turn;
    std::vector<DomainLoop>& holes;
  };
  // From point `a` of one loop to point `b` of another, which is moved by `shift` turns.
  struct Cut {
    double size;  // squared
    std::size_t a;
    std::size_t b;
    double shift;
  };
  // Whether a-b crosses the loop when that is moved by `by`. `closing`: by how much the loop's end is beyond
  // its start, 0 unless it winds round.
  [[nodiscard]] bool crossesLoop(Vec2 a, Vec2 b, const DomainLoop& loop, Vec2 by, Vec2 closing) const;
  // Straight cuts from points of `lower` to points of another loop: the `kept` shortest, in that order.
  [[nodiscard]] std::vector<Cut> cutsBetween(const DomainLoop& lower, const DomainLoop& other, Vec2 turn,
                                             std::size_t kept) const;
  // Whether a-b meets no loop of the band, wherever these were unwrapped. `shift`: in turns, of the upper
  // loop.
  [[nodiscard]] bool isFree(Vec2 a, Vec2 b, double shift, const Band& band) const;
  // Merges the hole nearest to the lower loop into it. False if none can be reached.
  bool takeHole(Band& band);
  void mergeHole(DomainLoop& lower, const DomainLoop& hole, const Cut& cut);
  DomainLoop joinAt(const Band& band, const Cut& cut);

  Geometry& geometry_;
  const Surface& surface_;
  const SurfaceDomain& box_;
  const Vec2& scale_;
  const Tolerances& tolerances_;
  std::vector<Vec3>& points_;
};

}  // namespace jttk::brep
