// One component of a vertex array: a packet of codes, or the bits of floats in one packet (JT 10) or two (JT
// 9).
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "jttk/codec/predictors.h"
#include "jttk/codec/v9/packet.h"
#include "jttk/file/byte_reader.h"
#include "jttk/file/error.h"

namespace jttk {

// What becomes of values that do not agree with their hash.
enum class HashRule : std::uint8_t { MustAgree, Ignore };

// The decoded components of one vertex array, `count` values each.
class ComponentArrays {
 public:
  ComponentArrays(ByteReader& reader, PacketReader& packets, std::uint32_t count) noexcept
      : reader_(reader), packets_(packets), count_(count) {}

  // Reads `components` packets of codes, then the hash. Writers differ in the predictor: if the hash is wrong
  // after `usual`, the other one of Null and Lag1 is tried.
  Result<void> readCodes(const char* what, std::uint32_t components, Predictor usual,
                         HashRule rule = HashRule::MustAgree);
  // Reads the float bits of `components` components, then the hash. JT 10: the hash decides as above. JT 9:
  // what the hash is taken over is not known; instead the four bits that are stored twice must agree.
  Result<void> readFloatBits(const char* what, std::uint32_t components, Predictor usual,
                             HashRule rule = HashRule::MustAgree);
  // Whether what was read agrees with its hash. False also where it is not known what that is taken over.
  [[nodiscard]] bool hashAgrees() const noexcept { return hash_agrees_; }
  // Converts values decoded with `from` to what the other one of Null and Lag1 gives.
  void exchangePredictors(Predictor from);

  // Codes or float bits of one component.
  [[nodiscard]] std::span<const std::int32_t> component(std::uint32_t index) const noexcept {
    return values_[index];
  }

 private:
  Result<void> readFloatParts(const char* what, std::uint32_t components, Predictor usual);
  Result<void> checkHash(const char* what, Predictor usual, HashRule rule);
  [[nodiscard]] std::uint32_t hash() const noexcept;

  ByteReader& reader_;
  PacketReader& packets_;
  std::uint32_t count_;
  bool hash_agrees_ = false;
  std::vector<std::vector<std::int32_t>> values_;
};

}  // namespace jttk
