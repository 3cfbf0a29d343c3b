// Float bits in JT 9: exponents (sign and exponent, 9 bits) and mantissae of 27 bits, so that the lowest four
// exponent bits are stored twice. That shows whether the right predictor was undone.
#include "jttk/codec/v9/component_arrays.h"

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

// Converts values decoded with `from` to what the other predictor gives. Only Null and Lag1 are used here.
void exchangePredictor(Predictor from, std::span<std::int32_t> values) {
  if (from == Predictor::Null) return undoPredictor(Predictor::Lag1, values);
  constexpr std::size_t kPlainValues = 4;
  for (std::size_t i = values.size(); i > kPlainValues; --i) {
    values[i - 1] = static_cast<std::int32_t>(static_cast<std::uint32_t>(values[i - 1]) -
                                              static_cast<std::uint32_t>(values[i - 2]));
  }
}

}  // namespace

Result<void> ComponentArrays::readCodes(const char* what, std::uint32_t components, Predictor usual,
                                        HashRule rule) {
  values_.resize(components);
  for (auto& values : values_) {
    auto done = packets_.readExactly(reader_, what, usual, count_, values);
    if (!done) return done;
  }
  return checkHash(what, usual, rule);
}

Result<void> ComponentArrays::readFloatBits(const char* what, std::uint32_t components, Predictor usual,
                                            HashRule rule) {
  if (packets_.form() == PacketForm::V10) return readCodes(what, components, usual, rule);
  auto done = readFloatParts(what, components, usual);
  if (!done) return done;
  reader_.skip(sizeof(std::uint32_t), what);
  if (!reader_.ok()) return reader_.unexpected();
  return {};
}

Result<void> ComponentArrays::readFloatParts(const char* what, std::uint32_t components, Predictor usual) {
  values_.resize(components);
  std::vector<std::int32_t> mantissae;
  for (auto& values : values_) {
    const std::uint64_t start = reader_.offset();
    auto done = packets_.readExactly(reader_, what, usual, count_, values);
    if (!done) return done;
    done = packets_.readExactly(reader_, what, usual, count_, mantissae);
    if (!done) return done;
    if (joinFloatParts(values, mantissae)) continue;
    exchangePredictor(usual, values);
    exchangePredictor(usual, mantissae);
    if (joinFloatParts(values, mantissae)) continue;
    return fail(std::string(what) + ": exponents and mantissae do not agree", start);
  }
  return {};
}

void ComponentArrays::exchangePredictors(Predictor from) {
  for (auto& values : values_) exchangePredictor(from, values);
}

Result<void> ComponentArrays::checkHash(const char* what, Predictor usual, HashRule rule) {
  const std::uint64_t start = reader_.offset();
  const std::uint32_t stored = reader_.u32(what);
  if (!reader_.ok()) return reader_.unexpected();
  hash_agrees_ = hash() == stored;
  if (hash_agrees_ || rule == HashRule::Ignore) return {};
  exchangePredictors(usual);
  hash_agrees_ = hash() == stored;
  if (hash_agrees_) return {};
  return fail(std::string(what) + " do not agree with their hash", start);
}

std::uint32_t ComponentArrays::hash() const noexcept {
  std::uint32_t hash = 0;
  for (const auto& values : values_) hash = hash32(std::span<const std::int32_t>(values), hash);
  return hash;
}

}  // namespace jttk
