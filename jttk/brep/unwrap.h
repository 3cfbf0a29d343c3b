// Loops of a face in the parameter plane of its surface, unwrapped: from point to point without a jump, also
// where the surface closes or ends in a pole.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "jttk/brep/face_domain.h"
#include "jttk/brep/geometry.h"
#include "jttk/brep/tolerances.h"

namespace jttk::brep {

struct Unwrapped {
  DomainLoop points;
  // How often the loop goes round the surface, in the sense of u and of v.
  int turns_u = 0;
  int turns_v = 0;
  [[nodiscard]] bool winds() const { return turns_u != 0 || turns_v != 0; }
};

class LoopUnwrapper {
 public:
  // The arguments outlive this object.
  LoopUnwrapper(Geometry& geometry, const Surface& surface, const SurfaceDomain& box,
                const Tolerances& tolerances, const std::vector<Vec3>& points)
      : geometry_(geometry), surface_(surface), box_(box), tolerances_(tolerances), points_(points) {}

  Result<Unwrapped> unwrap(const std::vector<LoopPoint>& loop);

 private:
  struct Entry {
    Vec2 uv;
    LoopPoint at;
    int singular = 0;
  };
  // 1 if the surface is singular in u there (all u give the same point), 2 if in v, else 0.
  int singularIn(Vec2 uv);
  [[nodiscard]] double toleranceOf(std::uint32_t number) const;
  Result<std::vector<Entry>> invertAll(const std::vector<LoopPoint>& loop);
  // The coordinate of `to`, by its copy to which the loop runs from the point `from`.
  double stepTo(bool in_u, const DomainPoint& from, const DomainPoint& to);
  // Appends the entries as points, each near its predecessor; gives the last one.
  DomainPoint follow(const std::vector<Entry>& entries, const Entry& regular, DomainLoop& points);

  Geometry& geometry_;
  const Surface& surface_;
  const SurfaceDomain& box_;
  const Tolerances& tolerances_;
  const std::vector<Vec3>& points_;
  std::unordered_map<std::uint32_t, Vec2> known_;  // parameters by id of the point
};

// Where a loop passes a pole, adds copies of it (about as many as the loop has points, 256 at most) between
// its two points there, so that each triangle from the pole to the loop can have a direction of its own.
// Every copy counts as an evaluation.
void fillPoles(Unwrapped& loop, WorkCounter& work);

// A sphere's axes may be chosen freely (only parameter curves depend on them): so that loops stay away from
// the poles as far as possible.
void chooseSphereAxes(Surface& sphere, const std::vector<std::vector<LoopPoint>>& loops,
                      const std::vector<Vec3>& points);

}  // namespace jttk::brep
