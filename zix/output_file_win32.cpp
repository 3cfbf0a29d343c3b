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

}  // namespace

int createUnnamed(std::string_view, std::intptr_t*) { return unsupported(); }
bool isUnsupported(int error) { return error == ERROR_NOT_SUPPORTED; }
int unsupported() { return ERROR_NOT_SUPPORTED; }
int link(std::intptr_t, std::string_view) { return unsupported(); }

int createExclusive(std::string_view program_path, std::intptr_t* handle) {
  const HANDLE file =
      CreateFileW(toSystemPath(program_path).c_str(), GENERIC_READ | GENERIC_WRITE,
                  FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return lastError();
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

int flush(std::intptr_t handle) { return FlushFileBuffers(fromHandle(handle)) == 0 ? lastError() : 0; }

int close(std::intptr_t handle) { return CloseHandle(fromHandle(handle)) == 0 ? lastError() : 0; }

int rename(std::string_view from, std::string_view to) {
  return MoveFileExW(toSystemPath(from).c_str(), toSystemPath(to).c_str(),
                     MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) == 0
             ? lastError()
             : 0;
}

// MOVEFILE_WRITE_THROUGH has done it.
int flushFolder(std::string_view) { return 0; }

int remove(std::string_view program_path) {
  return DeleteFileW(toSystemPath(program_path).c_str()) == 0 ? lastError() : 0;
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
