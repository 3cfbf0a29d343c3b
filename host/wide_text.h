// UTF-8, as the program holds its texts, and UTF-16, as Windows takes them; for Windows only. Bytes or units
// that are no text become U+FFFD; nothing throws.
#pragma once

#include <string>
#include <string_view>

namespace loftbay::host {

std::wstring wide(std::string_view utf8);
std::string utf8(std::wstring_view wide);

}  // namespace loftbay::host
