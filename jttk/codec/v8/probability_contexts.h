// Probability contexts of a JT 8.x packet: the one or two tables of symbols with their frequencies that
// the Huffman and the arithmetic coder work from. They are stored as a bit stream of bytes, most significant
// bit first, whatever the byte order of the file.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "jttk/file/byte_reader.h"
#include "jttk/file/error.h"

namespace jttk {

struct ContextEntry {
  std::int32_t value = 0;         // without meaning for the escape
  std::uint32_t count = 0;        // how often the symbol occurs, as far as the writer said
  std::uint8_t next_context = 0;  // the table of the symbol after this one; always a table that exists
  bool escape = false;            // the value is the next one of the out-of-band packet
};

struct ContextTable {
  std::vector<ContextEntry> entries;  // in stored order, which the coders depend on
  std::uint64_t total = 0;            // sum of the counts
};

struct ProbabilityContexts {
  std::array<ContextTable, 2> tables;
  std::size_t table_count = 0;  // 1 or 2
};

// Reads the tables and the padding up to the next byte border. The values of the second table are those of
// the entries of the first one with the same symbol; a symbol that the first one lacks is an error.
Result<ProbabilityContexts> readProbabilityContexts(ByteReader& in);

}  // namespace jttk
