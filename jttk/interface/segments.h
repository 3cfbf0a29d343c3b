// Single segments of a JT file, for people who look into files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace jttk {

// An entry of the table of contents.
struct SegmentEntry {
  std::string id;
  std::string type;  // "scene graph", "shape, level 0", …
  std::uint64_t offset = 0;
  std::uint32_t length_bytes = 0;  // as the table states it
};

struct ElementEntry {
  std::uint64_t offset = 0;  // in the unpacked data
  std::size_t length_bytes = 0;
  std::string type;  // its name, or the GUID of one that is not known
};

struct SegmentContents {
  SegmentEntry entry;
  std::string compression;      // "none", "stored", "zlib", "lzma"
  std::vector<std::byte> data;  // unpacked
  std::vector<ElementEntry> elements;
  // Of a shape that decodes: what is called how, and its value.
  std::vector<std::pair<std::string, std::string>> facts;
  std::string note;     // a fault that cost nothing
  std::string failure;  // why it does not unpack or decode; empty when it does
};

struct SegmentSearch {
  std::vector<SegmentEntry> found;
  std::string failure;  // why the file cannot be read; empty when it can
};

// The segments whose ids begin with `id` (of any letter case), in the order of the table; all for an empty
// `id`. `program_path` in program form.
SegmentSearch findSegments(const std::string& program_path, std::string_view id);

// The contents of one of them.
SegmentContents readSegment(const std::string& program_path, const SegmentEntry& entry);

}  // namespace jttk
