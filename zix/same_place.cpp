#include "zix/same_place.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace Orb::Zix {

std::vector<std::uint32_t> firstAtSamePlace(std::span<const std::array<float, 3>> points) {
  // Sorted together with their positions, so that comparing two needs no other look-up.
  struct Entry {
    std::array<float, 3> place;
    std::uint32_t number;
  };
  std::vector<Entry> order;
  order.reserve(points.size());
  std::vector<std::uint32_t> first(points.size());
  for (std::uint32_t i = 0; i < points.size(); ++i) {
    first[i] = i;
    if (!std::isnan(points[i][0])) order.push_back({points[i], i});
  }
  std::sort(order.begin(), order.end(), [](const Entry& a, const Entry& b) {
    for (std::size_t k = 0; k < 3; ++k) {
      if (a.place[k] != b.place[k]) return a.place[k] < b.place[k];
    }
    return a.number < b.number;
  });
  for (std::size_t i = 1; i < order.size(); ++i) {
    if (order[i].place == order[i - 1].place) first[order[i].number] = first[order[i - 1].number];
  }
  return first;
}

}  // namespace Orb::Zix
