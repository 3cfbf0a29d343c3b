// The one function that makes text of a float: for log lines and for the keys that decide which vertices
// merge.
//
// The text is that of printf's "%.6g" (and so of a text stream in its default format), the same on every
// host and in every locale: exactly rounded, ties to even; infinities are "inf" and "-inf"; not-a-number is
// "nan" or "-nan" by its sign bit, whatever its payload.
#pragma once

#include <cstddef>
#include <string>

namespace loftbay::diag {

// The longest text is that of -1.23456e-38: 12 characters.
inline constexpr std::size_t kFloatTextCapacity = 16;

// Writes the text to `out` (at least kFloatTextCapacity characters, no terminator) and returns its length.
// What the characters behind it are afterwards is left open.
std::size_t formatFloat(char* out, float value) noexcept;

// Appends the text to `text`.
void appendFloat(std::string& text, float value);

}  // namespace loftbay::diag
