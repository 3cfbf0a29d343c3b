// Windows side of directory.h.
#include <windows.h>

#include "host/directory.h"
#include "host/long_path.h"
#include "host/path.h"
#include "host/wide_text.h"

namespace loftbay::host {

std::optional<std::vector<std::string>> listDirectory(std::string_view program_path) {
  const std::wstring pattern = toSystemPath(program_path.empty() ? "*" : std::string(program_path) + "\\*");
  WIN32_FIND_DATAW entry{};
  HANDLE search = FindFirstFileW(pattern.c_str(), &entry);
  if (search == INVALID_HANDLE_VALUE) return std::nullopt;
  std::vector<std::string> names;
  do {
    const std::wstring_view name = entry.cFileName;
    if (name != L"." && name != L"..") names.push_back(utf8(name));
  } while (FindNextFileW(search, &entry) != 0);
  FindClose(search);
  return names;
}

std::optional<std::string> canonicalPath(std::string_view program_path) {
  // Backup semantics: the only way to open a folder.
  HANDLE file = CreateFileW(toSystemPath(program_path).c_str(), 0,
                            FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                            FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (file == INVALID_HANDLE_VALUE) return std::nullopt;
  std::wstring path(MAX_PATH, L'\0');
  DWORD length = GetFinalPathNameByHandleW(file, path.data(), static_cast<DWORD>(path.size()), 0);
  if (length >= path.size()) {
    path.resize(length + 1);  // some systems do not count the terminator
    length = GetFinalPathNameByHandleW(file, path.data(), static_cast<DWORD>(path.size()), 0);
  }
  CloseHandle(file);
  // Wine gives no final name of more than 260 characters: the resolved one, links left as they are.
  if (const std::wstring resolved = toSystemPath(program_path);
      length == 0 && resolved.starts_with(L"\\\\?\\"))
    return utf8(resolved);
  if (length == 0 || length >= path.size()) return std::nullopt;
  path.resize(length);
  return utf8(path);
}

}  // namespace loftbay::host
