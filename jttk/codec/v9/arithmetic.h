// The arithmetic codec: a table of symbols with their frequencies, and a code text that narrows an interval
// of 16 bits down value by value.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "jttk/codec/v9/code_text.h"
#include "jttk/codec/v9/packet_form.h"
#include "jttk/file/byte_reader.h"
#include "jttk/file/error.h"

namespace jttk {

struct ProbabilityEntry {
  std::int32_t value = 0;
  std::uint32_t cumulative = 0;   // occurrences of all entries before this one
  std::uint32_t occurrences = 0;  // 0: never chosen
  bool is_escape = false;         // means the next out-of-band value
};

struct ProbabilityTable {
  std::vector<ProbabilityEntry> entries;
  std::uint32_t total = 0;  // occurrences of all entries
  bool has_escape = false;
};

// Reads a table: a bit stream that is padded to whole bytes.
Result<ProbabilityTable> readProbabilityTable(ByteReader& reader, PacketForm form);

// Fills `values`, all of them. All of `out_of_band` must be used up.
Result<void> decodeArithmetic(const CodeText& text, const ProbabilityTable& table,
                              std::span<const std::int32_t> out_of_band, std::span<std::int32_t> values);

}  // namespace jttk
