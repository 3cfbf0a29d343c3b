// 4 x 4 matrices in double, row-major, row vectors: p' = p * M, so that a point goes through a * b by a
// first.
#pragma once

#include <array>

#include "jttk/file/error.h"

namespace jttk {

using Matrix = std::array<double, 16>;

inline constexpr Matrix kIdentity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

inline Matrix operator*(const Matrix& a, const Matrix& b) {
  Matrix product{};
  for (std::size_t row = 0; row < 4; ++row) {
    for (std::size_t column = 0; column < 4; ++column) {
      double sum = 0;
      for (std::size_t k = 0; k < 4; ++k) sum += a[4 * row + k] * b[4 * k + column];
      product[4 * row + column] = sum;
    }
  }
  return product;
}

// Of the upper left 3 x 3; negative when the matrix mirrors.
inline double determinant3(const Matrix& m) {
  return m[0] * (m[5] * m[10] - m[6] * m[9]) - m[1] * (m[4] * m[10] - m[6] * m[8]) +
         m[2] * (m[4] * m[9] - m[5] * m[8]);
}

// Of the upper left 3 x 3: the inverse transpose times the determinant. They exist for singular matrices too,
// and their direction is right once the determinant's sign is put back.
inline std::array<double, 9> cofactors3(const Matrix& m) {
  return {m[5] * m[10] - m[6] * m[9], m[6] * m[8] - m[4] * m[10], m[4] * m[9] - m[5] * m[8],
          m[2] * m[9] - m[1] * m[10], m[0] * m[10] - m[2] * m[8], m[1] * m[8] - m[0] * m[9],
          m[1] * m[6] - m[2] * m[5],  m[2] * m[4] - m[0] * m[6],  m[0] * m[5] - m[1] * m[4]};
}

// The matrix divided by its element 15. Returned as it is if that element is 0, not finite, or 1 up to
// rounding.
[[nodiscard]] Matrix homogenised(const Matrix& matrix);

// Fails where nothing can be placed by the matrix as it stands; the error goes on after the matrix's name
// ("flattens …").
[[nodiscard]] Result<void> checkPlaces(const Matrix& matrix);

}  // namespace jttk
