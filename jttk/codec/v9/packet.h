// Arrays of 32-bit integers as JT 9.x and 10.x store them: a count, a codec number, and what the codec needs.
#pragma once

#include <cstdint>
#include <vector>

#include "jttk/codec/predictors.h"
#include "jttk/codec/shape_limits.h"
#include "jttk/codec/v9/packet_form.h"
#include "jttk/file/byte_reader.h"
#include "jttk/file/error.h"
#include "jttk/file/memory_budget.h"

namespace jttk {

// Reads the packets of one shape. `value_budget` is how many values the packets may hold together, nested
// ones included (their bytes do not bound it, see shape_limits.h). Memory is taken from `memory`, which
// outlives the reader; null: without a limit.
class PacketReader {
 public:
  explicit PacketReader(PacketForm form, std::uint64_t value_budget = kGenerousShapeValues,
                        MemoryBudget* memory = nullptr) noexcept
      : form_(form), budget_(value_budget), memory_(memory) {}
  PacketReader(const PacketReader&) = delete;
  PacketReader& operator=(const PacketReader&) = delete;

  // Reads one packet into `values`, whose old contents are lost. `what` names the array in messages. A packet
  // that holds more than `maximum_count` values is an error.
  Result<void> read(ByteReader& reader, const char* what, Predictor predictor, std::uint32_t maximum_count,
                    std::vector<std::int32_t>& values);
  // The same for an array whose length is known: fewer values are an error too.
  Result<void> readExactly(ByteReader& reader, const char* what, Predictor predictor, std::uint32_t count,
                           std::vector<std::int32_t>& values);

  [[nodiscard]] PacketForm form() const noexcept { return form_; }
  // The budget that callers also use for arrays made of the values.
  [[nodiscard]] MemoryBudget& memory() noexcept { return memory_ != nullptr ? *memory_ : unlimited_; }

 private:
  Result<void> readPacket(ByteReader& reader, std::uint32_t maximum_count, std::vector<std::int32_t>& values,
                          int depth);
  Result<void> readArithmetic(ByteReader& reader, std::vector<std::int32_t>& values, int depth);
  Result<void> readChopper(ByteReader& reader, std::vector<std::int32_t>& values, int depth);
  Result<void> readMoveToFront(ByteReader& reader, std::vector<std::int32_t>& values, int depth);

  PacketForm form_;
  std::uint64_t budget_;
  MemoryBudget* memory_;
  MemoryBudget unlimited_;
};

}  // namespace jttk
