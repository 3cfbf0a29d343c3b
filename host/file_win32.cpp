// Windows side of file.h: the wide calls, because paths may hold any character and be longer than 260.
#include "host/file.h"

#include <direct.h>
#include <share.h>
#include <windows.h>

#include <memory>
#include <system_error>

#include "host/long_path.h"
#include "host/path.h"
#include "host/wide_text.h"

namespace loftbay::host {

FilePointer openFile(std::string_view program_path, const char* mode) {
  const std::wstring wide_mode(mode, mode + std::char_traits<char>::length(mode));
  return FilePointer(_wfsopen(toSystemPath(program_path).c_str(), wide_mode.c_str(), _SH_DENYNO));
}

bool removeFile(std::string_view program_path) { return _wremove(toSystemPath(program_path).c_str()) == 0; }

bool createAndRemove(std::string_view program_path) {
  if (!openFile(program_path, "w")) return false;
  removeFile(program_path);
  return true;
}

bool pathExists(std::string_view program_path) {
  return GetFileAttributesW(toSystemPath(program_path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool makeDirectory(std::string_view program_path) { return _wmkdir(toSystemPath(program_path).c_str()) == 0; }

std::optional<std::string> currentDirectory(std::size_t limit_bytes) {
  const std::unique_ptr<wchar_t, decltype(&free)> text(_wgetcwd(nullptr, 0), &free);
  if (!text) return std::nullopt;
  std::string result = utf8(text.get());
  if (result.size() + 1 > limit_bytes) return std::nullopt;
  return result;
}

// Without the prefix: no process can have a current directory with it.
bool changeDirectory(std::string_view program_path) {
  return _wchdir(toFileSystemPath(program_path).c_str()) == 0;
}

std::optional<std::string> environmentVariable(const char* name) {
  const std::wstring wide_name(name, name + std::char_traits<char>::length(name));
  const wchar_t* value = _wgetenv(wide_name.c_str());
  if (value == nullptr) return std::nullopt;
  return utf8(value);
}

std::optional<MappedFile> MappedFile::open(std::string_view program_path, std::string* reason) {
  const auto fail = [&](DWORD error) {
    *reason = std::system_category().message(static_cast<int>(error));
    return std::optional<MappedFile>();
  };
  const std::wstring path = toSystemPath(program_path);
  const DWORD attributes = GetFileAttributesW(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return fail(GetLastError());
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    *reason = "Is a directory";
    return std::nullopt;
  }
  const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return fail(GetLastError());
  LARGE_INTEGER size{};
  DWORD error = GetFileSizeEx(file, &size) != 0 ? ERROR_SUCCESS : GetLastError();
  const void* start = nullptr;
  if (error == ERROR_SUCCESS && size.QuadPart > 0) {
    const HANDLE mapping = CreateFileMappingW(file, nullptr, PAGE_READONLY, 0, 0, nullptr);
    if (mapping == nullptr) {
      error = GetLastError();
    } else {
      start = MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, 0);
      if (start == nullptr) error = GetLastError();
      CloseHandle(mapping);
    }
  }
  CloseHandle(file);
  if (error != ERROR_SUCCESS) return fail(error);
  return MappedFile({static_cast<const std::byte*>(start), static_cast<std::size_t>(size.QuadPart)});
}

void MappedFile::unmap() noexcept {
  if (bytes_.empty()) return;
  UnmapViewOfFile(bytes_.data());
  bytes_ = {};
}

}  // namespace loftbay::host
