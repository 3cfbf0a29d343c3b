// Windows paths of more than 260 characters. Where the system's switch for long paths is off, the wide calls
// take such a path only behind the prefix `\\?\`, and only when it is absolute and says nothing indirectly
// (`..`, `/`, trailing dots): behind the prefix a path is not interpreted any more.
#pragma once

#include <string>
#include <string_view>

namespace loftbay::host {

// The form of `full_path` that the wide calls take: with `\\?\` (`\\?\UNC\` for `\\server\share`) when it is
// 248 units or more, which is where creating a directory stops working; unchanged when it is shorter, has
// such a prefix already, or does not begin with a drive or a server. `full_path` is resolved: as
// GetFullPathName gives it.
std::wstring longPathForm(std::wstring_view full_path);

#ifdef _WIN32
// The path for a wide call. `program_path` may be relative or unresolved.
std::wstring toSystemPath(std::string_view program_path);
#endif

}  // namespace loftbay::host
