// How long a step in the parameter plane is on the surface, and how the surface bends.
#include "jttk/brep/domain_scale.h"

#include <algorithm>
#include <cmath>

namespace jttk::brep {
namespace {

// Curvature estimate: number of sample points (at least), steps per extent, largest ratio of the stretch
// factors.
constexpr std::size_t kBendPlaces = 6;
constexpr double kBendSteps = 200;
constexpr double kMaximumStretch = 8;

// Where curvature differs between u and v, triangles may be longer along the flatter direction. The plane is
// stretched so that the edge lengths that the tolerances allow are equal.
void stretch(Geometry& geometry, const SurfaceDomain& box, const Tolerances& tolerances,
             const std::vector<Vec2>& places, Vec2 extent, FaceDomain& domain) {
  const double size = std::max(extent.u * domain.scale.u, extent.v * domain.scale.v) / kBendSteps;
  const auto stepOf = [&](double scale, const Range& range, double period) {
    const double most = period > 0 ? period : range.bounded() ? range.size() : size / scale * kBendSteps;
    return std::min(size / scale, most / kBendSteps);
  };
  const double eps[] = {stepOf(domain.scale.u, box.u, box.period_u),
                        stepOf(domain.scale.v, box.v, box.period_v)};
  double bend[] = {0, 0};
  const auto normal = [&](Vec2 uv) {
    const SurfacePoint s = geometry.at(domain.surface, uv);
    return cross(s.du, s.dv);
  };
  const std::size_t step = std::max<std::size_t>(1, places.size() / kBendPlaces);
  for (std::size_t i = 0; i < places.size(); i += step) {
    for (int way = 0; way < 2; ++way) {
      const Vec2 by = way == 0 ? Vec2{eps[0], 0} : Vec2{0, eps[1]};
      const Vec3 before = geometry.at(domain.surface, places[i] - by).p;
      const Vec3 behind = geometry.at(domain.surface, places[i] + by).p;
      const double way_size = distance(before, behind);
      if (!(way_size > 1e-12)) continue;
      const double angle = angleBetween(normal(places[i] - by), normal(places[i] + by));
      bend[way] = std::max(bend[way], angle / way_size);
    }
  }
  const auto allowed = [&](double of_way) {
    const double by_angle = std::max(tolerances.angle / of_way, tolerances.minimum_edge);
    return std::min(std::sqrt(8 * tolerances.chord / of_way), by_angle);
  };
  // Flat in both directions, or not measurable.
  if (!(bend[0] > 0 || bend[1] > 0) || !std::isfinite(bend[0] + bend[1])) return;
  const double ratio = std::clamp(bend[0] > 0 && bend[1] > 0 ? allowed(bend[0]) / allowed(bend[1])
                                                             : (bend[0] > 0 ? 0.0 : kMaximumStretch),
                                  1 / kMaximumStretch, kMaximumStretch);
  domain.stretch = {1 / std::sqrt(ratio), std::sqrt(ratio)};
}

}  // namespace

void measureDomain(Geometry& geometry, const SurfaceDomain& box, const std::vector<Unwrapped>& loops,
                   const Tolerances& tolerances, FaceDomain& domain) {
  std::vector<Vec2> places;
  Vec2 low{1e300, 1e300};
  Vec2 high{-1e300, -1e300};
  for (const Unwrapped& loop : loops) {
    const std::size_t step = std::max<std::size_t>(1, loop.points.size() / 24);
    for (std::size_t i = 0; i < loop.points.size(); i += step) {
      const Vec2 uv = loop.points[i].uv;
      places.push_back(uv);
      low = {std::min(low.u, uv.u), std::min(low.v, uv.v)};
      high = {std::max(high.u, uv.u), std::max(high.v, uv.v)};
    }
  }
  if (loops.empty() && box.u.bounded() && box.v.bounded()) {
    low = {box.u.low, box.v.low};
    high = {box.u.high, box.v.high};
    for (const double u : {0.25, 0.5, 0.75}) {
      for (const double v : {0.25, 0.5, 0.75}) {
        places.push_back({low.u + box.u.size() * u, low.v + box.v.size() * v});
      }
    }
  }
  Vec2 sum;
  for (const Vec2 uv : places) {
    const SurfacePoint s = geometry.at(domain.surface, uv);
    sum = sum + Vec2{length(s.du), length(s.dv)};
  }
  if (sum.u > 0 && sum.v > 0) domain.scale = sum * (1 / static_cast<double>(places.size()));
  const bool finite = std::isfinite(domain.scale.u) && std::isfinite(domain.scale.v);
  if (!finite && domain.problem.empty()) domain.problem = "a surface that is not finite";
  if (domain.surface.kind != SurfaceKind::Plane && !places.empty())
    stretch(geometry, box, tolerances, places, high - low, domain);
}

}  // namespace jttk::brep
