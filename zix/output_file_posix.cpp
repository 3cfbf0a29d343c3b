// POSIX side of the file layer.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <system_error>

#include "host/path.h"
#include "zix/output_file_system.h"

namespace Orb::Zix::system {

namespace {
using loftbay::host::toHostPath;
}

int createExclusive(std::string_view program_path, std::intptr_t* handle) {
  const int file = ::open(toHostPath(program_path).c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (file < 0) return errno;
  *handle = file;
  return 0;
}

bool isAlreadyThere(int error) { return error == EEXIST; }

int write(std::intptr_t handle, std::span<const std::byte> bytes) {
  // Linux transfers at most 2 GiB less a page in one call.
  constexpr std::size_t kMostAtOnce = std::size_t{1} << 30;
  while (!bytes.empty()) {
    const ssize_t done = ::write(static_cast<int>(handle), bytes.data(), std::min(bytes.size(), kMostAtOnce));
    if (done < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    if (done == 0) return ENOSPC;
    bytes = bytes.subspan(static_cast<std::size_t>(done));
  }
  return 0;
}

int seek(std::intptr_t handle, std::uint64_t offset) {
  return lseek(static_cast<int>(handle), static_cast<off_t>(offset), SEEK_SET) < 0 ? errno : 0;
}

int flush(std::intptr_t handle) {
  int result = 0;
  do {
    result = fsync(static_cast<int>(handle));
  } while (result != 0 && errno == EINTR);
  return result != 0 ? errno : 0;
}

int close(std::intptr_t handle) {
  return ::close(static_cast<int>(handle)) != 0 && errno != EINTR ? errno : 0;
}

int rename(std::string_view from, std::string_view to) {
  return std::rename(toHostPath(from).c_str(), toHostPath(to).c_str()) != 0 ? errno : 0;
}

int flushFolder(std::string_view program_path) {
  const int folder = ::open(toHostPath(program_path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  // A folder that may be written but not read cannot be flushed; the rename itself has been done.
  if (folder < 0) return errno == EACCES ? 0 : errno;
  const int error = flush(folder);
  ::close(folder);
  // Some file systems have no flush for folders.
  return error == EINVAL || error == ENOTSUP || error == EROFS ? 0 : error;
}

int remove(std::string_view program_path) {
  return unlink(toHostPath(program_path).c_str()) != 0 ? errno : 0;
}

std::string errorText(int error) { return std::generic_category().message(error); }

std::uint32_t processId() { return static_cast<std::uint32_t>(getpid()); }

}  // namespace Orb::Zix::system
