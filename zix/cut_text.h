// Names and properties as people are shown them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "host/shown_text.h"

namespace Orb::Zix {

// A file can name the same long text in each of its records: what is shown stays within some times the size
// of the file.
inline constexpr std::size_t kLongestShown = 200;

// On one line of valid UTF-8; where it is longer, its start and its size.
inline std::string shownCut(std::string_view text) {
  const std::string_view start = loftbay::host::startOfText(text, kLongestShown);
  std::string result = loftbay::host::shownText(start);
  if (start.size() < text.size()) result += "… (" + std::to_string(text.size()) + " bytes)";
  return result;
}

}  // namespace Orb::Zix
