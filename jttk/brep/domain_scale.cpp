// How long a step in the parameter plane is on the surface, and how the surface bends.
#include "jttk/brep/domain_scale.h"

#include <algorithm>
#include <cmath>

#include "jttk/brep/precision.h"

namespace jttk::brep {
namespace {

// Curvature estimate: number of sample points (at least), steps per extent, largest ratio of the stretch
// factors.
constexpr std::size_t kBendSamples = 6;
constexpr double kBendSteps = 200;
constexpr double kMaximumStretch = 8;
// Points of each loop at most (roughly) at which the surface is measured; without loops, these shares of its
// ranges.
constexpr std::size_t kMeasuredPoints = 24;
constexpr double kMeasuredShares[] = {0.25, 0.5, 0.75};
// An arc of curvature k and small length l is l * l * k / 8 away from its chord.
constexpr double kChordHeight = 8;

// Points of the parameter plane, and their box.
struct Samples {
  std::vector<Vec2> uv;
  Vec2 low{kBeyondAll, kBeyondAll};
  Vec2 high{-kBeyondAll, -kBeyondAll};
};

// Points of the loops, or all over a surface without loops.
Samples takeSamples(const SurfaceDomain& box, const std::vector<Unwrapped>& loops) {
  Samples samples;
  for (const Unwrapped& loop : loops) {
    const std::size_t step = std::max<std::size_t>(1, loop.points.size() / kMeasuredPoints);
    for (std::size_t i = 0; i < loop.points.size(); i += step) {
      const Vec2 uv = loop.points[i].uv;
      samples.uv.push_back(uv);
      samples.low = {std::min(samples.low.u, uv.u), std::min(samples.low.v, uv.v)};
      samples.high = {std::max(samples.high.u, uv.u), std::max(samples.high.v, uv.v)};
    }
  }
  if (loops.empty() && box.u.bounded() && box.v.bounded()) {
    samples.low = {box.u.low, box.v.low};
    samples.high = {box.u.high, box.v.high};
    for (const double u : kMeasuredShares) {
      for (const double v : kMeasuredShares) {
        samples.uv.push_back({samples.low.u + box.u.size() * u, samples.low.v + box.v.size() * v});
      }
    }
  }
  return samples;
}

// Where curvature differs between u and v, triangles may be longer along the flatter direction. The plane is
// stretched so that the edge lengths that the tolerances allow are equal.
void stretch(Geometry& geometry, const SurfaceDomain& box, const Tolerances& tolerances, const Samples& over,
             FaceDomain& domain) {
  const std::vector<Vec2>& samples = over.uv;
  const Vec2 extent = over.high - over.low;
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
  const std::size_t step = std::max<std::size_t>(1, samples.size() / kBendSamples);
  for (std::size_t i = 0; i < samples.size(); i += step) {
    for (int direction = 0; direction < 2; ++direction) {
      const Vec2 by = direction == 0 ? Vec2{eps[0], 0} : Vec2{0, eps[1]};
      const Vec3 before = geometry.at(domain.surface, samples[i] - by).p;
      const Vec3 behind = geometry.at(domain.surface, samples[i] + by).p;
      const double step_size = distance(before, behind);
      if (!(step_size > kNoLength)) continue;
      const double angle = angleBetween(normal(samples[i] - by), normal(samples[i] + by));
      bend[direction] = std::max(bend[direction], angle / step_size);
    }
  }
  const auto allowed = [&](double curvature) {
    const double by_angle = std::max(tolerances.angle / curvature, tolerances.minimum_edge);
    return std::min(std::sqrt(kChordHeight * tolerances.chord / curvature), by_angle);
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
  const Samples samples = takeSamples(box, loops);
  Vec2 sum;
  for (const Vec2 uv : samples.uv) {
    const SurfacePoint s = geometry.at(domain.surface, uv);
    sum = sum + Vec2{length(s.du), length(s.dv)};
  }
  if (sum.u > 0 && sum.v > 0) domain.scale = sum * (1 / static_cast<double>(samples.uv.size()));
  const bool finite = std::isfinite(domain.scale.u) && std::isfinite(domain.scale.v);
  if (!finite && domain.usable) domain.usable = fail("a surface that is not finite");
  if (domain.surface.kind != SurfaceKind::Plane && !samples.uv.empty())
    stretch(geometry, box, tolerances, samples, domain);
}

}  // namespace jttk::brep
