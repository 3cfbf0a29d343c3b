#include "jttk/codec/primitives/solid_survey.h"

#include <algorithm>
#include <cmath>

namespace jttk {

namespace {

// Two solids are the same when their measures agree to this share of their size.
constexpr double kSameSolid = 1e-3;

void addTriangle(const Vector3& a, const Vector3& b, const Vector3& c, Survey& survey) {
  survey.area += length(cross(minus(b, a), minus(c, a))) / 2;
  // The tetrahedron to the origin.
  const double volume = dot(a, cross(b, c)) / 6;
  survey.volume += volume;
  for (std::size_t k = 0; k < 3; ++k) survey.first[k] += volume * (a[k] + b[k] + c[k]) / 4;
  for (std::size_t k = 0; k < 6; ++k) {
    const std::size_t i = k % 3;
    const std::size_t j = k < 3 ? k : (k + 1) % 3;
    const double sum_i = a[i] + b[i] + c[i];
    const double sum_j = a[j] + b[j] + c[j];
    survey.second[k] += volume * (sum_i * sum_j + a[i] * a[j] + b[i] * b[j] + c[i] * c[j]) / 20;
  }
}

}  // namespace

void measure(const ShapeGeometry& mesh, const Vector3& origin, Survey& survey) {
  const auto point = [&](std::size_t corner) {
    const float* p = mesh.positions.data() + std::size_t{mesh.corner_positions[corner]} * 3;
    return Vector3{p[0] - origin[0], p[1] - origin[1], p[2] - origin[2]};
  };
  for (std::size_t i = 0; i + 1 < mesh.primitive_starts.size(); ++i) {
    const Vector3 first = point(mesh.primitive_starts[i]);
    for (std::size_t c = mesh.primitive_starts[i] + 1; c + 1 < mesh.primitive_starts[i + 1]; ++c) {
      addTriangle(first, point(c), point(c + 1), survey);
    }
  }
  for (std::size_t i = 0; i + 2 < mesh.positions.size(); i += 3) {
    for (std::size_t k = 0; k < 3; ++k) {
      survey.low[k] = std::min<double>(survey.low[k], mesh.positions[i + k]);
      survey.high[k] = std::max<double>(survey.high[k], mesh.positions[i + k]);
    }
  }
}

bool areSame(const Survey& a, const Survey& b, double size) {
  const auto agree = [](double x, double y, double scale) { return std::abs(x - y) <= kSameSolid * scale; };
  const double volume = std::max(std::abs(a.volume), std::abs(b.volume));
  bool same = agree(a.area, b.area, std::max(a.area, b.area)) && agree(a.volume, b.volume, volume);
  for (std::size_t k = 0; k < 3; ++k) same = same && agree(a.first[k], b.first[k], volume * size);
  for (std::size_t k = 0; k < 6; ++k) same = same && agree(a.second[k], b.second[k], volume * size * size);
  return same;
}

}  // namespace jttk
