// Classifies a reference to a file by its text, before the file system is asked: even a query can have
// effects. `\\host\share\x.jt` talks to that host, `COM1` to a device.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace jttk {

// Whose names: on Windows some names are never files, whatever lies in the folder.
enum class NameRules : std::uint8_t { Posix, Windows };
constexpr NameRules hostNameRules() {
#ifdef _WIN32
  return NameRules::Windows;
#else
  return NameRules::Posix;
#endif
}

struct StatedName {
  enum class Kind : std::uint8_t {
    Relative,       // a\b.jt
    Absolute,       // \a\b.jt, /a/b.jt
    Drive,          // C:\a\b.jt
    DriveRelative,  // C:b.jt: seen from whatever folder is the current one of that drive
    Network,        // \\host\share\b.jt
    Device          // \\.\b, \\?\b, \??\b
  };
  Kind kind = Kind::Relative;
  std::vector<std::string> names;  // folders and the file; no drive, no `.`
};

[[nodiscard]] StatedName statedName(std::string_view reference);

// Whether a folder or file can be called so: on Windows no device (`NUL`, `com1.jt`), no stream (`a.jt:b`)
// and nothing with a character that names cannot have.
[[nodiscard]] bool isFileName(std::string_view name, NameRules rules);

// The host and share of a path that begins so, in lower case (`\\host\share`), or nothing. `/` separates like
// `\`.
[[nodiscard]] std::string shareOf(std::string_view path);

}  // namespace jttk
