// Axis-parallel boxes of points. A point counts only when all its coordinates are finite, so that one
// damaged vertex does not take the box, and with it every camera, away from the model.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>

namespace Orb::Zix {

template <typename T>
struct Box {
  std::array<T, 3> low = {std::numeric_limits<T>::infinity(), std::numeric_limits<T>::infinity(),
                          std::numeric_limits<T>::infinity()};
  std::array<T, 3> high = {-std::numeric_limits<T>::infinity(), -std::numeric_limits<T>::infinity(),
                           -std::numeric_limits<T>::infinity()};

  [[nodiscard]] bool empty() const { return !(low[0] <= high[0]); }

  // The point must be finite.
  void add(T x, T y, T z) {
    const T point[3] = {x, y, z};
    for (std::size_t k = 0; k < 3; ++k) {
      if (point[k] < low[k]) low[k] = point[k];
      if (point[k] > high[k]) high[k] = point[k];
    }
  }
  friend bool operator==(const Box&, const Box&) = default;
};

using BoxF = Box<float>;
using BoxD = Box<double>;

// Adds the finite points of `values`: tuples of `dimension` floats (at least 1), of which the first three
// are x, y and z; a coordinate that the tuple does not have is 0. An incomplete last tuple is left out.
void addPoints(BoxF& box, std::span<const float> values, std::uint32_t dimension);

}  // namespace Orb::Zix
