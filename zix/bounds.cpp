#include "zix/bounds.h"

#include <algorithm>
#include <cmath>

namespace Orb::Zix {

namespace {

void addOneByOne(BoxF& box, std::span<const float> values, std::size_t dimension) {
  for (std::size_t i = 0; i + dimension <= values.size(); i += dimension) {
    const float x = values[i];
    const float y = dimension > 1 ? values[i + 1] : 0.0F;
    const float z = dimension > 2 ? values[i + 2] : 0.0F;
    if (std::isfinite(x) && std::isfinite(y) && std::isfinite(z)) box.add(x, y, z);
  }
}

// Four points at a time: lane i holds coordinate i % 3, so that the loop becomes three vector minima and
// three maxima without any shuffling. `sum` turns into NaN as soon as one value is not finite, because
// v * 0 is 0 for every finite v.
constexpr std::size_t kLanes = 12;

struct Lanes {
  float low[kLanes];
  float high[kLanes];
  float sum[kLanes];
};

Lanes scan(const float* values, std::size_t count) {
  Lanes lanes{};
  for (std::size_t k = 0; k < kLanes; ++k) lanes.low[k] = lanes.high[k] = values[k];
  for (std::size_t i = 0; i < count; i += kLanes) {
    for (std::size_t k = 0; k < kLanes; ++k) {
      const float v = values[i + k];
      lanes.low[k] = v < lanes.low[k] ? v : lanes.low[k];
      lanes.high[k] = v > lanes.high[k] ? v : lanes.high[k];
      lanes.sum[k] += v * 0.0F;
    }
  }
  return lanes;
}

}  // namespace

void addPoints(BoxF& box, std::span<const float> values, std::uint32_t dimension) {
  if (dimension != 3) return addOneByOne(box, values, dimension);
  constexpr std::size_t kBlock = kLanes * 256;
  while (values.size() >= kLanes) {
    const std::size_t count = std::min(kBlock, values.size() / kLanes * kLanes);
    const Lanes lanes = scan(values.data(), count);
    if (std::all_of(std::begin(lanes.sum), std::end(lanes.sum), [](float s) { return s == 0.0F; })) {
      for (std::size_t k = 0; k < kLanes; k += 3) {
        box.add(lanes.low[k], lanes.low[k + 1], lanes.low[k + 2]);
        box.add(lanes.high[k], lanes.high[k + 1], lanes.high[k + 2]);
      }
    } else {
      addOneByOne(box, values.first(count), 3);
    }
    values = values.subspan(count);
  }
  addOneByOne(box, values, 3);
}

}  // namespace Orb::Zix
