// Windows side of file.h: the wide calls, because paths may hold any character and be longer than 260.
#include "host/file.h"

#include <direct.h>
#include <share.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <new>
#include <system_error>
#include <utility>

#include "host/long_path.h"
#include "host/path.h"
#include "host/wide_text.h"

namespace loftbay::host {

namespace {

std::string lastReason() { return std::system_category().message(static_cast<int>(GetLastError())); }

HANDLE fromHandle(std::intptr_t handle) { return reinterpret_cast<HANDLE>(handle); }

}  // namespace

FilePointer openFile(std::string_view program_path, const char* mode) {
  const std::wstring wide_mode(mode, mode + std::char_traits<char>::length(mode));
  errno = 0;
  FilePointer file(_wfsopen(toSystemPath(program_path).c_str(), wide_mode.c_str(), _SH_DENYNO));
  if (!file && errno == ENOMEM) throw std::bad_alloc();
  return file;
}

GrowingFile::GrowingFile(std::string_view program_path) : path_(toHostPath(program_path)) {}

bool GrowingFile::append(std::string_view text) {
  const FilePointer file = openFile(path_, "a");
  if (!file) return false;
  is_regular_ = true;
  const bool written = std::fwrite(text.data(), 1, text.size(), file.get()) == text.size();
  return std::fflush(file.get()) == 0 && written;
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

std::optional<ReadOnlyFile> ReadOnlyFile::open(std::string_view program_path, std::string* reason) {
  const std::wstring path = toSystemPath(program_path);
  const DWORD attributes = GetFileAttributesW(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) {
    *reason = lastReason();
    return std::nullopt;
  }
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    *reason = "Is a directory";
    return std::nullopt;
  }
  const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    *reason = lastReason();
    return std::nullopt;
  }
  ReadOnlyFile result(reinterpret_cast<std::intptr_t>(file), 0);
  if (GetFileType(file) != FILE_TYPE_DISK) {
    *reason = "Not a regular file";
    return std::nullopt;
  }
  LARGE_INTEGER size{};
  if (GetFileSizeEx(file, &size) == 0) {
    *reason = lastReason();
    return std::nullopt;
  }
  result.size_ = static_cast<std::uint64_t>(size.QuadPart);
  return result;
}

void ReadOnlyFile::close() noexcept {
  if (handle_ != kNoHandle) CloseHandle(fromHandle(std::exchange(handle_, kNoHandle)));
}

std::optional<std::size_t> ReadOnlyFile::readSome(std::uint64_t offset, std::span<std::byte> buffer,
                                                  std::string* reason) const {
  // A call takes 32 bits of a length.
  const auto asked = static_cast<DWORD>(std::min(buffer.size(), std::size_t{1} << 30));
  OVERLAPPED place{};
  place.Offset = static_cast<DWORD>(offset);
  place.OffsetHigh = static_cast<DWORD>(offset >> 32U);
  DWORD amount = 0;
  if (ReadFile(fromHandle(handle_), buffer.data(), asked, &amount, &place) != 0) return amount;
  if (GetLastError() == ERROR_HANDLE_EOF) return 0;
  *reason = lastReason();
  return std::nullopt;
}

std::optional<MappedFile> MappedFile::open(std::string_view program_path, std::string* reason) {
  const auto file = ReadOnlyFile::open(program_path, reason);
  if (!file) return std::nullopt;
  if (file->size() == 0) return MappedFile({});
  const HANDLE mapping = CreateFileMappingW(fromHandle(file->handle_), nullptr, PAGE_READONLY, 0, 0, nullptr);
  if (mapping == nullptr) {
    *reason = lastReason();
    return std::nullopt;
  }
  const void* const start = MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, 0);
  if (start == nullptr) *reason = lastReason();
  CloseHandle(mapping);
  if (start == nullptr) return std::nullopt;
  return MappedFile({static_cast<const std::byte*>(start), static_cast<std::size_t>(file->size())});
}

void MappedFile::unmap() noexcept {
  if (bytes_.empty()) return;
  UnmapViewOfFile(bytes_.data());
  bytes_ = {};
}

}  // namespace loftbay::host
