// Float bits in JT 9: exponents (sign and exponent, 9 bits) and mantissae of 27 bits, so that the lowest four
// exponent bits are stored twice. That shows whether the right predictor was undone.
#include "jttk/codec/component_arrays.h"

#include <string>

#include "jttk/codec/lookup2.h"

namespace jttk {
namespace {

constexpr std::uint32_t kMantissaBits = 23;
constexpr std::uint32_t kMantissaMask = 0x7fffff;

// False when the bits that are stored twice do not agree; then `exponents` is not changed.
bool joinFloatParts(std::span<std::int32_t> exponents, std::span<const std::int32_t> mantissae) {
  for (std::size_t i = 0; i < exponents.size(); ++i) {
    const auto exponent = static_cast<std::uint32_t>(exponents[i]);
    if (exponent > 0x1ff || static_cast<std::uint32_t>(mantissae[i]) >> kMantissaBits != (exponent & 15U))
      return false;
  }
  for (std::size_t i = 0; i < exponents.size(); ++i) {
    const std::uint32_t upper = static_cast<std::uint32_t>(exponents[i]) << kMantissaBits;
    exponents[i] =
        static_cast<std::int32_t>(upper | (static_cast<std::uint32_t>(mantissae[i]) & kMantissaMask));
  }
  return true;
}

}  // namespace

Result<void> ComponentArrays::readCodes(const char* what, std::uint32_t components, Prediction prediction) {
  values_.resize(components);
  const Predictor predictor = prediction == Prediction::Lag1 ? Predictor::Lag1 : Predictor::Null;
  for (auto& values : values_) {
    auto done = packets_.readExactly(reader_, what, predictor, count_, values);
    if (!done) return done;
  }
  return checkHash(what, prediction);
}

Result<void> ComponentArrays::readFloatBits(const char* what, std::uint32_t components,
                                            Prediction prediction) {
  if (packets_.form() == PacketForm::Jt10) return readCodes(what, components, prediction);
  auto done = readFloatParts(what, components, prediction);
  if (!done) return done;
  reader_.skip(sizeof(std::uint32_t), what);
  if (!reader_.ok()) return reader_.unexpected();
  return {};
}

Result<void> ComponentArrays::readFloatParts(const char* what, std::uint32_t components,
                                             Prediction prediction) {
  values_.resize(components);
  std::vector<std::int32_t> mantissae;
  const Predictor predictor = prediction == Prediction::Lag1 ? Predictor::Lag1 : Predictor::Null;
  for (auto& values : values_) {
    const std::uint64_t start = reader_.offset();
    auto done = packets_.readExactly(reader_, what, predictor, count_, values);
    if (!done) return done;
    done = packets_.readExactly(reader_, what, predictor, count_, mantissae);
    if (!done) return done;
    if (prediction == Prediction::ByHash) {
      std::vector<std::int32_t> exponents_lag1 = values;
      std::vector<std::int32_t> mantissae_lag1 = mantissae;
      undoPredictor(Predictor::Lag1, exponents_lag1);
      undoPredictor(Predictor::Lag1, mantissae_lag1);
      if (joinFloatParts(exponents_lag1, mantissae_lag1)) {
        values = std::move(exponents_lag1);
        continue;
      }
    }
    if (!joinFloatParts(values, mantissae)) {
      return fail(std::string(what) + ": exponents and mantissae do not agree", start);
    }
  }
  return {};
}

Result<void> ComponentArrays::checkHash(const char* what, Prediction prediction) {
  const std::uint64_t start = reader_.offset();
  const std::uint32_t stored = reader_.u32(what);
  if (!reader_.ok()) return reader_.unexpected();
  if (hash() == stored) return {};
  if (prediction == Prediction::ByHash) {
    undoLag1();
    if (hash() == stored) return {};
  }
  return fail(std::string(what) + " do not agree with their hash", start);
}

std::uint32_t ComponentArrays::hash() const noexcept {
  std::uint32_t hash = 0;
  for (const auto& values : values_) hash = hash32(std::span<const std::int32_t>(values), hash);
  return hash;
}

void ComponentArrays::undoLag1() {
  for (auto& values : values_) undoPredictor(Predictor::Lag1, values);
}

}  // namespace jttk
