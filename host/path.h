// The program's own form of a path, and the host's.
//
// Everywhere in the converter a path is narrow UTF-8 text whose separator is `\`, on every host: names that
// are cut out of paths, log lines and messages then read the same everywhere. Only the functions of this
// folder turn such a path into what the operating system takes. On Windows the two forms are one. On POSIX
// hosts `/` becomes `\`; a `\` that is part of a POSIX name is carried as U+F05C (a private use character),
// so that the mapping can be turned round without loss.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace loftbay::host {

// The program's form of a path as the user of a console typed it (host form, UTF-8). On POSIX a file
// directly in the root folder gets a `.` folder (`/a.zix` -> `\.\a.zix`), so that the text before the last
// separator still names the root. On Windows `/` is accepted as a separator.
std::string toProgramPath(std::string_view host_path);

// The host's form of a program path: what the user sees in messages and reports.
std::string toHostPath(std::string_view program_path);

// The same, as a path object that opens the right file on every host (wide on Windows).
std::filesystem::path toFileSystemPath(std::string_view program_path);

}  // namespace loftbay::host
