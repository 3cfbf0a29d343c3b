// Names of a scene hold any bytes; what a tool shows is valid UTF-8.
#pragma once

#include <string>
#include <string_view>

namespace Orb::Zix {

// The text with every byte that belongs to no valid UTF-8 character replaced by U+FFFD.
std::string validUtf8(std::string_view text);
bool isValidUtf8(std::string_view text);

// validUtf8, and control characters as \xNN, so that one name takes one line and moves no cursor.
std::string shownText(std::string_view text);

}  // namespace Orb::Zix
