// Predictors, hashes, quantisers and normals against values worked out from their definitions.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "jttk/codec/lookup2.h"
#include "jttk/codec/normals.h"
#include "jttk/codec/predictors.h"
#include "jttk/codec/quantizer.h"

namespace {

using jttk::Predictor;
using Values = std::vector<std::int32_t>;

Values undone(Predictor predictor, Values residuals) {
  jttk::undoPredictor(predictor, residuals);
  return residuals;
}

TEST(Predictors, LeaveTheFirstFourValuesAlone) {
  for (const Predictor p : {Predictor::Lag1, Predictor::Lag2, Predictor::Stride1, Predictor::Stride2,
                            Predictor::StripIndex, Predictor::Ramp, Predictor::Xor1, Predictor::Xor2}) {
    EXPECT_EQ(undone(p, {9, 8, 7, 6}), (Values{9, 8, 7, 6}));
    EXPECT_EQ(undone(p, {}), Values{});
  }
}

TEST(Predictors, FollowTheirDefinitions) {
  const Values residuals = {1, 2, 4, 8, 10, 20};
  EXPECT_EQ(undone(Predictor::Null, residuals), residuals);
  EXPECT_EQ(undone(Predictor::Lag1, residuals), (Values{1, 2, 4, 8, 10 + 8, 20 + 18}));
  EXPECT_EQ(undone(Predictor::Lag2, residuals), (Values{1, 2, 4, 8, 10 + 4, 20 + 8}));
  EXPECT_EQ(undone(Predictor::Stride1, residuals), (Values{1, 2, 4, 8, 10 + 8 + 4, 20 + 22 + 14}));
  EXPECT_EQ(undone(Predictor::Stride2, residuals), (Values{1, 2, 4, 8, 10 + 4 + 3, 20 + 8 + 6}));
  EXPECT_EQ(undone(Predictor::Ramp, residuals), (Values{1, 2, 4, 8, 10 + 4, 20 + 5}));
  EXPECT_EQ(undone(Predictor::Xor1, residuals), (Values{1, 2, 4, 8, 10 ^ 8, 20 ^ 2}));
  EXPECT_EQ(undone(Predictor::Xor2, residuals), (Values{1, 2, 4, 8, 10 ^ 4, 20 ^ 8}));
}

TEST(Predictors, StripIndexKeepsSmallStepsAndReplacesLargeOnes) {
  // Steps of 7 and -7 are kept; of 8 and -8 become 2.
  EXPECT_EQ(undone(Predictor::StripIndex, {0, 0, 7, -7, 0, 0}), (Values{0, 0, 7, -7, 7 + 7, -7 - 7}));
  EXPECT_EQ(undone(Predictor::StripIndex, {0, 0, 8, -8, 0, 0}), (Values{0, 0, 8, -8, 8 + 2, -8 + 2}));
}

TEST(Predictors, WrapAt32Bits) {
  EXPECT_EQ(undone(Predictor::Lag1, {0, 0, 0, 0x7fffffff, 1}).back(), std::int32_t{-0x7fffffff - 1});
}

std::uint32_t hash32Of(const std::vector<std::uint32_t>& words, std::uint32_t seed) {
  return jttk::hash32(std::span<const std::uint32_t>(words), seed);
}

// From a separate implementation of the published function; bd49d10d is its known value for nothing.
TEST(Lookup2, AgreesWithThePublishedFunction) {
  EXPECT_EQ(hash32Of({}, 0), 0xbd49d10dU);
  EXPECT_EQ(hash32Of({1}, 0), 0xb93913a8U);
  EXPECT_EQ(hash32Of({1, 2}, 0), 0x60fdb023U);
  EXPECT_EQ(hash32Of({1, 2, 3}, 0), 0xe4f3273bU);
  EXPECT_EQ(hash32Of({1, 2, 3, 4, 0xffffffff}, 7), 0x57e2e25fU);
}

TEST(Lookup2, HalfWordsArePackedLowHalfFirst) {
  EXPECT_EQ(jttk::hash16({}, 0), 0xbd49d10dU);
  EXPECT_EQ(jttk::hash16(Values{1}, 0), 0xb93913a8U);
  EXPECT_EQ(jttk::hash16(Values{1, 0, 1, 1, 0}, 0), 0x556c765cU);
  EXPECT_EQ(jttk::hash16(Values{1, 2, 3, 4, 5, 6, 7}, 9), 0x390596feU);
}

TEST(Quantizer, TheSmallestAndLargestCodesAreTheEndsOfTheRange) {
  for (const std::uint32_t bits : {1U, 9U, 21U, 24U, 32U}) {
    const jttk::Dequantizer value({-1.25F, 3.5F, static_cast<std::uint8_t>(bits)});
    EXPECT_EQ(value(0), -1.25F);
    EXPECT_EQ(value(bits == 32 ? 0xffffffffU : (1U << bits) - 1), 3.5F);
  }
}

TEST(Quantizer, CodesAreSpacedEvenlyWithoutAHalfStep) {
  const jttk::Dequantizer value({0.0F, 30.0F, 4});
  for (std::uint32_t code = 0; code <= 15; ++code) EXPECT_EQ(value(code), 2.0F * static_cast<float>(code));
}

TEST(Quantizer, IsComputedInDoubleAndRoundedOnce) {
  // In float arithmetic 1 * (0.3f - 0.1f) / 3 + 0.1f rounds three times.
  const double range = static_cast<double>(0.3F) - static_cast<double>(0.1F);
  EXPECT_EQ(jttk::Dequantizer({0.1F, 0.3F, 2})(1),
            static_cast<float>(1 * range / 3 + static_cast<double>(0.1F)));
}

TEST(Quantizer, NoBitsOrNoRangeGiveTheMinimum) {
  EXPECT_EQ(jttk::Dequantizer({2.5F, 9.0F, 0})(0), 2.5F);
  EXPECT_EQ(jttk::Dequantizer({2.5F, 2.5F, 8})(77), 2.5F);
}

struct Normal {
  float x, y, z;
};

Normal decoded(std::uint32_t sextant, std::uint32_t octant, std::uint32_t theta, std::uint32_t psi) {
  float values[3] = {};
  EXPECT_TRUE(jttk::NormalDecoder(4).decode(sextant, octant, theta, psi, values));
  return {values[0], values[1], values[2]};
}

constexpr float kNear = 1e-6F;
const float kHalfRoot = std::sqrt(0.5F);

// At theta code 0 the angle is 45 degrees: (r, 0, r) with r the root of one half. With the code at its end,
// which only odd sextants reach, it is 0: (1, 0, 0). Their axes are swapped then.
TEST(Normals, SextantsSwapAxes) {
  const Normal even = decoded(0, 7, 0, 0);
  EXPECT_NEAR(even.x, kHalfRoot, kNear);
  EXPECT_NEAR(even.y, 0.0F, kNear);
  EXPECT_NEAR(even.z, kHalfRoot, kNear);
  EXPECT_NEAR(decoded(1, 7, 15, 0).z, 1.0F, kNear);
  EXPECT_NEAR(decoded(3, 7, 15, 0).y, 1.0F, kNear);
  EXPECT_NEAR(decoded(5, 7, 15, 0).x, 1.0F, kNear);
  // Sextant 2 turns (r, 0, r) to (0, r, r), sextant 4 to (r, r, 0).
  EXPECT_NEAR(decoded(2, 7, 0, 0).x, 0.0F, kNear);
  EXPECT_NEAR(decoded(4, 7, 0, 0).z, 0.0F, kNear);
}

TEST(Normals, AClearOctantBitTurnsAnAxisOver) {
  const Normal plus = decoded(0, 7, 3, 5);
  for (std::uint32_t octant = 0; octant < 8; ++octant) {
    const Normal n = decoded(0, octant, 3, 5);
    EXPECT_EQ(n.x, (octant & 4U) != 0 ? plus.x : -plus.x);
    EXPECT_EQ(n.y, (octant & 2U) != 0 ? plus.y : -plus.y);
    EXPECT_EQ(n.z, (octant & 1U) != 0 ? plus.z : -plus.z);
  }
}

TEST(Normals, AllCodesGiveUnitVectors) {
  for (std::uint32_t sextant = 0; sextant < 6; ++sextant) {
    for (std::uint32_t code = 0; code < 256; ++code) {
      const Normal n = decoded(sextant, 5, code % 16, code / 16);
      EXPECT_NEAR(n.x * n.x + n.y * n.y + n.z * n.z, 1.0F, kNear);
    }
  }
}

TEST(Normals, CodesOutsideOfTheirRangeAreRefused) {
  const jttk::NormalDecoder decoder(4);
  float n[3];
  EXPECT_FALSE(decoder.decode(6, 0, 0, 0, n));
  EXPECT_FALSE(decoder.decode(0, 8, 0, 0, n));
  EXPECT_TRUE(decoder.decode(0, 0, 16, 0, n));  // as far as an angle goes
  EXPECT_FALSE(decoder.decode(0, 0, 17, 0, n));
  EXPECT_TRUE(decoder.decode(0, 0, 0, 16, n));
  EXPECT_FALSE(decoder.decode(0, 0, 0, 17, n));
}

}  // namespace
