// The operating system in words, as the log's third line names it: "Microsoft Windows 7  Service Pack 1
// (build 7601), 64-bit". Systems from version 6.2 on get no name, only their build number, and systems older
// than version 5 are not described.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "host/system_version.h"

namespace loftbay::diag {

// Wide characters that a buffer for the description holds, terminator included.
inline constexpr std::size_t kSystemDescriptionCapacity = 1024;

// The text for a version record; empty optional when such a system is not supported (not the NT platform,
// or a major version below 5).
std::optional<std::wstring> describeSystem(const host::SystemVersion& version);

// Writes the description of this system, terminated and cut to kSystemDescriptionCapacity wide characters,
// to `buffer`, which has room for as many. False when the system is not supported: nothing is written then.
bool GetSystemDescription(wchar_t* buffer);

// The same for a version record; false as well when there is none.
bool describeInto(const std::optional<host::SystemVersion>& version, wchar_t* buffer);

// The description narrowed to 8 bits per character as the log takes it: what the locale has no 8-bit form
// for becomes "?".
std::string narrowed(std::wstring_view text);

// The description of this system for the log; empty when it is not supported.
std::string systemDescription();

}  // namespace loftbay::diag
