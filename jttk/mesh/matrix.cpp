#include "jttk/mesh/matrix.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace jttk {

namespace {

// Relative thickness below which a matrix counts as flat; a 0 that was rounded to single precision stays well
// below it.
constexpr double kFlat = 1e-6;
// Of elements 3, 7, 11 and 15: tolerance for 0 and 1 after multiplying matrices.
constexpr double kNoise = 1e-9;

double squared(double value) { return value * value; }

}  // namespace

Matrix homogenised(const Matrix& matrix) {
  const double last = matrix[15];
  if (last == 0.0 || !std::isfinite(last) || std::abs(last - 1.0) < kNoise) return matrix;
  Matrix divided = matrix;
  for (double& element : divided) element /= last;
  return divided;
}

Result<void> checkPlaces(const Matrix& matrix) {
  const Matrix m = homogenised(matrix);
  const auto is_number = [](double value) { return std::abs(value) <= std::numeric_limits<float>::max(); };
  if (!std::all_of(m.begin(), m.end(), is_number)) return fail("has elements that are no finite numbers");
  if (m[15] == 0) return fail("has 0 as element 15, by which the others are divided");
  if (std::max({std::abs(m[3]), std::abs(m[7]), std::abs(m[11])}) > kNoise) {
    return fail("is a perspective, which no scene can hold");
  }
  // det / |cofactors| is a lower bound of the smallest singular value, |elements| an upper bound of the
  // largest.
  double elements = 0;
  for (std::size_t row = 0; row < 3; ++row) {
    for (std::size_t column = 0; column < 3; ++column) elements += squared(m[4 * row + column]);
  }
  double cofactors = 0;
  for (const double cofactor : cofactors3(m)) cofactors += squared(cofactor);
  const bool is_flat = !(std::abs(determinant3(m)) > kFlat * std::sqrt(elements) * std::sqrt(cofactors));
  if (is_flat) return fail("flattens what it places");
  return {};
}

}  // namespace jttk
