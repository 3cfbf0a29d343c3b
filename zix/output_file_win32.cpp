// Windows side of the file layer.
#include <windows.h>

#include <algorithm>
#include <system_error>

#include "host/long_path.h"
#include "zix/output_file_system.h"

namespace Orb::Zix::system {

namespace {

using loftbay::host::toSystemPath;

HANDLE fromHandle(std::intptr_t handle) { return reinterpret_cast<HANDLE>(handle); }
int lastError() { return static_cast<int>(GetLastError()); }

// The lock goes with the last handle of this opening of the file, whatever ends the process. It lies on a
// byte that no file has: what is locked no other process can read.
bool takeLock(HANDLE file) noexcept {
  OVERLAPPED place{};
  place.OffsetHigh = DWORD{1} << 30U;
  return LockFileEx(file, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place) != 0;
}

}  // namespace

NativePath nativePath(std::string_view program_path) { return toSystemPath(program_path); }

int createUnnamed(std::string_view, std::intptr_t*) { return unsupported(); }
bool isUnsupported(int error) { return error == ERROR_NOT_SUPPORTED; }
int unsupported() { return ERROR_NOT_SUPPORTED; }
int interrupted() { return ERROR_CANCELLED; }
int link(std::intptr_t, const NativePath&) { return unsupported(); }

// While the file is open, removeAbandoned cannot open it. The lock is for processes of other systems that
// share the folder.
int createExclusive(const NativePath& path, std::intptr_t* handle) {
  const HANDLE file =
      CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                  CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return lastError();
  if (!takeLock(file) && GetLastError() == ERROR_LOCK_VIOLATION) {
    CloseHandle(file);
    return ERROR_ALREADY_EXISTS;
  }
  *handle = reinterpret_cast<std::intptr_t>(file);
  return 0;
}

bool isAlreadyThere(int error) { return error == ERROR_FILE_EXISTS || error == ERROR_ALREADY_EXISTS; }

int write(std::intptr_t handle, std::span<const std::byte> bytes) {
  constexpr std::size_t kMostAtOnce = std::size_t{1} << 30;
  while (!bytes.empty()) {
    DWORD done = 0;
    const auto amount = static_cast<DWORD>(std::min(bytes.size(), kMostAtOnce));
    if (WriteFile(fromHandle(handle), bytes.data(), amount, &done, nullptr) == 0) return lastError();
    if (done == 0) return ERROR_DISK_FULL;
    bytes = bytes.subspan(done);
  }
  return 0;
}

int seek(std::intptr_t handle, std::uint64_t offset) {
  LARGE_INTEGER position;
  position.QuadPart = static_cast<LONGLONG>(offset);
  return SetFilePointerEx(fromHandle(handle), position, nullptr, FILE_BEGIN) == 0 ? lastError() : 0;
}

int readAt(std::intptr_t handle, std::uint64_t offset, std::span<std::byte> bytes) {
  // Every way to read moves the position.
  LARGE_INTEGER before;
  if (SetFilePointerEx(fromHandle(handle), LARGE_INTEGER{}, &before, FILE_CURRENT) == 0) return lastError();
  int error = seek(handle, offset);
  while (error == 0 && !bytes.empty()) {
    constexpr std::size_t kMostAtOnce = std::size_t{1} << 30;
    DWORD done = 0;
    const auto amount = static_cast<DWORD>(std::min(bytes.size(), kMostAtOnce));
    if (ReadFile(fromHandle(handle), bytes.data(), amount, &done, nullptr) == 0) {
      error = lastError();
    } else if (done == 0) {
      error = ERROR_HANDLE_EOF;
    }
    bytes = bytes.subspan(done);
  }
  const int returned = seek(handle, static_cast<std::uint64_t>(before.QuadPart));
  return error != 0 ? error : returned;
}

int flush(std::intptr_t handle) { return FlushFileBuffers(fromHandle(handle)) == 0 ? lastError() : 0; }

int close(std::intptr_t handle) { return CloseHandle(fromHandle(handle)) == 0 ? lastError() : 0; }

std::intptr_t duplicate(std::intptr_t handle) noexcept {
  HANDLE second = nullptr;
  const HANDLE process = GetCurrentProcess();
  if (DuplicateHandle(process, fromHandle(handle), process, &second, 0, FALSE, DUPLICATE_SAME_ACCESS) == 0)
    return -1;
  return reinterpret_cast<std::intptr_t>(second);
}

int rename(const NativePath& from, const NativePath& to) {
  return MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) == 0
             ? lastError()
             : 0;
}

// MOVEFILE_WRITE_THROUGH has done it.
int flushFolder(std::string_view) { return 0; }

int remove(const NativePath& path) noexcept { return DeleteFileW(path.c_str()) == 0 ? lastError() : 0; }

bool removeAbandoned(const NativePath& path) noexcept {
  // Opens only a file that no process has open.
  const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ | DELETE, 0, nullptr, OPEN_EXISTING,
                                  FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  FILE_DISPOSITION_INFO disposition{};
  disposition.DeleteFile = TRUE;
  const bool removed =
      GetFileType(file) == FILE_TYPE_DISK && takeLock(file) &&
      SetFileInformationByHandle(file, FileDispositionInfo, &disposition, sizeof(disposition)) != 0;
  CloseHandle(file);
  return removed;
}

std::string errorText(int error) {
  // The two that a user can do something about get words of their own; the system's are misleading.
  if (error == ERROR_SHARING_VIOLATION || error == ERROR_USER_MAPPED_FILE) {
    return "the file is in use by another program";
  }
  return std::system_category().message(error);
}

std::uint32_t processId() { return GetCurrentProcessId(); }

}  // namespace Orb::Zix::system
