#include "zix/bounds.h"

#include <algorithm>
#include <cmath>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

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

#ifdef __SSE2__

// Four points at a time: lane i of three registers holds coordinate i % 3, so that nothing is shuffled.
constexpr std::size_t kLanes = 12;

// False when a value is not finite; the box is then untouched. `count` is a positive multiple of kLanes.
bool addFinite(BoxF& box, const float* values, std::size_t count) {
  __m128 low[3];
  __m128 high[3];
  __m128 sum[3];  // turns into NaN as soon as one value is not finite, because v * 0 is 0 for all others
  const __m128 zero = _mm_setzero_ps();
  for (std::size_t r = 0; r < 3; ++r) {
    low[r] = high[r] = _mm_loadu_ps(values + 4 * r);
    sum[r] = zero;
  }
  for (std::size_t i = 0; i < count; i += kLanes) {
    for (std::size_t r = 0; r < 3; ++r) {
      const __m128 v = _mm_loadu_ps(values + i + 4 * r);
      low[r] = _mm_min_ps(v, low[r]);
      high[r] = _mm_max_ps(v, high[r]);
      sum[r] = _mm_add_ps(sum[r], _mm_mul_ps(v, zero));
    }
  }
  float lows[kLanes];
  float highs[kLanes];
  float sums[kLanes];
  for (std::size_t r = 0; r < 3; ++r) {
    _mm_storeu_ps(lows + 4 * r, low[r]);
    _mm_storeu_ps(highs + 4 * r, high[r]);
    _mm_storeu_ps(sums + 4 * r, sum[r]);
  }
  if (!std::all_of(std::begin(sums), std::end(sums), [](float s) { return s == 0.0F; })) return false;
  for (std::size_t k = 0; k < kLanes; k += 3) {
    box.add(lows[k], lows[k + 1], lows[k + 2]);
    box.add(highs[k], highs[k + 1], highs[k + 2]);
  }
  return true;
}

#endif

}  // namespace

void addPoints(BoxF& box, std::span<const float> values, std::uint32_t dimension) {
#ifdef __SSE2__
  constexpr std::size_t kBlock = kLanes * 256;
  while (dimension == 3 && values.size() >= kLanes) {
    const std::size_t count = std::min(kBlock, values.size() / kLanes * kLanes);
    if (!addFinite(box, values.data(), count)) addOneByOne(box, values.first(count), 3);
    values = values.subspan(count);
  }
#endif
  addOneByOne(box, values, dimension);
}

}  // namespace Orb::Zix
