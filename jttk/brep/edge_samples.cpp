// Pieces of the curve are halved until chord and angle hold. Intersection curves are followed on the
// surfaces of the neighbouring faces.
#include "jttk/brep/edge_samples.h"

#include <algorithm>
#include <numbers>

#include "host/portable_math.h"

namespace jttk::brep {
namespace {

constexpr std::size_t kMaximumPoints = 16384;
constexpr int kMaximumDepth = 14;
// Pieces of a closed edge at least; fewer could collapse to a line.
constexpr int kRingPieces = 6;
// A curve whose ends are closer than this counts as closed, in metres.
constexpr double kSmallestGap = 1e-6;

class Sampler {
 public:
  Sampler(Geometry& geometry, const Edge& edge, const Tolerances& tolerances)
      : geometry_(geometry), edge_(edge), tolerances_(tolerances) {}

  EdgeSamples run() {
    if (edge_.curve == kNoIndex) {
      sampleTolerant();
    } else {
      sampleCurve(geometry_.curve(edge_.curve));
    }
    if (samples_.problem.empty() && samples_.points.size() < 2) samples_.problem = "an edge without length";
    for (const Vec3& p : samples_.points) {
      if (!isFinite(p)) samples_.problem = "an edge that is not finite";
    }
    if (samples_.points.size() >= kMaximumPoints) samples_.problem = "an edge of too many pieces";
    if (!geometry_.mayWork()) samples_.problem = kTooMuchWork;
    if (samples_.problem.empty()) pinEnds();
    return std::move(samples_);
  }

 private:
  [[nodiscard]] bool isRing() const { return edge_.start == kNoIndex || edge_.end == kNoIndex; }
  [[nodiscard]] bool isClosed() const { return isRing() || edge_.start == edge_.end; }
  [[nodiscard]] const Vec3& startPoint() const {
    return geometry_.bodies().vertices[static_cast<std::size_t>(edge_.start)].point;
  }
  [[nodiscard]] const Vec3& endPoint() const {
    return geometry_.bodies().vertices[static_cast<std::size_t>(edge_.end)].point;
  }

  // The computed ends are replaced by the vertices' points.
  void pinEnds() {
    if (isRing()) {
      samples_.points.back() = samples_.points.front();
    } else {
      samples_.points.front() = startPoint();
      samples_.points.back() = endPoint();
    }
  }

  // A tolerant edge has no curve: one of its fins' is sampled, which runs in the fin's direction.
  void sampleTolerant() {
    const auto& fins = geometry_.bodies().fins;
    samples_.problem = "an edge without a curve";
    for (const std::int32_t number : {edge_.forward_fin, edge_.backward_fin}) {
      if (number == kNoIndex || samples_.problem.empty()) continue;
      const Fin& fin = fins[static_cast<std::size_t>(number)];
      if (fin.curve == kNoIndex) continue;
      const Curve& curve = geometry_.curve(fin.curve);
      samples_ = {};
      if (curve.kind == CurveKind::Trimmed) {
        sampleBetween(curve, curve.parameters[0], curve.parameters[1]);
      } else if (curve.kind == CurveKind::OnSurface) {
        const Range limits = geometry_.range(curve);
        sampleBetween(curve, curve.reversed ? limits.high : limits.low,
                      curve.reversed ? limits.low : limits.high);
      } else {
        // Between two different vertices the direction follows from them, whatever the fin says.
        sampleCurve(curve);
        if (!isClosed()) continue;
      }
      if (!fin.forward) std::reverse(samples_.points.begin(), samples_.points.end());
    }
  }

  void sampleCurve(const Curve& curve) {
    if (curve.kind == CurveKind::Unknown) {
      samples_.problem = curve.problem;
    } else if (curve.kind == CurveKind::Trimmed) {
      const Curve& basis = geometry_.curve(curve.basis);
      if (basis.kind == CurveKind::Intersection) {
        // Our parameters of intersection curves are not the file's; only their order is used.
        const bool backward = curve.parameters[0] > curve.parameters[1];
        sampleIntersection(basis, backward);
      } else {
        sampleBetween(curve, curve.parameters[0], curve.parameters[1]);
      }
    } else if (curve.kind == CurveKind::Intersection) {
      sampleIntersection(curve, curve.reversed);
    } else if (curve.kind == CurveKind::Line) {
      if (isRing()) {
        samples_.problem = "a line that ends nowhere";
        return;
      }
      geometry_.counter().spendEvaluations(static_cast<std::uint64_t>(tolerances_.line_pieces));
      for (int i = 0; i <= tolerances_.line_pieces && geometry_.mayWork(); ++i) {
        const double share = static_cast<double>(i) / tolerances_.line_pieces;
        samples_.points.push_back(startPoint() + (endPoint() - startPoint()) * share);
      }
    } else {
      sampleNatural(curve);
    }
  }

  // From the start vertex to the end vertex in the edge's direction, once round if it is closed.
  void sampleNatural(const Curve& curve) {
    const Range limits = geometry_.range(curve);
    const double period = geometry_.period(curve);
    if (isClosed()) {
      if (!(period > 0)) {
        sampleNearlyClosed(curve, limits);
        return;
      }
      const double from = isRing() ? limits.low : geometry_.nearest(curve, startPoint(), std::nan(""), 1e-9);
      sampleBetween(curve, from, curve.reversed ? from - period : from + period);
      return;
    }
    double from = geometry_.nearest(curve, startPoint(), std::nan(""), 1e-9);
    double to = geometry_.nearest(curve, endPoint(), std::nan(""), 1e-9);
    if (period > 0) {
      // Forward from `from` to `to`, at most once round.
      double way = curve.reversed ? from - to : to - from;
      way -= period * std::floor(way / period);
      if (way < period * 1e-9) way = period;
      to = curve.reversed ? from - way : from + way;
    }
    sampleBetween(curve, from, to);
  }

  // A curve that closes only within tolerance: all of it is sampled.
  void sampleNearlyClosed(const Curve& curve, const Range& limits) {
    const double gap = std::max(kSmallestGap, edge_.tolerance);
    if (!limits.bounded() ||
        distance(geometry_.at(curve, limits.low).p, geometry_.at(curve, limits.high).p) > gap ||
        (!isRing() && distance(geometry_.at(curve, limits.low).p, startPoint()) > gap)) {
      samples_.problem = "a closed edge on an open curve";
      return;
    }
    sampleBetween(curve, curve.reversed ? limits.high : limits.low,
                  curve.reversed ? limits.low : limits.high);
  }

  // Smooth pieces of the curve between two parameters, in that order.
  std::vector<double> pieces(const Curve& curve, double from, double to) {
    const Curve& basis = curve.kind == CurveKind::Trimmed ? geometry_.curve(curve.basis) : curve;
    std::vector<double> places{from};
    const double low = std::min(from, to);
    const double high = std::max(from, to);
    if (basis.kind == CurveKind::BSpline || basis.kind == CurveKind::OnSurface) {
      const double period = geometry_.period(basis);
      std::vector<double> inside;
      for (const double t : geometry_.breaks(basis)) {
        double k = period > 0 ? std::ceil((low - t) / period) : 0;
        for (int turn = 0; turn < 3; ++turn, ++k) {
          const double place = t + k * period;
          if (place > low && place < high) inside.push_back(place);
          if (!(period > 0)) break;
        }
      }
      std::sort(inside.begin(), inside.end());
      inside.erase(std::unique(inside.begin(), inside.end()), inside.end());
      if (to < from) std::reverse(inside.begin(), inside.end());
      places.insert(places.end(), inside.begin(), inside.end());
    } else if (basis.kind == CurveKind::Circle) {
      const double sweep = std::abs(to - from);
      const double r = basis.radius;
      double step = r > tolerances_.chord ? 2 * portable::acos(1 - tolerances_.chord / r) : std::numbers::pi;
      double angle_step = tolerances_.angle;
      if (tolerances_.minimum_edge > 0) angle_step = std::max(angle_step, tolerances_.minimum_edge / r);
      step = std::min(step, angle_step);
      const double count = std::clamp(std::ceil(sweep / step - 1e-9), 1.0, double{kMaximumPoints});
      for (int i = 1; i < static_cast<int>(count); ++i) places.push_back(from + (to - from) * i / count);
    }
    if (basis.kind == CurveKind::Line) {
      for (int i = 1; i < tolerances_.line_pieces; ++i)
        places.push_back(from + (to - from) * i / tolerances_.line_pieces);
    }
    places.push_back(to);
    if (isClosed() && places.size() < kRingPieces + 1) {
      std::vector<double> more;
      for (std::size_t i = 0; i + 1 < places.size(); ++i) {
        const auto parts = static_cast<int>(kRingPieces / (places.size() - 1) + 1);
        for (int k = 0; k < parts; ++k) more.push_back(places[i] + (places[i + 1] - places[i]) * k / parts);
      }
      more.push_back(to);
      places.swap(more);
    }
    return places;
  }

  void sampleBetween(const Curve& curve, double from, double to) {
    if (!(std::abs(to - from) > 0) || !std::isfinite(to - from)) {
      samples_.problem = "an edge without length";
      return;
    }
    const std::vector<double> places = pieces(curve, from, to);
    const Curve& basis = curve.kind == CurveKind::Trimmed ? geometry_.curve(curve.basis) : curve;
    CurvePoint last = geometry_.at(curve, from);
    samples_.points.push_back(last.p);
    const double direction = to < from ? -1 : 1;
    last.d = last.d * direction;
    for (std::size_t i = 1; i < places.size() && geometry_.mayWork(); ++i) {
      CurvePoint here = geometry_.at(curve, places[i]);
      here.d = here.d * direction;
      if (basis.kind != CurveKind::Line && basis.kind != CurveKind::Circle) {
        halve(curve, places[i - 1], last, places[i], here, direction, 0);
      }
      samples_.points.push_back(here.p);
      last = here;
    }
  }

  [[nodiscard]] bool tooSharp(double angle, double size) const {
    return angle > tolerances_.angle && size > 2 * tolerances_.minimum_edge && size > 1e-9;
  }

  void halve(const Curve& curve, double t0, const CurvePoint& p0, double t1, const CurvePoint& p1,
             double direction, int depth) {
    if (depth >= kMaximumDepth || samples_.points.size() >= kMaximumPoints || !geometry_.mayWork()) return;
    const double t = (t0 + t1) / 2;
    CurvePoint middle = geometry_.at(curve, t);
    middle.d = middle.d * direction;
    const double size = distance(p0.p, middle.p) + distance(middle.p, p1.p);
    bool split = distanceToChord(middle.p, p0.p, p1.p) > tolerances_.chord ||
                 tooSharp(angleBetween(p0.d, p1.d), size) || tooSharp(2 * angleBetween(p0.d, middle.d), size);
    for (const double s : {0.2, 0.75}) {
      if (split) break;
      split = distanceToChord(geometry_.at(curve, t0 + (t1 - t0) * s).p, p0.p, p1.p) > tolerances_.chord;
    }
    if (!split) return;
    halve(curve, t0, p0, t, middle, direction, depth + 1);
    samples_.points.push_back(middle.p);
    halve(curve, t, middle, t1, p1, direction, depth + 1);
  }

  // Chart parameter (index + fraction) nearest to p.
  double chartPlace(const std::vector<Vec3>& chart, const Vec3& p) {
    geometry_.counter().spendSteps(chart.size());
    double best = 0;
    double best_size = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i + 1 < chart.size(); ++i) {
      const Vec3 way = chart[i + 1] - chart[i];
      const double t = std::clamp(dot(p - chart[i], way) / dot(way, way), 0.0, 1.0);
      const double size = distance(p, chart[i] + way * t);
      if (size < best_size) {
        best_size = size;
        best = static_cast<double>(i) + t;
      }
    }
    return best;
  }

  // The surfaces that the edge lies on: those of the faces at its sides, else the curve's own.
  bool sides(const Curve& curve, const Surface* surfaces[2]) const {
    const Bodies& bodies = geometry_.bodies();
    int found = 0;
    for (const std::int32_t number : {edge_.forward_fin, edge_.backward_fin}) {
      if (number == kNoIndex) continue;
      const Face& face =
          bodies.faces[static_cast<std::size_t>(bodies.fins[static_cast<std::size_t>(number)].face)];
      if (face.surface == kNoIndex || geometry_.surface(face.surface).kind == SurfaceKind::Unknown) continue;
      surfaces[found++] = &geometry_.surface(face.surface);
    }
    if (found == 2 && surfaces[0] != surfaces[1]) return true;
    for (int i = 0; i < 2; ++i) {
      if (curve.surfaces[i] == kNoIndex) return false;
      surfaces[i] = &geometry_.surface(curve.surfaces[i]);
      if (surfaces[i]->kind == SurfaceKind::Unknown) return false;
    }
    return true;
  }

  void sampleIntersection(const Curve& curve, bool backward) {
    const auto& chart = curve.chart;
    const auto last = static_cast<double>(chart.size() - 1);
    std::vector<Vec3> coarse;
    geometry_.counter().spendEvaluations(chart.size());
    if (!geometry_.mayWork()) return;
    if (isClosed() && !curve.closed) {
      samples_.problem = "a closed edge on an open curve";
      return;
    }
    double from = isRing() ? 0 : chartPlace(chart, startPoint());
    double to = isRing() ? last : chartPlace(chart, endPoint());
    // On an open curve the positions of the vertices along the chart decide the direction, not the stored
    // senses.
    const bool swapped = curve.closed ? backward : from > to;
    if (swapped && !isRing()) std::swap(from, to);
    if (curve.closed && !(from < to)) to += last;
    coarse.push_back(isRing() ? chart.front() : (swapped ? endPoint() : startPoint()));
    const auto first_inside = static_cast<std::size_t>(from + 1e-7) + 1;
    for (std::size_t k = first_inside; static_cast<double>(k) < to - 1e-7; ++k) {
      const Vec3& p = chart[k % (curve.closed ? chart.size() - 1 : chart.size())];
      if (distance(p, coarse.back()) > 1e-9) coarse.push_back(p);
    }
    const Vec3 end = isRing() ? chart.front() : (swapped ? startPoint() : endPoint());
    if (coarse.size() > 1 && distance(coarse.back(), end) < 1e-9) coarse.pop_back();
    coarse.push_back(end);
    if (swapped) std::reverse(coarse.begin(), coarse.end());
    Geometry::Crossing crossing;
    const bool has_surfaces = sides(curve, crossing.surfaces);
    samples_.points.push_back(coarse.front());
    for (std::size_t i = 1; i < coarse.size(); ++i) {
      if (has_surfaces) {
        touching_ = geometry_.touches(crossing, coarse[i - 1]) && geometry_.touches(crossing, coarse[i]);
        follow(crossing, coarse[i - 1], coarse[i], 0);
      }
      samples_.points.push_back(coarse[i]);
    }
  }

  void follow(Geometry::Crossing& crossing, const Vec3& a, const Vec3& b, int depth) {
    if (depth >= kMaximumDepth || samples_.points.size() >= kMaximumPoints || !geometry_.mayWork()) return;
    const double size = distance(a, b);
    if (!(size > 1e-9)) return;
    const auto between = [&](double s, Vec3& p) {
      p = a + (b - a) * s;
      return geometry_.relax(crossing, p, (b - a) * (1 / size), size, touching_);
    };
    Vec3 middle;
    if (!between(0.5, middle)) return;
    bool split = distanceToChord(middle, a, b) > tolerances_.chord ||
                 tooSharp(2 * angleBetween(middle - a, b - middle), size);
    if (!split && depth == 0) {
      for (const double s : {0.2, 0.75}) {
        Vec3 p;
        if (between(s, p) && distanceToChord(p, a, b) > tolerances_.chord) split = true;
      }
    }
    if (!split) return;
    follow(crossing, a, middle, depth + 1);
    samples_.points.push_back(middle);
    follow(crossing, middle, b, depth + 1);
  }

  Geometry& geometry_;
  const Edge& edge_;
  const Tolerances& tolerances_;
  EdgeSamples samples_;
  bool touching_ = false;
};

}  // namespace

double distanceToChord(const Vec3& p, const Vec3& a, const Vec3& b) {
  const Vec3 way = b - a;
  const double size = dot(way, way);
  const double t = size > 0 ? std::clamp(dot(p - a, way) / size, 0.0, 1.0) : 0;
  return distance(p, a + way * t);
}

EdgeSamples sampleEdge(Geometry& geometry, const Edge& edge, const Tolerances& tolerances) {
  return Sampler(geometry, edge, tolerances).run();
}

}  // namespace jttk::brep
