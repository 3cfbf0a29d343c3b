// Windows side of path.h: the program's form is the host's; `/` is taken as a separator too.
#include <windows.h>

#include <algorithm>

#include "host/path.h"

namespace loftbay::host {

std::string toProgramPath(std::string_view host_path) {
  std::string result(host_path);
  std::replace(result.begin(), result.end(), '/', '\\');
  return result;
}

std::string toHostPath(std::string_view program_path) { return std::string(program_path); }

std::filesystem::path toFileSystemPath(std::string_view program_path) {
  if (program_path.empty()) return {};
  const int size = static_cast<int>(program_path.size());
  const int needed = MultiByteToWideChar(CP_UTF8, 0, program_path.data(), size, nullptr, 0);
  std::wstring wide(static_cast<std::size_t>(needed), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, program_path.data(), size, wide.data(), needed);
  return {wide};
}

}  // namespace loftbay::host
