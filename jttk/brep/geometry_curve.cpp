// Curves: closed forms, splines, and intersection curves, which are interpolated between the points of their
// fine form (intersection_curve.cpp); and the search for the parameter nearest to a point.
#include <algorithm>

#include "host/portable_math.h"
#include "jttk/brep/geometry.h"
#include "jttk/brep/precision.h"
#include "jttk/brep/vec.h"

namespace jttk::brep {
namespace {

// Of the search along a curve: steps from one start; starts in each smooth piece; starts that are followed,
// the best of them; and even pieces of a curve without breaks.
constexpr int kMaximumCurveSteps = 30;
constexpr int kStartsPerPiece = 4;
constexpr std::size_t kFollowedStarts = 3;
constexpr int kEvenPieces = 8;
// A result that is larger by this share than the best is as good: the last steps only round.
constexpr double kSizeRounding = 1e-14;
// A secant is trusted between these multiples of the slope of a straight curve: beyond, the curve bends too
// much between the two parameters.
constexpr double kLeastSecant = 0.05;
constexpr double kGreatestSecant = 20;

bool isClosedSpline(const CurveSpline& spline) {
  const double low = spline.knots[static_cast<std::size_t>(spline.degree)];
  const double high = spline.knots[static_cast<std::size_t>(spline.point_count)];
  const Vec3 a = evaluateSpline(spline, low).p;
  const Vec3 b = evaluateSpline(spline, high).p;
  const Vec3 middle = evaluateSpline(spline, (low + high) / 2).p;
  return distance(a, b) <= kSamePoint + kClosedCurveGap * distance(a, middle) &&
         distance(a, middle) > kSamePoint;
}

std::vector<double> distinctKnots(const std::vector<double>& knots, int degree, int point_count) {
  std::vector<double> distinct(knots.begin() + degree, knots.begin() + point_count + 1);
  distinct.erase(std::unique(distinct.begin(), distinct.end()), distinct.end());
  return distinct;
}

CurvePoint interpolated(const FineCurve& points, bool closed, double t) {
  if (closed) t = t - points.t.back() * std::floor(t / points.t.back());
  // Straight on beyond the ends.
  if (t <= points.t.front()) return {points.p.front() + points.d.front() * t, points.d.front()};
  if (t >= points.t.back()) {
    return {points.p.back() + points.d.back() * (t - points.t.back()), points.d.back()};
  }
  const auto above = std::upper_bound(points.t.begin(), points.t.end(), t);
  const auto i = static_cast<std::size_t>(above - points.t.begin()) - 1;
  const double width = points.t[i + 1] - points.t[i];
  return hermite({points.p[i], points.d[i]}, {points.p[i + 1], points.d[i + 1]}, (t - points.t[i]) / width,
                 width);
}

// Looks for the parameter at which |residual| is least; `residual` gives value and derivative.
class CurveSearch {
 public:
  using Residual = std::function<CurvePoint(double)>;
  CurveSearch(Geometry& geometry, const Curve& curve, const Residual& residual)
      : geometry_(geometry),
        curve_(curve),
        residual_(residual),
        limits_(geometry.range(curve)),
        wraps_(geometry.period(curve) > 0) {}

  [[nodiscard]] double best() const { return best_; }
  [[nodiscard]] double bestSize() const { return best_size_; }

  // The residual is across the curve where its product with the derivative is 0. The slope of that product:
  // at first as if the curve were straight, then from the last two parameters.
  void descendFrom(double t) {
    double last_t = t;
    double last_g = 0;
    for (int step = 0; step < kMaximumCurveSteps && geometry_.mayWork(); ++step) {
      const CurvePoint r = residual_(t);
      const double size = length(r.p);
      const double straight = dot(r.d, r.d);
      const double g = dot(r.p, r.d);
      if (!(straight > 0) || !std::isfinite(g)) return;
      if (size <= best_size_ * (1 + kSizeRounding)) {
        best_size_ = std::min(size, best_size_);
        best_ = t;
      }
      double slope = straight;
      if (step > 0 && t != last_t) {
        const double secant = (g - last_g) / (t - last_t);
        if (secant > kLeastSecant * straight && secant < kGreatestSecant * straight) slope = secant;
      }
      const double next = held(t - g / slope);
      if (!std::isfinite(next)) return;
      last_t = t;
      last_g = g;
      t = next;
      if (std::abs(t - last_t) <= kParameterRounding * (1 + std::abs(t))) return;
    }
  }

  // The parameters with the least residuals among a few of each smooth piece, the best first.
  std::vector<double> bestStarts() {
    const std::vector<double> ends = geometry_.breaks(curve_);
    const int per_piece = curve_.kind == CurveKind::Intersection ? 1 : kStartsPerPiece;
    struct Start {
      double size;
      double t;
    };
    std::vector<Start> starts;
    for (std::size_t i = 0; i + 1 < ends.size(); ++i) {
      for (int k = 0; k < per_piece; ++k) {
        const double t = ends[i] + (ends[i + 1] - ends[i]) * k / per_piece;
        starts.push_back({length(residual_(t).p), t});
      }
    }
    starts.push_back({length(residual_(ends.back()).p), ends.back()});
    const std::size_t kept = std::min(kFollowedStarts, starts.size());
    std::partial_sort(starts.begin(), starts.begin() + static_cast<std::ptrdiff_t>(kept), starts.end(),
                      [](const Start& a, const Start& b) { return a.size < b.size; });
    std::vector<double> parameters;
    for (std::size_t i = 0; i < kept; ++i) parameters.push_back(starts[i].t);
    return parameters;
  }

 private:
  [[nodiscard]] double held(double t) const {
    const bool clamps = !wraps_ && limits_.bounded() && curve_.kind != CurveKind::Intersection;
    return clamps ? std::clamp(t, limits_.low, limits_.high) : t;
  }

  Geometry& geometry_;
  const Curve& curve_;
  const Residual& residual_;
  Range limits_;
  bool wraps_;
  double best_ = 0;
  double best_size_ = std::numeric_limits<double>::infinity();
};

}  // namespace

double wrapNear(double value, double near, double period) {
  return period > 0 ? value - period * std::round((value - near) / period) : value;
}

CurvePoint Geometry::at(const Curve& curve, double t) {
  if (!mayWork()) return {};
  work();
  const Frame& f = curve.frame;
  switch (curve.kind) {
    case CurveKind::Line:
      return {f.origin + f.z * t, f.z};
    case CurveKind::Circle:
    case CurveKind::Ellipse: {
      const double c = portable::cos(t);
      const double s = portable::sin(t);
      return {f.origin + f.x * (curve.radius * c) + f.y * (curve.radius_2 * s),
              f.x * (-curve.radius * s) + f.y * (curve.radius_2 * c)};
    }
    case CurveKind::BSpline: {
      const double span = period(curve);
      if (span > 0) {
        const double low = range(curve).low;
        t -= span * std::floor((t - low) / span);
      }
      counter_.spendSteps(stepsOf(spline(curve)));
      return evaluateSpline(spline(curve), t);
    }
    case CurveKind::OnSurface: {
      counter_.spendSteps(stepsOf(spline(curve)));
      const CurvePoint uv = evaluateSpline(spline(curve), t);
      const SurfacePoint on = at(surface(curve.surfaces[0]), {uv.p.x, uv.p.y});
      return {on.p, on.du * uv.d.x + on.dv * uv.d.y};
    }
    case CurveKind::Trimmed:
      return at(this->curve(curve.basis), t);
    case CurveKind::Intersection:
      return interpolated(fine(curve), curve.closed, t);
    case CurveKind::Unknown:
      break;
  }
  return {};
}

Range Geometry::range(const Curve& curve) {
  switch (curve.kind) {
    case CurveKind::Circle:
    case CurveKind::Ellipse:
      return {0, kTurn};
    case CurveKind::BSpline:
    case CurveKind::OnSurface: {
      const CurveSpline& s = spline(curve);
      return {s.knots[static_cast<std::size_t>(s.degree)], s.knots[static_cast<std::size_t>(s.point_count)]};
    }
    case CurveKind::Trimmed:
      return {std::min(curve.parameters[0], curve.parameters[1]),
              std::max(curve.parameters[0], curve.parameters[1])};
    case CurveKind::Intersection:
      return {0, static_cast<double>(curve.chart.size() - 1)};
    default:
      return {};
  }
}

double Geometry::period(const Curve& curve) {
  switch (curve.kind) {
    case CurveKind::Circle:
    case CurveKind::Ellipse:
      return kTurn;
    case CurveKind::BSpline: {
      closed_splines_.resize(bodies_.curve_splines.size());
      std::optional<bool>& closed = closed_splines_[static_cast<std::size_t>(curve.spline)];
      if (!closed) closed = isClosedSpline(spline(curve));
      return *closed ? range(curve).size() : 0;
    }
    case CurveKind::Intersection:
      return curve.closed ? range(curve).size() : 0;
    default:
      return 0;
  }
}

std::vector<double> Geometry::breaks(const Curve& curve) {
  switch (curve.kind) {
    case CurveKind::BSpline:
    case CurveKind::OnSurface: {
      const CurveSpline& s = spline(curve);
      counter_.spendSteps(s.knots.size());
      return distinctKnots(s.knots, s.degree, s.point_count);
    }
    case CurveKind::Intersection:
      counter_.spendSteps(fine(curve).t.size());
      return fine(curve).t;
    case CurveKind::Trimmed: {
      const Range limits = range(curve);
      std::vector<double> inside{limits.low};
      for (const double t : breaks(this->curve(curve.basis))) {
        if (t > limits.low && t < limits.high) inside.push_back(t);
      }
      inside.push_back(limits.high);
      return inside;
    }
    default: {
      const Range limits = range(curve);
      std::vector<double> even;
      for (int i = 0; i <= kEvenPieces && limits.bounded(); ++i)
        even.push_back(limits.low + limits.size() * i / kEvenPieces);
      return even;
    }
  }
}

double Geometry::minimize(const Curve& curve, double guess, double accept,
                          const std::function<CurvePoint(double)>& residual) {
  CurveSearch search(*this, curve, residual);
  if (std::isfinite(guess)) {
    search.descendFrom(guess);
    if (search.bestSize() <= accept) return search.best();
  }
  if (!range(curve).bounded()) {
    search.descendFrom(0);
    return search.best();
  }
  for (const double start : search.bestStarts()) {
    search.descendFrom(start);
    if (search.bestSize() <= accept * kGoodEnoughShare) break;
  }
  return search.best();
}

double Geometry::nearest(const Curve& curve, const Vec3& p, double guess, double accept) {
  const Frame& f = curve.frame;
  if (curve.kind == CurveKind::Line) return dot(p - f.origin, f.z);
  if (curve.kind == CurveKind::Circle) return portable::atan2(dot(p - f.origin, f.y), dot(p - f.origin, f.x));
  if (curve.kind == CurveKind::Trimmed) return nearest(this->curve(curve.basis), p, guess, accept);
  return minimize(curve, guess, accept, [&](double t) {
    CurvePoint r = at(curve, t);
    r.p = r.p - p;
    return r;
  });
}

}  // namespace jttk::brep
