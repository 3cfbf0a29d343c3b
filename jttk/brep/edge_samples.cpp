// Pieces of the curve are halved until chord and angle hold. Intersection curves are followed on the
// surfaces of the neighbouring faces.
#include "jttk/brep/edge_samples.h"

#include <algorithm>

#include "jttk/brep/curve_pieces.h"
#include "jttk/brep/precision.h"

namespace jttk::brep {
namespace {

// A piece is halved so often at most: 2^14 pieces are as many as an edge may have.
constexpr int kMaximumDepth = 14;
// Where a piece is compared with its chord in addition to its middle, in shares of the piece: not symmetric,
// so that an S-shaped piece, which passes through the middle of its chord, is seen.
constexpr double kOtherProbes[] = {0.2, 0.75};

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
    if (samples_.usable && samples_.points.size() < 2) samples_.usable = fail("an edge without length");
    for (const Vec3& p : samples_.points) {
      if (!isFinite(p)) samples_.usable = fail("an edge that is not finite");
    }
    if (samples_.points.size() >= kMaximumEdgePoints) samples_.usable = fail("an edge of too many pieces");
    if (!geometry_.mayWork()) samples_.usable = fail(kTooMuchWork);
    if (samples_.usable) pinEnds();
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
    samples_.usable = fail("an edge without a curve");
    for (const std::int32_t number : {edge_.forward_fin, edge_.backward_fin}) {
      if (number == kNoIndex || samples_.usable) continue;
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
      samples_.usable = curve.usable;
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
        samples_.usable = fail("a line that ends nowhere");
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
      const double from =
          isRing() ? limits.low : geometry_.nearest(curve, startPoint(), std::nan(""), kSamePoint);
      sampleBetween(curve, from, curve.reversed ? from - period : from + period);
      return;
    }
    double from = geometry_.nearest(curve, startPoint(), std::nan(""), kSamePoint);
    double to = geometry_.nearest(curve, endPoint(), std::nan(""), kSamePoint);
    if (period > 0) {
      // Forward from `from` to `to`, at most once round.
      double sweep = curve.reversed ? from - to : to - from;
      sweep -= period * std::floor(sweep / period);
      if (sweep < period * kPeriodRounding) sweep = period;
      to = curve.reversed ? from - sweep : from + sweep;
    }
    sampleBetween(curve, from, to);
  }

  // A curve that closes only within tolerance: all of it is sampled.
  void sampleNearlyClosed(const Curve& curve, const Range& limits) {
    const double gap = std::max(kClosingGap, edge_.tolerance);
    if (!limits.bounded() ||
        distance(geometry_.at(curve, limits.low).p, geometry_.at(curve, limits.high).p) > gap ||
        (!isRing() && distance(geometry_.at(curve, limits.low).p, startPoint()) > gap)) {
      samples_.usable = fail("a closed edge on an open curve");
      return;
    }
    sampleBetween(curve, curve.reversed ? limits.high : limits.low,
                  curve.reversed ? limits.low : limits.high);
  }

  void sampleBetween(const Curve& curve, double from, double to) {
    if (!(std::abs(to - from) > 0) || !std::isfinite(to - from)) {
      samples_.usable = fail("an edge without length");
      return;
    }
    const std::vector<double> parameters = curvePieces(geometry_, curve, {from, to, isClosed()}, tolerances_);
    const Curve& basis = curve.kind == CurveKind::Trimmed ? geometry_.curve(curve.basis) : curve;
    const double direction = to < from ? -1 : 1;
    const Sampled sampled{curve, direction};
    Sample last = sampleAt(sampled, from);
    samples_.points.push_back(last.p);
    for (std::size_t i = 1; i < parameters.size() && geometry_.mayWork(); ++i) {
      const Sample here = sampleAt(sampled, parameters[i]);
      if (basis.kind != CurveKind::Line && basis.kind != CurveKind::Circle) halve(sampled, last, here, 0);
      samples_.points.push_back(here.p);
      last = here;
    }
  }

  [[nodiscard]] bool tooSharp(double angle, double size) const {
    return angle > tolerances_.angle && size > 2 * tolerances_.minimum_edge && size > kSamePoint;
  }

  // A curve and the direction that it is sampled in: 1, or -1 against its parameter.
  struct Sampled {
    const Curve& curve;
    double direction;
  };
  struct Sample {
    double t;
    Vec3 p;
    Vec3 d;  // derivative in the direction of sampling
  };
  Sample sampleAt(const Sampled& sampled, double t) {
    const CurvePoint at = geometry_.at(sampled.curve, t);
    return {t, at.p, at.d * sampled.direction};
  }

  // Points between two samples, by halving the piece until it is fine.
  void halve(const Sampled& sampled, const Sample& from, const Sample& to, int depth) {
    if (depth >= kMaximumDepth || samples_.points.size() >= kMaximumEdgePoints || !geometry_.mayWork())
      return;
    const Sample middle = sampleAt(sampled, (from.t + to.t) / 2);
    const double size = distance(from.p, middle.p) + distance(middle.p, to.p);
    bool split = distanceToChord(middle.p, from.p, to.p) > tolerances_.chord ||
                 tooSharp(angleBetween(from.d, to.d), size) ||
                 tooSharp(2 * angleBetween(from.d, middle.d), size);
    for (const double s : kOtherProbes) {
      if (split) break;
      const Vec3 probe = geometry_.at(sampled.curve, from.t + (to.t - from.t) * s).p;
      split = distanceToChord(probe, from.p, to.p) > tolerances_.chord;
    }
    if (!split) return;
    halve(sampled, from, middle, depth + 1);
    samples_.points.push_back(middle.p);
    halve(sampled, middle, to, depth + 1);
  }

  // Chart parameter (index + fraction) nearest to p.
  double chartParameter(const std::vector<Vec3>& chart, const Vec3& p) {
    geometry_.counter().spendSteps(chart.size());
    double best = 0;
    double best_size = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i + 1 < chart.size(); ++i) {
      const Vec3 chord = chart[i + 1] - chart[i];
      const double t = std::clamp(dot(p - chart[i], chord) / dot(chord, chord), 0.0, 1.0);
      const double size = distance(p, chart[i] + chord * t);
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
    geometry_.counter().spendEvaluations(curve.chart.size());
    if (!geometry_.mayWork()) return;
    if (isClosed() && !curve.closed) {
      samples_.usable = fail("a closed edge on an open curve");
      return;
    }
    const std::vector<Vec3> coarse = chartPoints(curve, backward);
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

  // The edge's ends and the chart's points between them, from its start to its end.
  std::vector<Vec3> chartPoints(const Curve& curve, bool backward) {
    const auto& chart = curve.chart;
    const auto last = static_cast<double>(chart.size() - 1);
    std::vector<Vec3> coarse;
    double from = isRing() ? 0 : chartParameter(chart, startPoint());
    double to = isRing() ? last : chartParameter(chart, endPoint());
    // On an open curve the positions of the vertices along the chart decide the direction, not the stored
    // senses.
    const bool swapped = curve.closed ? backward : from > to;
    if (swapped && !isRing()) std::swap(from, to);
    if (curve.closed && !(from < to)) to += last;
    coarse.push_back(isRing() ? chart.front() : (swapped ? endPoint() : startPoint()));
    const auto first_inside = static_cast<std::size_t>(from + kChartStep) + 1;
    for (std::size_t k = first_inside; static_cast<double>(k) < to - kChartStep; ++k) {
      const Vec3& p = chart[k % (curve.closed ? chart.size() - 1 : chart.size())];
      if (distance(p, coarse.back()) > kSamePoint) coarse.push_back(p);
    }
    const Vec3 end = isRing() ? chart.front() : (swapped ? startPoint() : endPoint());
    if (coarse.size() > 1 && distance(coarse.back(), end) < kSamePoint) coarse.pop_back();
    coarse.push_back(end);
    if (swapped) std::reverse(coarse.begin(), coarse.end());
    return coarse;
  }

  void follow(Geometry::Crossing& crossing, const Vec3& a, const Vec3& b, int depth) {
    if (depth >= kMaximumDepth || samples_.points.size() >= kMaximumEdgePoints || !geometry_.mayWork())
      return;
    const double size = distance(a, b);
    if (!(size > kSamePoint)) return;
    const auto between = [&](double s, Vec3& p) {
      p = a + (b - a) * s;
      return geometry_.relax(crossing, p, (b - a) * (1 / size), size, touching_);
    };
    Vec3 middle;
    if (!between(0.5, middle)) return;
    bool split = distanceToChord(middle, a, b) > tolerances_.chord ||
                 tooSharp(2 * angleBetween(middle - a, b - middle), size);
    if (!split && depth == 0) {
      for (const double s : kOtherProbes) {
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
  const Vec3 chord = b - a;
  const double size = dot(chord, chord);
  const double t = size > 0 ? std::clamp(dot(p - a, chord) / size, 0.0, 1.0) : 0;
  return distance(p, a + chord * t);
}

EdgeSamples sampleEdge(Geometry& geometry, const Edge& edge, const Tolerances& tolerances) {
  return Sampler(geometry, edge, tolerances).run();
}

}  // namespace jttk::brep
