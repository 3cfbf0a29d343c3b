// One component of a vertex array: a packet of codes, or the bits of floats in one packet (JT 10) or two (JT
// 9).
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "jttk/codec/int32_packet_mk2.h"
#include "jttk/codec/predictors.h"
#include "jttk/file/byte_reader.h"
#include "jttk/file/error.h"

namespace jttk {

// What becomes of values that do not agree with their hash.
enum class HashRule : std::uint8_t { MustAgree, Ignore };

// The components of one array, each `count` values, one after the other: what is hashed, and what floats are
// made of.
class ComponentArrays {
 public:
  ComponentArrays(ByteReader& reader, Int32PacketReader& packets, std::uint32_t count) noexcept
      : reader_(reader), packets_(packets), count_(count) {}

  // Reads `components` packets of codes, then the hash. Not all writers predict alike: where the hash does
  // not agree after `usual`, the other one of Null and Lag1 is taken if it makes it agree.
  Result<void> readCodes(const char* what, std::uint32_t components, Predictor usual,
                         HashRule rule = HashRule::MustAgree);
  // Reads the float bits of `components` components, then the hash. JT 10: the hash decides as above. JT 9:
  // what the hash is taken over is not known; instead the four bits that are stored twice must agree.
  Result<void> readFloatBits(const char* what, std::uint32_t components, Predictor usual,
                             HashRule rule = HashRule::MustAgree);
  // Whether what was read agrees with its hash. False also where it is not known what that is taken over.
  [[nodiscard]] bool hashAgrees() const noexcept { return hash_agrees_; }
  // From the values after `from` to those after the other one of Null and Lag1.
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
  Int32PacketReader& packets_;
  std::uint32_t count_;
  bool hash_agrees_ = false;
  std::vector<std::vector<std::int32_t>> values_;
};

}  // namespace jttk
