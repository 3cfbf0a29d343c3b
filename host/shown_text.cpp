#include "host/shown_text.h"

#include <cstddef>

namespace loftbay::host {

namespace {

// The length of the valid character at `text[at]`, or 0. Overlong forms, surrogates and values above
// U+10FFFF are not valid.
std::size_t characterLength(std::string_view text, std::size_t at) {
  const auto byte = [&](std::size_t i) {
    return at + i < text.size() ? static_cast<unsigned char>(text[at + i]) : 0U;
  };
  const auto continues = [&](std::size_t i) { return (byte(i) & 0xC0U) == 0x80; };
  const unsigned first = byte(0);
  if (first < 0x80) return 1;
  if (first >= 0xC2 && first <= 0xDF) return continues(1) ? 2 : 0;
  if (first >= 0xE0 && first <= 0xEF) {
    const unsigned low = first == 0xE0 ? 0xA0 : 0x80;
    const unsigned high = first == 0xED ? 0x9F : 0xBF;
    return byte(1) >= low && byte(1) <= high && continues(2) ? 3 : 0;
  }
  if (first >= 0xF0 && first <= 0xF4) {
    const unsigned low = first == 0xF0 ? 0x90 : 0x80;
    const unsigned high = first == 0xF4 ? 0x8F : 0xBF;
    return byte(1) >= low && byte(1) <= high && continues(2) && continues(3) ? 4 : 0;
  }
  return 0;
}

}  // namespace

bool isValidUtf8(std::string_view text) {
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t length = characterLength(text, i);
    if (length == 0) return false;
    i += length;
  }
  return true;
}

std::string validUtf8(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    const std::size_t length = characterLength(text, i);
    if (length == 0) {
      result += "\xEF\xBF\xBD";
      ++i;
    } else {
      result += text.substr(i, length);
      i += length;
    }
  }
  return result;
}

std::string shownText(std::string_view text) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  const std::string valid = validUtf8(text);
  std::string result;
  result.reserve(valid.size());
  const auto escape = [&](unsigned code) {
    result += "\\x";
    result += kDigits[code >> 4U];
    result += kDigits[code & 15U];
  };
  for (std::size_t i = 0; i < valid.size(); ++i) {
    const auto byte = static_cast<unsigned char>(valid[i]);
    const auto next = i + 1 < valid.size() ? static_cast<unsigned char>(valid[i + 1]) : 0U;
    if (byte < 0x20 || byte == 0x7F) {
      escape(byte);
    } else if (byte == 0xC2 && next < 0xA0) {  // U+0080 .. U+009F
      escape(next);
      ++i;
    } else {
      result += valid[i];
    }
  }
  return result;
}

std::string_view startOfText(std::string_view text, std::size_t limit) {
  if (text.size() <= limit) return text;
  while (limit > 0 && (static_cast<unsigned char>(text[limit]) & 0xC0U) == 0x80) --limit;
  return text.substr(0, limit);
}

}  // namespace loftbay::host
