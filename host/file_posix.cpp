// POSIX side of file.h.
#include "host/file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <utility>
#include <vector>

#include "host/path.h"

namespace loftbay::host {

namespace {

// Whether a new entry of the folder can be made, tried with a file that never has a name. False also where
// the file system has no such files.
bool canCreateBeside(const std::string& path) {
#ifdef O_TMPFILE
  const std::size_t name = path.rfind('/');
  const std::string folder = name == std::string::npos ? "." : path.substr(0, name + 1);
  const int file = ::open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600);
  if (file >= 0) close(file);
  return file >= 0;
#else
  static_cast<void>(path);
  return false;
#endif
}

// Removes a file that can be written, without emptying it first. False: not done, whatever the reason.
bool removeWritable(const std::string& path) {
  const int file = ::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
  if (file < 0) return false;
  close(file);
  return unlink(path.c_str()) == 0;
}

// What openFile opens its stream on. -1 and errno otherwise.
int openRegular(const std::string& path, const char* mode) {
  // Checked before opening: opening can trigger a device or wake the reader of a pipe.
  struct stat status {};
  errno = EINVAL;
  if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) return -1;
  const bool empties = mode[0] == 'w';
  const int how = mode[0] == 'r' ? O_RDONLY : O_WRONLY | O_CREAT | (empties ? 0 : O_APPEND);
  // Opened without blocking and checked again: the file may have been replaced meanwhile.
  const int descriptor = ::open(path.c_str(), how | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0666);
  if (descriptor < 0) return -1;
  errno = EINVAL;
  if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
      (!empties || ftruncate(descriptor, 0) == 0)) {
    return descriptor;
  }
  const int reason = errno;
  close(descriptor);
  errno = reason;
  return -1;
}

}  // namespace

FilePointer openFile(std::string_view program_path, const char* mode) {
  const int descriptor = openRegular(toHostPath(program_path), mode);
  if (descriptor >= 0) {
    if (FilePointer file{fdopen(descriptor, mode)}) return file;
    const int reason = errno;
    close(descriptor);
    errno = reason;
  }
  if (errno == ENOMEM) throw std::bad_alloc();  // the file itself may be there
  return nullptr;
}

GrowingFile::GrowingFile(std::string_view program_path) : path_(toHostPath(program_path)) {}

bool GrowingFile::append(std::string_view text) {
  const int descriptor =
      is_regular_
          ? ::open(path_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0666)
          : openRegular(path_, "a");
  if (descriptor < 0) {
    if (errno == ENOMEM) throw std::bad_alloc();
    return false;
  }
  is_regular_ = true;
  while (!text.empty()) {
    const ssize_t written = write(descriptor, text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) break;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
  return close(descriptor) == 0 && text.empty();
}

bool removeFile(std::string_view program_path) { return unlink(toHostPath(program_path).c_str()) == 0; }

bool createAndRemove(std::string_view program_path) {
  const std::string path = toHostPath(program_path);
  struct stat status {};
  const bool exists = lstat(path.c_str(), &status) == 0;
  if (!exists && errno != ENOENT) return false;
  if (exists) {
    // Behind a symbolic link, and for a file with several names, the file really is emptied: its other names
    // show whether it was.
    const bool is_plain = S_ISREG(status.st_mode) && status.st_nlink == 1;
    if (is_plain && removeWritable(path)) return true;
  } else if (!path.empty() && path.back() != '/' && canCreateBeside(path)) {
    return true;
  }
  // Without a stream, which needs memory: a file that was made here must not stay.
  const int descriptor = openRegular(path, "w");
  const bool opened = descriptor >= 0;
  const bool memory_is_out = !opened && errno == ENOMEM;
  if (opened) close(descriptor);
  if (opened || (!exists && lstat(path.c_str(), &status) == 0 && status.st_size == 0))
    removeFile(program_path);
  if (memory_is_out) throw std::bad_alloc();
  return opened;
}

bool pathExists(std::string_view program_path) {
  struct stat status {};
  return stat(toHostPath(program_path).c_str(), &status) == 0;
}

bool makeDirectory(std::string_view program_path) {
  return mkdir(toHostPath(program_path).c_str(), 0777) == 0;
}

std::optional<std::string> currentDirectory(std::size_t limit_bytes) {
  std::vector<char> buffer(limit_bytes);
  if (getcwd(buffer.data(), buffer.size()) == nullptr) return std::nullopt;
  return toProgramPath(buffer.data());
}

bool changeDirectory(std::string_view program_path) { return chdir(toHostPath(program_path).c_str()) == 0; }

std::optional<std::string> environmentVariable(const char* name) {
  const char* value = std::getenv(name);
  if (value == nullptr) return std::nullopt;
  return std::string(value);
}

std::optional<ReadOnlyFile> ReadOnlyFile::open(std::string_view program_path, std::string* reason) {
  // O_NONBLOCK: opening a named pipe must not wait for a writer.
  const int file = ::open(toHostPath(program_path).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (file < 0) {
    *reason = std::strerror(errno);
    return std::nullopt;
  }
  ReadOnlyFile result(file, 0);
  struct stat status {};
  if (fstat(file, &status) != 0) {
    *reason = std::strerror(errno);
    return std::nullopt;
  }
  if (!S_ISREG(status.st_mode)) {
    *reason = S_ISDIR(status.st_mode) ? std::strerror(EISDIR) : "Not a regular file";
    return std::nullopt;
  }
  result.size_ = static_cast<std::uint64_t>(status.st_size);
  return result;
}

void ReadOnlyFile::close() noexcept {
  if (handle_ != kNoHandle) ::close(static_cast<int>(std::exchange(handle_, kNoHandle)));
}

std::optional<std::size_t> ReadOnlyFile::readSome(std::uint64_t offset, std::span<std::byte> buffer,
                                                  std::string* reason) const {
  // No file has bytes there; as a signed number the offset would be negative.
  if (offset > static_cast<std::uint64_t>(std::numeric_limits<off_t>::max())) return 0;
  while (true) {
    const ssize_t amount =
        pread(static_cast<int>(handle_), buffer.data(), buffer.size(), static_cast<off_t>(offset));
    if (amount >= 0) return static_cast<std::size_t>(amount);
    if (errno == EINTR) continue;
    *reason = std::strerror(errno);
    return std::nullopt;
  }
}

std::optional<MappedFile> MappedFile::open(std::string_view program_path, std::string* reason) {
  const auto file = ReadOnlyFile::open(program_path, reason);
  if (!file) return std::nullopt;
  if (file->size() == 0) return MappedFile({});
  const auto size = static_cast<std::size_t>(file->size());
  // The mapping keeps the file; the handle is not needed any longer.
  void* const start = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, static_cast<int>(file->handle_), 0);
  if (start == MAP_FAILED) {
    *reason = std::strerror(errno);
    return std::nullopt;
  }
  return MappedFile({static_cast<const std::byte*>(start), size});
}

void MappedFile::unmap() noexcept {
  if (bytes_.empty()) return;
  // munmap takes a pointer to non-const although it only ends the mapping.
  munmap(const_cast<std::byte*>(bytes_.data()), bytes_.size());
  bytes_ = {};
}

}  // namespace loftbay::host
