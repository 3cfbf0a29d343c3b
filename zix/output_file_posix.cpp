// POSIX side of the file layer.
#include <fcntl.h>
#include <sys/stat.h>
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
class LinkOfHandle {
 public:
  explicit LinkOfHandle(std::intptr_t handle) {
    std::snprintf(text_, sizeof(text_), "/proc/self/fd/%d", static_cast<int>(handle));
  }
  [[nodiscard]] const char* get() const { return text_; }

 private:
  char text_[32];
};

enum class Lock { Taken, HeldByAnother, NotKnownHere };

// The lock goes with the last handle of this opening of the file, whatever ends the process. It lies on a
// byte that no file has, because on some hosts no other process can read what is locked.
Lock takeLock(int file) noexcept {
#ifdef F_OFD_SETLK
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = off_t{1} << 62;
  lock.l_len = 1;
  if (fcntl(file, F_OFD_SETLK, &lock) == 0) return Lock::Taken;
  return errno == EAGAIN || errno == EACCES ? Lock::HeldByAnother : Lock::NotKnownHere;
#else
  static_cast<void>(file);
  return Lock::NotKnownHere;
#endif
}

}  // namespace

NativePath nativePath(std::string_view program_path) { return toHostPath(program_path); }

int createUnnamed(std::string_view folder, std::intptr_t* handle) {
#ifdef O_TMPFILE
  const int file = ::open(toHostPath(folder).c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0666);
  if (file < 0) return errno;
  // Without that link (no /proc, or not for this process) the file could never get a name.
  char first = 0;
  if (readlink(LinkOfHandle(file).get(), &first, 1) < 0) {
    ::close(file);
    return EOPNOTSUPP;
  }
  takeLock(file);
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
int interrupted() { return ECANCELED; }

int link(std::intptr_t handle, const NativePath& path) {
  const LinkOfHandle from(handle);
  return linkat(AT_FDCWD, from.get(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) != 0 ? errno : 0;
}

int createExclusive(const NativePath& path, std::intptr_t* handle) {
  const int file = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (file < 0) return errno;
  struct stat status {};
  // Between the two calls another process may have taken it for an abandoned one.
  if (takeLock(file) == Lock::HeldByAnother || (fstat(file, &status) == 0 && status.st_nlink == 0)) {
    ::close(file);
    return EEXIST;
  }
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

int readAt(std::intptr_t handle, std::uint64_t offset, std::span<std::byte> bytes) {
  while (!bytes.empty()) {
    const ssize_t done =
        ::pread(static_cast<int>(handle), bytes.data(), bytes.size(), static_cast<off_t>(offset));
    if (done < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    if (done == 0) return EIO;
    offset += static_cast<std::uint64_t>(done);
    bytes = bytes.subspan(static_cast<std::size_t>(done));
  }
  return 0;
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

std::intptr_t duplicate(std::intptr_t handle) noexcept {
  return fcntl(static_cast<int>(handle), F_DUPFD_CLOEXEC, 3);
}

int rename(const NativePath& from, const NativePath& to) {
  return std::rename(from.c_str(), to.c_str()) != 0 ? errno : 0;
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

int remove(const NativePath& path) noexcept { return unlink(path.c_str()) != 0 ? errno : 0; }

bool removeAbandoned(const NativePath& path) noexcept {
  const int file = ::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
  if (file < 0) return false;
  struct stat opened {};
  struct stat named {};
  // The name is asked for again: meanwhile it may have become another file's.
  const bool removed = fstat(file, &opened) == 0 && S_ISREG(opened.st_mode) &&
                       takeLock(file) == Lock::Taken && lstat(path.c_str(), &named) == 0 &&
                       named.st_dev == opened.st_dev && named.st_ino == opened.st_ino &&
                       unlink(path.c_str()) == 0;
  ::close(file);
  return removed;
}

std::string errorText(int error) {
  // The system's words, "Invalid cross-device link", say nothing about what has happened.
  if (error == EXDEV) return "another file system has taken the folder's place";
  return std::generic_category().message(error);
}

std::uint32_t processId() { return static_cast<std::uint32_t>(getpid()); }

}  // namespace Orb::Zix::system
