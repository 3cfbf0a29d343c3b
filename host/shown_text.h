// Texts of files hold any bytes. What a program shows of them is valid UTF-8 that a terminal cannot take for
// commands.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace loftbay::host {

// The text with every byte that belongs to no valid UTF-8 character replaced by U+FFFD.
std::string validUtf8(std::string_view text);
bool isValidUtf8(std::string_view text);

// validUtf8, and control characters (C0, DEL, C1) as \xNN, so that one name takes one line and moves no
// cursor. What has been shown this way stays as it is when it comes through again.
std::string shownText(std::string_view text);

// The longest start of the text with at most `limit` bytes that does not cut a UTF-8 character.
std::string_view startOfText(std::string_view text, std::size_t limit);

}  // namespace loftbay::host
