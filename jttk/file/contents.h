// The table of contents of a JT file: which segment lies where. A segment's id, type and length are repeated
// in its own header; where the two contradict each other, the rules below decide.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "jttk/file/byte_reader.h"
#include "jttk/file/byte_source.h"
#include "jttk/file/error.h"
#include "jttk/file/segment_type.h"

namespace jttk {

struct TocEntry {
  Guid id;
  std::uint64_t offset = 0;        // of the segment's header, from the start of the file
  std::uint32_t length_bytes = 0;  // header included
  SegmentType type{};
};

inline constexpr std::size_t kSegmentHeaderBytes = 24;

struct SegmentHeader {
  Guid id;
  SegmentType type{};
  std::uint32_t length_bytes = 0;  // header included
};

// The header of the segment at `offset` of the file. Fails where the file has no room for it.
Result<SegmentHeader> readSegmentHeader(const ByteSource& file, ByteOrder order, std::uint64_t offset);

struct Contents {
  // In file order, each segment once. Where a segment's header has another id than its entry, the header's id
  // is used if the table lists it, else the entry's.
  std::vector<TocEntry> entries;
  std::size_t duplicates = 0;               // entries that repeat another one
  std::vector<std::string> contradictions;  // one text each, and one for those beyond kMaxContradictions
  static constexpr std::size_t kMaxContradictions = 20;
};

// `offset`: where the table lies in the file; `wide`: offsets of 64 bits. Fails when the table is cut off.
Result<Contents> readContents(const ByteSource& file, ByteOrder order, std::uint64_t offset, bool wide);

}  // namespace jttk
