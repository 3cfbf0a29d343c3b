// Evaluates curves and surfaces of Bodies at parameters, and finds the parameters of points (inversion).
//
// Holds what is computed once per curve or surface (refined intersection curves, start points of searches),
// so it is not for several threads at once.
#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <vector>

#include "jttk/brep/bodies.h"
#include "jttk/brep/bspline.h"
#include "jttk/brep/work_counter.h"

namespace jttk::brep {

struct Range {
  double low = -std::numeric_limits<double>::infinity();
  double high = std::numeric_limits<double>::infinity();
  [[nodiscard]] bool bounded() const { return std::isfinite(low) && std::isfinite(high); }
  [[nodiscard]] double size() const { return high - low; }
};

// The parameter plane of a surface. A period of 0 means none. Where there is a period the range is one
// period long but parameters outside are fine.
struct SurfaceDomain {
  Range u;
  Range v;
  double period_u = 0;
  double period_v = 0;
};

// An intersection curve, sampled finely: points, tangents and parameters (chart index and fraction) to
// interpolate between; `across`: unit vectors normal to the curve that rotate as little as possible along it.
struct FineCurve {
  std::vector<double> t;
  std::vector<Vec3> p;
  std::vector<Vec3> d;
  std::vector<Vec3> across;
};

class Geometry {
 public:
  // `precision`: how exactly intersection curves are followed, in metres.
  Geometry(const Bodies& bodies, double precision) : bodies_(bodies), precision_(precision) {}

  [[nodiscard]] const Bodies& bodies() const { return bodies_; }
  [[nodiscard]] const Curve& curve(std::int32_t number) const {
    return bodies_.curves[static_cast<std::size_t>(number)];
  }
  [[nodiscard]] const Surface& surface(std::int32_t number) const {
    return bodies_.surfaces[static_cast<std::size_t>(number)];
  }

  CurvePoint at(const Curve& curve, double t);
  // Natural parameters; unbounded for lines, 2 pi for circles.
  Range range(const Curve& curve);
  // 0 when the curve is not closed.
  double period(const Curve& curve);
  // Parameters between which the curve is smooth, in rising order, the ends of a bounded range included.
  std::vector<double> breaks(const Curve& curve);
  // Parameter of the curve's point nearest to p. Starts from `guess` if finite; the result is used if within
  // `accept`, else the whole curve is searched.
  double nearest(const Curve& curve, const Vec3& p, double guess, double accept);

  SurfacePoint at(const Surface& surface, Vec2 uv);
  SurfaceDomain domain(const Surface& surface);
  // Parameters of the surface's point nearest to p, and their distance. `guess` as above (null: none).
  double invert(const Surface& surface, const Vec3& p, const Vec2* guess, double accept, Vec2& uv);
  // The same from many more starts, for points for which invert() found nothing near enough.
  double invertThoroughly(const Surface& surface, const Vec3& p, Vec2& uv);
  // Two surfaces and the parameters last found on each.
  struct Crossing {
    const Surface* surfaces[2] = {nullptr, nullptr};
    Vec2 guesses[2];
    bool has_guess[2] = {false, false};
  };
  // Moves `x` onto both surfaces within the plane through `x` normal to `direction` (a unit vector), by
  // `reach` at most. `touching`: the surfaces are tangent where they meet. False when no such point is found.
  bool relax(Crossing& crossing, Vec3& x, const Vec3& direction, double reach, bool touching);
  // Whether the surfaces are tangent to each other at `x`, a point on both.
  bool touches(Crossing& crossing, const Vec3& x);

  // Work done is counted, so that damaged data cannot keep it busy for ever. Once all is used up, at() gives
  // zeros without looking: discard results from then on.
  void allowWork(std::uint64_t evaluations) { counter_.allowEvaluations(evaluations); }
  [[nodiscard]] bool mayWork() const { return counter_.mayWork(); }
  [[nodiscard]] std::uint64_t workLeft() const { return counter_.evaluationsLeft(); }
  // For callers whose other work counts against the same limit.
  [[nodiscard]] WorkCounter& counter() { return counter_; }

 private:
  struct Grid {
    std::vector<Vec2> uv;
    std::vector<Vec3> p;
  };
  void work(std::uint64_t amount = 1) { counter_.spendEvaluations(amount); }
  const FineCurve& fine(const Curve& curve);
  FineCurve makeFine(const Curve& curve);
  static void findSlopes(FineCurve& made, const std::vector<Vec3>& tangents, bool closed);
  void refine(const Curve& curve, FineCurve& made);
  // The chart of an intersection while it is refined: per point the unit tangent (zero: not known), and
  // whether the piece behind the point is fine.
  struct Refining {
    FineCurve curve;
    std::vector<Vec3> tangents;
    std::vector<bool> done;
    void add(double t, const Vec3& p, const Vec3& tangent, bool is_done);
  };
  // Unit tangent of the intersection at x; zero where the surfaces touch.
  Vec3 tangentAt(Crossing& crossing, const Vec3& x);
  // The point in the middle of piece `i`, at `t`, if the cubic misses it (or `always`).
  std::optional<Vec3> missedMiddle(Crossing& crossing, const Refining& made, std::size_t i, bool always);
  // Foot and unit normal of x on one of the surfaces.
  bool footOn(Crossing& crossing, int side, const Vec3& x, Vec3& foot, Vec3& normal);
  bool relaxTouching(Crossing& crossing, Vec3& x, const Vec3& direction, double reach);
  const CurveSpline& spline(const Curve& curve) const {
    return bodies_.curve_splines[static_cast<std::size_t>(curve.spline)];
  }
  const SurfaceSpline& spline(const Surface& surface) const {
    return bodies_.surface_splines[static_cast<std::size_t>(surface.spline)];
  }
  SurfacePoint blendAt(const Surface& surface, Vec2 uv);
  SurfacePoint offsetAt(const Surface& surface, Vec2 uv);
  double descend(const Surface& surface, const SurfaceDomain& domain, const Vec3& p, Vec2& uv);
  double invertBySearch(const Surface& surface, const Vec3& p, const Vec2* guess, double accept, Vec2& uv);
  // Where invertBySearch() starts from: the nearest grid points, or the foot on the base of an offset.
  std::vector<Vec2> startsFor(const Surface& surface, const Vec3& p);
  double invertSpun(const Surface& surface, const Vec3& p, const Vec2* guess, double accept, Vec2& uv);
  double invertSwept(const Surface& surface, const Vec3& p, const Vec2* guess, double accept, Vec2& uv);
  double invertBlend(const Surface& surface, const Vec3& p, const Vec2* guess, double accept, Vec2& uv);
  const Grid& grid(const Surface& surface);
  // Minimises |residual(t)|, where residual gives value and derivative.
  double minimize(const Curve& curve, double guess, double accept,
                  const std::function<CurvePoint(double)>& residual);

  const Bodies& bodies_;
  double precision_;
  WorkCounter counter_;
  std::map<const Curve*, FineCurve> fine_;
  std::map<std::pair<std::int32_t, std::int32_t>, Grid> grids_;  // by spline and base
  std::map<std::int32_t, SurfaceDomain> spline_domains_;
  std::vector<std::optional<bool>> closed_splines_;  // per curve spline; empty while not known
};

// The cubic between two points with derivatives, s from 0 to 1 over `width` of the parameter.
CurvePoint hermite(const CurvePoint& from, const CurvePoint& to, double s, double width);

// Unit normal Pu x Pv. At a singular point that of a point slightly nearer to `toward`.
Vec3 normalAt(Geometry& geometry, const Surface& surface, Vec2 uv, Vec2 toward);

// `value` moved by whole periods to within half a period of `near`; unchanged when there is no period.
double wrapNear(double value, double near, double period);

}  // namespace jttk::brep
