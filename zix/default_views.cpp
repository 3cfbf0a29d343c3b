#include "zix/default_views.h"

#include <cmath>

namespace Orb::Zix {

std::array<View, 7> defaultViews(const BoxD& bounds) {
  std::array<double, 3> centre{};
  double radius = 0;
  if (!bounds.empty()) {
    double square = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      // Halved before they are added and subtracted, so that no sum can overflow.
      const double low = bounds.low[k] / 2;
      const double high = bounds.high[k] / 2;
      centre[k] = low + high;
      square += (high - low) * (high - low);
    }
    radius = std::sqrt(square);
  }
  if (!(radius > 0 && std::isfinite(radius))) radius = 1;

  const double third = 1 / std::sqrt(3.0);
  struct Side {
    std::string_view name;
    std::array<double, 3> from;  // direction from the centre to the camera
    std::array<double, 3> up;
  };
  const std::array<Side, 7> sides = {{{"front", {0, -1, 0}, {0, 0, 1}},
                                      {"back", {0, 1, 0}, {0, 0, 1}},
                                      {"left", {-1, 0, 0}, {0, 0, 1}},
                                      {"right", {1, 0, 0}, {0, 0, 1}},
                                      {"top", {0, 0, 1}, {0, 1, 0}},
                                      {"bottom", {0, 0, -1}, {0, -1, 0}},
                                      {"iso", {third, -third, third}, {0, 0, 1}}}};
  std::array<View, 7> views{};
  for (std::size_t i = 0; i < views.size(); ++i) {
    View& view = views[i];
    view.name = sides[i].name;
    view.target = centre;
    view.up = sides[i].up;
    view.height = 2 * radius;
    for (std::size_t k = 0; k < 3; ++k) view.position[k] = centre[k] + 4 * radius * sides[i].from[k];
  }
  return views;
}

}  // namespace Orb::Zix
