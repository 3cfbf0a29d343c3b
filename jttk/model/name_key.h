// Texts by which names are compared that people take for the same.
#pragma once

#include <string>
#include <string_view>

namespace jttk {

// Lower case: Latin (with its accents), Greek and Cyrillic letters.
std::string foldCase(std::string_view utf8);

// Equal for file names that differ in letter case, in blanks at the end, and in whether accents are part of
// their letters or follow them (systems store names either way): Latin, Greek, Cyrillic, kana and Hangul.
std::string nameKey(std::string_view utf8);

}  // namespace jttk
