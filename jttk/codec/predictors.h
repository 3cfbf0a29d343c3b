// Predictors of integer arrays. The first four values are stored as they are; a later value is a residual
// to a prediction from the values before it. All arithmetic wraps at 32 bits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace jttk {

enum class Predictor : std::uint8_t { Null, Lag1, Lag2, Stride1, Stride2, StripIndex, Ramp, Xor1, Xor2 };

namespace detail {

// `rule(v, i)` is the prediction for v[i]; v[0] .. v[i - 1] are values already. Values are held as unsigned,
// so that wrapping is defined.
template <typename Rule>
void undoPrediction(std::span<std::int32_t> values, Rule rule) {
  constexpr std::size_t kPlainValues = 4;
  for (std::size_t i = kPlainValues; i < values.size(); ++i) {
    const auto v = [&](std::size_t back) { return static_cast<std::uint32_t>(values[i - back]); };
    values[i] = static_cast<std::int32_t>(rule(static_cast<std::uint32_t>(values[i]), v, i));
  }
}

}  // namespace detail

// Turns residuals into values, in place.
inline void undoPredictor(Predictor predictor, std::span<std::int32_t> values) {
  using detail::undoPrediction;
  switch (predictor) {
    case Predictor::Null:
      return;
    case Predictor::Lag1:
      return undoPrediction(values, [](std::uint32_t r, auto v, std::size_t) { return r + v(1); });
    case Predictor::Lag2:
      return undoPrediction(values, [](std::uint32_t r, auto v, std::size_t) { return r + v(2); });
    case Predictor::Stride1:
      return undoPrediction(values,
                            [](std::uint32_t r, auto v, std::size_t) { return r + v(1) + (v(1) - v(2)); });
    case Predictor::Stride2:
      return undoPrediction(values,
                            [](std::uint32_t r, auto v, std::size_t) { return r + v(2) + (v(2) - v(4)); });
    case Predictor::StripIndex:
      // Indices of a strip continue in steps of two corners; a jump means a restart, which continues by 2.
      return undoPrediction(values, [](std::uint32_t r, auto v, std::size_t) {
        const auto step = static_cast<std::int32_t>(v(2) - v(4));
        return r + v(2) + (step > -8 && step < 8 ? static_cast<std::uint32_t>(step) : 2U);
      });
    case Predictor::Ramp:
      return undoPrediction(
          values, [](std::uint32_t r, auto, std::size_t i) { return r + static_cast<std::uint32_t>(i); });
    case Predictor::Xor1:
      return undoPrediction(values, [](std::uint32_t r, auto v, std::size_t) { return r ^ v(1); });
    case Predictor::Xor2:
      return undoPrediction(values, [](std::uint32_t r, auto v, std::size_t) { return r ^ v(2); });
  }
}

}  // namespace jttk
