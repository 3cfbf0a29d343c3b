#include "geometry/strips.h"

#include <algorithm>

namespace loftbay::geometry {

namespace {

std::int64_t trianglesIn(std::int32_t strip_length) {
  return std::max(std::int64_t{strip_length} - 2, std::int64_t{0});
}

// Writes a strip's triangles behind `out`. `named(k)` is what its k-th vertex is called.
template <typename Named>
std::uint32_t* writeStrip(std::uint32_t* out, std::int64_t triangles, const Named& named) {
  std::uint32_t first = named(0);
  std::uint32_t second = named(1);
  for (std::int64_t t = 0; t < triangles; t += 2) {
    const std::uint32_t third = named(t + 2);
    out[0] = third;
    out[1] = first;
    out[2] = second;
    out += 3;
    if (t + 1 == triangles) break;
    const std::uint32_t fourth = named(t + 3);
    out[0] = fourth;
    out[1] = third;
    out[2] = second;
    out += 3;
    first = third;
    second = fourth;
  }
  return out;
}

}  // namespace

std::size_t countTriangles(std::span<const std::int32_t> strip_lengths) {
  std::size_t triangles = 0;
  for (const auto length : strip_lengths) triangles += static_cast<std::size_t>(trianglesIn(length));
  return triangles;
}

RawVector<std::uint32_t> trianglesOfStrips(std::span<const std::int32_t> strip_lengths) {
  return trianglesOfStrips(strip_lengths, {});
}

RawVector<std::uint32_t> trianglesOfStrips(std::span<const std::int32_t> strip_lengths,
                                           std::span<const std::uint32_t> vertex_of) {
  RawVector<std::uint32_t> indices(countTriangles(strip_lengths) * 3);
  std::uint32_t* out = indices.data();
  std::uint32_t vertex = 0;
  for (const auto length : strip_lengths) {
    const std::int64_t triangles = trianglesIn(length);
    if (triangles > 0 && vertex < vertex_of.size() &&
        triangles + 2 <= std::ssize(vertex_of.subspan(vertex))) {
      const std::uint32_t* const names = vertex_of.data() + vertex;
      out = writeStrip(out, triangles, [names](std::int64_t k) { return names[k]; });
    } else if (triangles > 0) {
      out = writeStrip(out, triangles, [&](std::int64_t k) {
        const std::uint32_t number = vertex + static_cast<std::uint32_t>(k);
        return number < vertex_of.size() ? vertex_of[number] : number;
      });
    }
    vertex += static_cast<std::uint32_t>(triangles) + 2;
  }
  return indices;
}

}  // namespace loftbay::geometry
