// The splines of curves and surfaces: knots stored as distinct values with multiplicities, nets of points
// that must fit them, and closed directions, which may store one period only.
#include <algorithm>
#include <cmath>

#include "jttk/brep/bspline.h"
#include "jttk/brep/precision.h"
#include "jttk/brep/xt_geometry.h"
#include "jttk/brep/xt_node_types.h"
#include "jttk/brep/xt_simple_geometry.h"

namespace jttk::brep {
namespace {

// Knots with repetitions from distinct knots and multiplicities; only the first `count` of each are used.
std::vector<double> expandKnots(const XtNode& knots, const XtNode& multiplicities, std::int32_t count,
                                std::size_t limit) {
  std::vector<double> expanded;
  if (count < 2 || static_cast<std::size_t>(count) > limit ||
      static_cast<std::uint32_t>(count) > std::min(knots.count(), multiplicities.count())) {
    return expanded;
  }
  const std::vector<double> distinct = knots.reals("knots", static_cast<std::size_t>(count));
  for (std::size_t k = 0; k < distinct.size(); ++k) {
    const std::int32_t times = multiplicities.integer("mult", static_cast<std::uint32_t>(k));
    if (times < 1 || expanded.size() + static_cast<std::size_t>(times) > limit) return {};
    expanded.insert(expanded.end(), static_cast<std::size_t>(times), distinct[k]);
  }
  return expanded;
}

// Names of the fields of a spline's node.
struct KnotFields {
  const char* knots;
  const char* multiplicities;
  const char* count;
};

std::vector<double> readKnots(const XtNode& node, const KnotFields& fields, std::size_t limit) {
  return expandKnots(node.pointer(fields.knots, xt_type::kKnotSet),
                     node.pointer(fields.multiplicities, xt_type::kKnotMultiplicities),
                     node.integer(fields.count), limit);
}

// Points of a row that wraps round are not stored twice: the first ones are repeated until they fit.
std::size_t pointsForKnots(std::size_t knot_count, int degree) {
  const auto needed = static_cast<std::size_t>(degree) + 1;
  return knot_count > needed ? knot_count - needed : 0;
}

// A closed direction may have the knots of one period only, the first one at both ends: the others repeat
// these, shifted by whole periods. The points are then completed by the first `degree` ones (see
// pointsForKnots).
void closeKnots(std::vector<double>& knots, int degree, std::size_t stored) {
  if (knots.size() < 2 || pointsForKnots(knots.size(), degree) >= stored) return;
  const double period = knots.back() - knots.front();
  const auto times = static_cast<std::size_t>(std::count(knots.begin(), knots.end(), knots.front()));
  const auto last_times = static_cast<std::size_t>(std::count(knots.begin(), knots.end(), knots.back()));
  if (!(period > 0) || times != last_times || knots.size() != stored + times) return;
  const auto p = static_cast<std::ptrdiff_t>(degree);
  const auto n = static_cast<std::ptrdiff_t>(stored);
  std::vector<double> all;
  for (std::ptrdiff_t i = 0; i <= n + 2 * p; ++i) {
    // The last copy of the first knot goes to index `degree`.
    const std::ptrdiff_t index = i - p + static_cast<std::ptrdiff_t>(times) - 1;
    const std::ptrdiff_t turns = index >= 0 ? index / n : -((n - 1 - index) / n);
    all.push_back(knots[static_cast<std::size_t>(index - turns * n)] + static_cast<double>(turns) * period);
  }
  knots.swap(all);
}

bool weightsAreFine(const std::vector<double>& points, std::size_t stride) {
  for (std::size_t i = stride - 1; i < points.size(); i += stride) {
    if (!(points[i] > kSmallestWeight)) return false;
  }
  return true;
}

bool allSane(const std::vector<double>& values) {
  return std::all_of(values.begin(), values.end(), [](double value) { return isSane(value); });
}

// Points of a surface as they are stored: `rows` of `columns`, `stride` numbers each.
struct Net {
  const std::vector<double>& numbers;
  std::size_t rows;
  std::size_t columns;
  std::size_t stride;
};

// With so many rows and columns: periodic ones have the first points at their end once more.
std::vector<double> repeated(const Net& net, std::size_t rows, std::size_t columns) {
  std::vector<double> points;
  points.reserve(rows * columns * net.stride);
  for (std::size_t i = 0; i < rows; ++i) {
    for (std::size_t j = 0; j < columns; ++j) {
      const double* const point = &net.numbers[((i % net.rows) * net.columns + j % net.columns) * net.stride];
      points.insert(points.end(), point, point + net.stride);
    }
  }
  return points;
}

Result<void> checkSpline(const SurfaceSpline& spline) {
  auto sound = checkKnots(spline.knots_u, spline.degree_u, spline.n_u);
  if (sound) sound = checkKnots(spline.knots_v, spline.degree_v, spline.n_v);
  if (!sound) return sound;
  if (!allSane(spline.points)) return fail("points are not finite");
  if (spline.rational && !weightsAreFine(spline.points, 4)) return fail("a weight is not above zero");
  return {};
}

}  // namespace

Result<void> checkKnots(const std::vector<double>& knots, int degree, int point_count) {
  const auto p = static_cast<std::size_t>(degree);
  const auto n = static_cast<std::size_t>(point_count);
  if (knots.size() != n + p + 1) return fail("knots do not fit the degree and the number of points");
  if (!allSane(knots)) return fail("knots are not finite");
  if (!std::is_sorted(knots.begin(), knots.end())) return fail("knots are out of order");
  if (!(knots[p] < knots[n])) return fail("knots give no domain");
  // p + 2 equal knots inside would tear the spline apart.
  for (std::size_t i = 0; i + p + 1 < knots.size(); ++i) {
    if (knots[i] == knots[i + p + 1]) return fail("a knot is repeated too often");
  }
  return {};
}

Result<std::int32_t> XtGeometryReader::curveSpline(const XtNode& node) {
  CurveSpline spline;
  spline.degree = node.integer("degree");
  spline.rational = node.integer("rational") != 0;
  const int stride = node.integer("vertex_dim");
  spline.dimension = stride - (spline.rational ? 1 : 0);
  const std::int32_t stored = node.integer("n_vertices");
  if (spline.degree < 1 || spline.degree > kMaximumDegree || spline.dimension < 2 || spline.dimension > 3 ||
      stored < 1) {
    return fail("degree, dimension or number of points makes no sense");
  }
  const XtNode vertices = node.pointer("bspline_vertices", xt_type::kBsplineVertices);
  const std::size_t point_limit = static_cast<std::size_t>(stored) + static_cast<std::size_t>(spline.degree);
  const auto needed = static_cast<std::size_t>(stored) * static_cast<std::size_t>(stride);
  if (vertices.count() < needed) {
    return fail("fewer points than stated");
  }
  if (const auto taken = takeNumbers(needed); !taken) return passOn(taken);
  spline.points = vertices.reals("vertices", needed);
  spline.knots = readKnots(node, {"knots", "knot_mult", "n_knots"},
                           point_limit + static_cast<std::size_t>(spline.degree) + 1);
  if (const auto taken = takeNumbers(spline.knots.size()); !taken) return passOn(taken);
  const bool periodic = node.integer("periodic") != 0;
  if (periodic) closeKnots(spline.knots, spline.degree, static_cast<std::size_t>(stored));
  const std::size_t wanted = pointsForKnots(spline.knots.size(), spline.degree);
  if (periodic && wanted > static_cast<std::size_t>(stored) && wanted <= point_limit) {
    for (std::size_t i = needed; i < wanted * static_cast<std::size_t>(stride); ++i) {
      spline.points.push_back(spline.points[i - needed]);
    }
  }
  spline.point_count = static_cast<int>(spline.points.size() / static_cast<std::size_t>(stride));
  const auto knots = checkKnots(spline.knots, spline.degree, spline.point_count);
  if (!knots) return passOn(knots);
  if (!allSane(spline.points)) return fail("points are not finite");
  if (spline.rational && !weightsAreFine(spline.points, static_cast<std::size_t>(stride))) {
    return fail("a weight is not above zero");
  }
  bodies_.curve_splines.push_back(std::move(spline));
  return static_cast<std::int32_t>(bodies_.curve_splines.size() - 1);
}

Result<std::int32_t> XtGeometryReader::surfaceSpline(const XtNode& node) {
  SurfaceSpline spline;
  spline.degree_u = node.integer("u_degree");
  spline.degree_v = node.integer("v_degree");
  spline.rational = node.integer("rational") != 0;
  const std::int32_t stored_u = node.integer("n_u_vertices");
  const std::int32_t stored_v = node.integer("n_v_vertices");
  if (spline.degree_u < 1 || spline.degree_u > kMaximumDegree || spline.degree_v < 1 ||
      spline.degree_v > kMaximumDegree || stored_u < 1 || stored_v < 1 ||
      node.integer("vertex_dim") != (spline.rational ? 4 : 3)) {
    return fail("degrees, dimension or number of points make no sense");
  }
  const std::size_t stride = spline.rational ? 4 : 3;
  const auto n_u = static_cast<std::size_t>(stored_u);
  const auto n_v = static_cast<std::size_t>(stored_v);
  const XtNode vertices = node.pointer("bspline_vertices", xt_type::kBsplineVertices);
  if (vertices.count() / stride / n_u < n_v) {
    return fail("fewer points than stated");
  }
  if (const auto taken = takeNumbers(n_u * n_v * stride); !taken) return passOn(taken);
  const std::vector<double> net = vertices.reals("vertices", n_u * n_v * stride);
  const auto degree_u = static_cast<std::size_t>(spline.degree_u);
  const auto degree_v = static_cast<std::size_t>(spline.degree_v);
  spline.knots_u = readKnots(node, {"u_knots", "u_knot_mult", "n_u_knots"}, n_u + 2 * degree_u + 1);
  spline.knots_v = readKnots(node, {"v_knots", "v_knot_mult", "n_v_knots"}, n_v + 2 * degree_v + 1);
  std::size_t rows = n_u;
  std::size_t columns = n_v;
  if (node.integer("u_periodic") != 0) {
    closeKnots(spline.knots_u, spline.degree_u, n_u);
    rows = std::max(rows, pointsForKnots(spline.knots_u.size(), spline.degree_u));
  }
  if (node.integer("v_periodic") != 0) {
    closeKnots(spline.knots_v, spline.degree_v, n_v);
    columns = std::max(columns, pointsForKnots(spline.knots_v.size(), spline.degree_v));
  }
  const std::size_t more = (rows * columns - n_u * n_v) * stride;
  if (const auto taken = takeNumbers(spline.knots_u.size() + spline.knots_v.size() + more); !taken)
    return passOn(taken);
  spline.points = repeated({net, n_u, n_v, stride}, rows, columns);
  spline.n_u = static_cast<int>(rows);
  spline.n_v = static_cast<int>(columns);
  if (const auto sound = checkSpline(spline); !sound) return passOn(sound);
  bodies_.surface_splines.push_back(std::move(spline));
  return static_cast<std::int32_t>(bodies_.surface_splines.size() - 1);
}

}  // namespace jttk::brep
