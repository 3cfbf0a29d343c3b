// Checks that a written file is consistent: offsets and lengths of segments and elements, ids, children, the
// property table. It has its own knowledge of the layouts, as little as it needs, and shares no code with the
// writer.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace loftbay::maker {

struct FileSummary {
  std::vector<std::string> problems;  // empty: the file is consistent
  std::string version;
  std::map<std::uint32_t, std::size_t> segments;  // per type
  std::map<std::string, std::size_t> elements;  // scene graph elements per first field of their type id (hex)
  std::size_t properties = 0;                   // pairs in the property table
  std::size_t late_loaded = 0;                  // atoms that name a segment of this file
};

FileSummary verifyFile(std::span<const std::uint8_t> file);

}  // namespace loftbay::maker
