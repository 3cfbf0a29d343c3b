#include "geometry/strips.h"

#include <algorithm>
#include <cstddef>

namespace loftbay::geometry {

namespace {
std::int64_t trianglesIn(std::int32_t strip_length) {
  return std::max(std::int64_t{strip_length} - 2, std::int64_t{0});
}
}  // namespace

std::vector<std::uint32_t> trianglesOfStrips(std::span<const std::int32_t> strip_lengths) {
  std::size_t triangles = 0;
  for (const auto length : strip_lengths) triangles += static_cast<std::size_t>(trianglesIn(length));
  std::vector<std::uint32_t> indices(triangles * 3);

  std::uint32_t* out = indices.data();
  std::uint32_t vertex = 0;
  for (const auto length : strip_lengths) {
    for (std::int64_t t = 0; t < trianglesIn(length); ++t, ++vertex, out += 3) {
      const std::uint32_t odd = t % 2 == 0 ? 0 : 1;
      out[0] = vertex + 2;
      out[1] = vertex + odd;
      out[2] = vertex + 1 - odd;
    }
    vertex += 2;
  }
  return indices;
}

}  // namespace loftbay::geometry
