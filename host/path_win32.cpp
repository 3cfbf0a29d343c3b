// Windows side of path.h: the program's form is the host's; `/` is taken as a separator too.
#include <windows.h>

#include <algorithm>

#include "host/long_path.h"
#include "host/path.h"
#include "host/wide_text.h"

namespace loftbay::host {

std::string toProgramPath(std::string_view host_path) {
  std::string result(host_path);
  std::replace(result.begin(), result.end(), '/', '\\');
  return result;
}

std::string toHostPath(std::string_view program_path) { return std::string(program_path); }

std::filesystem::path toFileSystemPath(std::string_view program_path) { return {wide(program_path)}; }

std::wstring toSystemPath(std::string_view program_path) {
  std::wstring path = toFileSystemPath(program_path).wstring();
  std::wstring full(MAX_PATH, L'\0');
  DWORD size = GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
  if (size >= full.size()) {
    full.resize(size);
    size = GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
  }
  if (size == 0 || size >= full.size()) return path;
  full.resize(size);
  std::wstring long_form = longPathForm(full);
  // A short path stays as it was said: names of devices, for example, are then the system's business.
  return long_form == full ? path : long_form;
}

}  // namespace loftbay::host
