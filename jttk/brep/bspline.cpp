// Basis functions by the triangular recurrence (C. de Boor, On Calculating with B-Splines, 1972), 0/0 = 0.
// The row of degree p - 1 gives the derivatives; those of rational splines follow by the quotient rule (L.
// Piegl, W. Tiller, The NURBS Book, 1997, chapters 2 to 4).
#include "jttk/brep/bspline.h"

#include <algorithm>

namespace jttk::brep {
namespace {

struct Basis {
  int span = 0;
  double value[kMaximumDegree + 1];
  double derivative[kMaximumDegree + 1];
};

void evaluateBasis(const std::vector<double>& knots, int degree, int point_count, double t, Basis& basis) {
  const double low = knots[static_cast<std::size_t>(degree)];
  const double high = knots[static_cast<std::size_t>(point_count)];
  t = std::clamp(t, low, high);
  // The last span of the domain that begins at or before t and is not empty.
  const auto first = knots.begin() + degree;
  const auto last = knots.begin() + point_count;
  auto above = std::upper_bound(first, last, t);
  int span = static_cast<int>(above - knots.begin()) - 1;
  while (span > degree &&
         !(knots[static_cast<std::size_t>(span)] < knots[static_cast<std::size_t>(span) + 1])) {
    --span;
  }
  basis.span = span;
  const auto knot = [&](int i) { return knots[static_cast<std::size_t>(i)]; };
  double* const n = basis.value;
  double lower[kMaximumDegree + 1] = {};
  n[0] = 1;
  for (int r = 1; r <= degree; ++r) {
    if (r == degree) std::copy(n, n + r, lower);
    double carry = 0;
    for (int j = 0; j < r; ++j) {
      const double width = knot(span + j + 1) - knot(span + 1 - r + j);
      const double x = width > 0 ? n[j] / width : 0;
      n[j] = carry + (knot(span + j + 1) - t) * x;
      carry = (t - knot(span + 1 - r + j)) * x;
    }
    n[r] = carry;
  }
  std::fill(basis.derivative, basis.derivative + degree + 1, 0.0);
  for (int j = 0; j < degree; ++j) {
    const double width = knot(span + j + 1) - knot(span + 1 - degree + j);
    const double x = width > 0 ? degree * lower[j] / width : 0;
    basis.derivative[j] -= x;
    basis.derivative[j + 1] += x;
  }
}

Vec3 quotient(const Vec3& derivative, double weight_derivative, const Vec3& point, double weight) {
  return (derivative - point * weight_derivative) * (1 / weight);
}

}  // namespace

CurvePoint evaluateSpline(const CurveSpline& spline, double t) {
  Basis basis;
  evaluateBasis(spline.knots, spline.degree, spline.point_count, t, basis);
  const int stride = spline.dimension + (spline.rational ? 1 : 0);
  CurvePoint at;
  double w = 0;
  double dw = 0;
  for (int j = 0; j <= spline.degree; ++j) {
    const double* const point = &spline.points[static_cast<std::size_t>(basis.span - spline.degree + j) *
                                               static_cast<std::size_t>(stride)];
    const Vec3 p{point[0], point[1], spline.dimension == 3 ? point[2] : 0};
    at.p += p * basis.value[j];
    at.d += p * basis.derivative[j];
    if (spline.rational) {
      w += point[stride - 1] * basis.value[j];
      dw += point[stride - 1] * basis.derivative[j];
    }
  }
  if (spline.rational) {
    at.p = at.p * (1 / w);
    at.d = quotient(at.d, dw, at.p, w);
  }
  return at;
}

SurfacePoint evaluateSpline(const SurfaceSpline& spline, double u, double v) {
  Basis bu;
  Basis bv;
  evaluateBasis(spline.knots_u, spline.degree_u, spline.n_u, u, bu);
  evaluateBasis(spline.knots_v, spline.degree_v, spline.n_v, v, bv);
  const std::size_t stride = spline.rational ? 4 : 3;
  SurfacePoint at;
  double w = 0;
  double wu = 0;
  double wv = 0;
  for (int i = 0; i <= spline.degree_u; ++i) {
    const double* point = &spline.points[(static_cast<std::size_t>(bu.span - spline.degree_u + i) *
                                              static_cast<std::size_t>(spline.n_v) +
                                          static_cast<std::size_t>(bv.span - spline.degree_v)) *
                                         stride];
    Vec3 row;
    Vec3 row_v;
    double row_w = 0;
    double row_wv = 0;
    for (int j = 0; j <= spline.degree_v; ++j, point += stride) {
      const Vec3 p{point[0], point[1], point[2]};
      row += p * bv.value[j];
      row_v += p * bv.derivative[j];
      if (spline.rational) {
        row_w += point[3] * bv.value[j];
        row_wv += point[3] * bv.derivative[j];
      }
    }
    at.p += row * bu.value[i];
    at.du += row * bu.derivative[i];
    at.dv += row_v * bu.value[i];
    w += row_w * bu.value[i];
    wu += row_w * bu.derivative[i];
    wv += row_wv * bu.value[i];
  }
  if (spline.rational) {
    at.p = at.p * (1 / w);
    at.du = quotient(at.du, wu, at.p, w);
    at.dv = quotient(at.dv, wv, at.p, w);
  }
  return at;
}

}  // namespace jttk::brep
