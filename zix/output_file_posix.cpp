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

// How a file that has no name is named in a call: by the link that the system keeps for its handle.
std::string linkOfHandle(std::intptr_t handle) { return "/proc/self/fd/" + std::to_string(handle); }

}  // namespace

int createUnnamed(std::string_view folder, std::intptr_t* handle) {
#ifdef O_TMPFILE
  const int file = ::open(toHostPath(folder).c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0666);
  if (file < 0) return errno;
  // Without that link (no /proc, or not for this process) the file could never get a name.
  char first = 0;
  if (readlink(linkOfHandle(file).c_str(), &first, 1) < 0) {
    ::close(file);
    return EOPNOTSUPP;
  }
  *handle = file;
  return 0;
#else
  static_cast<void>(folder);
  static_cast<void>(handle);
  return EOPNOTSUPP;
#endif
}

// Systems that do not know such files take the call for one that opens the folder itself for writing, and a
// missing folder fails again, with its own words, where a named file is tried.
bool isUnsupported(int error) {
  return error == EOPNOTSUPP || error == EISDIR || error == ENOENT || error == EINVAL || error == ENOSYS;
}

int unsupported() { return EOPNOTSUPP; }

int link(std::intptr_t handle, std::string_view program_path) {
  const std::string from = linkOfHandle(handle);
  const std::string to = toHostPath(program_path);
  return linkat(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), AT_SYMLINK_FOLLOW) != 0 ? errno : 0;
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

std::string errorText(int error) {
  // The system's words, "Invalid cross-device link", say nothing about what has happened.
  if (error == EXDEV) return "another file system has taken the folder's place";
  return std::generic_category().message(error);
}

std::uint32_t processId() { return static_cast<std::uint32_t>(getpid()); }

}  // namespace Orb::Zix::system
