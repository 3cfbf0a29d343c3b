#include "jttk/codec/stated_box.h"

#include <algorithm>
#include <cmath>

namespace jttk {
namespace {

constexpr std::size_t kAxes = 3;
// Tolerance for rounding, as shares of the box's diagonal and of its distance from the origin: boxes are
// floats that were computed in another order than the coordinates.
constexpr double kOfDiagonal = 1e-5;
constexpr double kOfDistance = 1e-6;

// How far beyond each side a point may lie.
std::array<double, kAxes> slack(const std::array<float, 3>& steps, const std::array<float, 6>& box) {
  double squares = 0;
  double distance = 0;
  for (std::size_t k = 0; k < kAxes; ++k) {
    const double side = static_cast<double>(box[k + kAxes]) - static_cast<double>(box[k]);
    squares += side * side;
    distance = std::max(
        {distance, std::abs(static_cast<double>(box[k])), std::abs(static_cast<double>(box[k + kAxes]))});
  }
  const double rounding = kOfDiagonal * std::sqrt(squares) + kOfDistance * distance;
  std::array<double, kAxes> result{};
  for (std::size_t k = 0; k < kAxes; ++k) result[k] = static_cast<double>(steps[k]) + rounding;
  return result;
}

bool isPlace(const float* point) {
  return std::isfinite(point[0]) && std::isfinite(point[1]) && std::isfinite(point[2]);
}

// The box enlarged by the slack.
struct EnlargedBox {
  std::array<double, kAxes> least;
  std::array<double, kAxes> most;

  EnlargedBox(const std::array<float, 3>& steps, const std::array<float, 6>& box) {
    const std::array<double, kAxes> more = slack(steps, box);
    for (std::size_t k = 0; k < kAxes; ++k) {
      least[k] = static_cast<double>(box[k]) - more[k];
      most[k] = static_cast<double>(box[k + kAxes]) + more[k];
    }
  }
  // False for what is not a number, too.
  [[nodiscard]] bool hold(const float* point) const {
    for (std::size_t k = 0; k < kAxes; ++k) {
      const auto value = static_cast<double>(point[k]);
      if (!(value >= least[k] && value <= most[k])) return false;
    }
    return true;
  }
};

bool allWithin(std::span<const float> positions, const EnlargedBox& limits) {
  for (std::size_t i = 0; i + 2 < positions.size(); i += kAxes) {
    if (!limits.hold(&positions[i])) return false;
  }
  return true;
}

}  // namespace

const std::array<float, 6>* statedBox(std::span<const StatedExtent> stated) {
  if (stated.empty()) return nullptr;
  const std::array<float, 6>& box = stated.front().box;
  bool any = false;
  for (std::size_t k = 0; k < kAxes; ++k) {
    if (!std::isfinite(box[k]) || !std::isfinite(box[k + kAxes]) || box[k] > box[k + kAxes]) return nullptr;
    any = any || box[k] != 0 || box[k + kAxes] != 0;
  }
  return any ? &box : nullptr;
}

bool fillsBox(std::span<const float> positions, const std::array<float, 3>& steps,
              const std::array<float, 6>& box) {
  if (positions.empty() || !allWithin(positions, EnlargedBox(steps, box))) return false;
  const std::array<double, kAxes> more = slack(steps, box);
  for (std::size_t k = 0; k < kAxes; ++k) {
    float least = positions[k];
    float most = positions[k];
    for (std::size_t i = k; i < positions.size(); i += kAxes) {
      least = std::min(least, positions[i]);
      most = std::max(most, positions[i]);
    }
    if (static_cast<double>(least) > static_cast<double>(box[k]) + more[k]) return false;
    if (static_cast<double>(most) < static_cast<double>(box[k + kAxes]) - more[k]) return false;
  }
  return true;
}

bool liesInBox(const ShapeGeometry& shape, const std::array<float, 6>& box) {
  const EnlargedBox limits(shape.facts.coordinate_steps, box);
  // Points that no corner uses may lie anywhere; there are none as a rule.
  if (allWithin(shape.positions, limits)) return true;
  return std::all_of(shape.corner_positions.begin(), shape.corner_positions.end(), [&](std::uint32_t corner) {
    const float* const point = &shape.positions[std::size_t{corner} * kAxes];
    return limits.hold(point) || !isPlace(point);
  });
}

}  // namespace jttk
