#include "jttk/brep/curve_pieces.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "host/portable_math.h"
#include "jttk/brep/precision.h"

namespace jttk::brep {
namespace {

// Pieces of a closed edge at least; fewer could collapse to a line.
constexpr int kRingPieces = 6;
// Copies of a break, one period apart, that may lie inside the parameters of an edge: an edge goes round once
// at most and may begin anywhere.
constexpr int kMaximumPeriods = 3;

// Breaks of the curve between two parameters, in that order; a break of a closed curve also one period on.
void addBreaks(Geometry& geometry, const Curve& basis, const CurvePart& part,
               std::vector<double>& parameters) {
  const double low = std::min(part.from, part.to);
  const double high = std::max(part.from, part.to);
  const double period = geometry.period(basis);
  std::vector<double> inside;
  for (const double t : geometry.breaks(basis)) {
    double k = period > 0 ? std::ceil((low - t) / period) : 0;
    for (int turn = 0; turn < kMaximumPeriods; ++turn, ++k) {
      const double copy = t + k * period;
      if (copy > low && copy < high) inside.push_back(copy);
      if (!(period > 0)) break;
    }
  }
  std::sort(inside.begin(), inside.end());
  inside.erase(std::unique(inside.begin(), inside.end()), inside.end());
  if (part.to < part.from) std::reverse(inside.begin(), inside.end());
  parameters.insert(parameters.end(), inside.begin(), inside.end());
}

// Even pieces of a circle that keep the tolerances.
void addArcs(const Curve& circle, const CurvePart& part, const Tolerances& tolerances,
             std::vector<double>& parameters) {
  const double sweep = std::abs(part.to - part.from);
  const double r = circle.radius;
  double step = r > tolerances.chord ? 2 * portable::acos(1 - tolerances.chord / r) : std::numbers::pi;
  double angle_step = tolerances.angle;
  if (tolerances.minimum_edge > 0) angle_step = std::max(angle_step, tolerances.minimum_edge / r);
  step = std::min(step, angle_step);
  const double count = std::clamp(std::ceil(sweep / step - kPieceRounding), 1.0, double{kMaximumEdgePoints});
  for (int i = 1; i < static_cast<int>(count); ++i)
    parameters.push_back(part.from + (part.to - part.from) * i / count);
}

// So that there are at least kRingPieces.
void splitEvenly(std::vector<double>& parameters) {
  std::vector<double> more;
  for (std::size_t i = 0; i + 1 < parameters.size(); ++i) {
    const auto parts = static_cast<int>(kRingPieces / (parameters.size() - 1) + 1);
    for (int k = 0; k < parts; ++k)
      more.push_back(parameters[i] + (parameters[i + 1] - parameters[i]) * k / parts);
  }
  more.push_back(parameters.back());
  parameters.swap(more);
}

}  // namespace

std::vector<double> curvePieces(Geometry& geometry, const Curve& curve, const CurvePart& part,
                                const Tolerances& tolerances) {
  const Curve& basis = curve.kind == CurveKind::Trimmed ? geometry.curve(curve.basis) : curve;
  std::vector<double> parameters{part.from};
  if (basis.kind == CurveKind::BSpline || basis.kind == CurveKind::OnSurface) {
    addBreaks(geometry, basis, part, parameters);
  } else if (basis.kind == CurveKind::Circle) {
    addArcs(basis, part, tolerances, parameters);
  } else if (basis.kind == CurveKind::Line) {
    for (int i = 1; i < tolerances.line_pieces; ++i)
      parameters.push_back(part.from + (part.to - part.from) * i / tolerances.line_pieces);
  }
  parameters.push_back(part.to);
  if (part.closed && parameters.size() < kRingPieces + 1) splitEvenly(parameters);
  return parameters;
}

}  // namespace jttk::brep
