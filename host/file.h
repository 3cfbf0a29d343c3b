// Files and directories by program path (see path.h). The calls mirror the C library's, because path checks
// and work directory depend on their exact behaviour. Nothing here throws unless it says so.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace loftbay::host {

struct FileCloser {
  void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using FilePointer = std::unique_ptr<std::FILE, FileCloser>;

// `fopen`; null when the file cannot be opened or is no regular file: opening a named pipe would wait for its
// other end, and opening a device can do anything. Files that are opened for writing or appending can be read
// and written by other processes at the same time. Mode "r" fails for a directory on every host.
// Throws std::bad_alloc where the memory for it cannot be had, here or in the system.
FilePointer openFile(std::string_view program_path, const char* mode);

// A file that grows piece by piece and is closed after each, so that it is complete whenever the process ends
// and other processes can take it away in between. That it is a regular file is checked as openFile does it,
// until it was opened once.
class GrowingFile {
 public:
  explicit GrowingFile(std::string_view program_path);
  // Opens the file for appending, writes and closes it; a file that is not there is made. On Windows a line
  // end becomes carriage return and line feed. False when it does not open or not all was written. Throws
  // std::bad_alloc as openFile does.
  bool append(std::string_view text);

 private:
  std::string path_;  // host form
  bool is_regular_ = false;
};

// `remove`, of a file only. False when nothing was removed.
bool removeFile(std::string_view program_path);

// Opens the file with mode "w", closes and removes it. False when it does not open; whether it could be
// removed does not matter. On hosts that allow it, no empty file exists in between, so that a process killed
// half way leaves the old file or none. Throws std::bad_alloc as openFile does, and leaves nothing then.
bool createAndRemove(std::string_view program_path);

// True when a status query for the path succeeds (file or directory).
bool pathExists(std::string_view program_path);

// Creates one directory level. False when it could not be created or exists already.
bool makeDirectory(std::string_view program_path);

// The current directory in program form; empty optional when it cannot be read or needs more than
// `limit_bytes` bytes including the terminator.
std::optional<std::string> currentDirectory(std::size_t limit_bytes);

// False when the process cannot change into the directory.
bool changeDirectory(std::string_view program_path);

// The value of an environment variable as UTF-8, or an empty optional when it is not set. Values that name
// directories come in host form: pass them through toProgramPath.
std::optional<std::string> environmentVariable(const char* name);

// A regular file read at given offsets, without a file position: several threads may read one object. A file
// that shrinks meanwhile, and a device that fails, are errors of a read, never signals.
class ReadOnlyFile {
 public:
  // On failure the result is empty and `*reason` holds the system's reason ("No such file or directory",
  // "Is a directory", …).
  static std::optional<ReadOnlyFile> open(std::string_view program_path, std::string* reason);

  ReadOnlyFile(ReadOnlyFile&& other) noexcept;
  ReadOnlyFile& operator=(ReadOnlyFile&& other) noexcept;
  ReadOnlyFile(const ReadOnlyFile&) = delete;
  ReadOnlyFile& operator=(const ReadOnlyFile&) = delete;
  ~ReadOnlyFile();

  // In bytes, when the file was opened.
  [[nodiscard]] std::uint64_t size() const noexcept { return size_; }

  // Fills `buffer` with the bytes from `offset` on. False where not all of them could be read, and `*reason`
  // says why: the system's reason, or where the file ends. The buffer's contents are unspecified then.
  [[nodiscard]] bool readAt(std::uint64_t offset, std::span<std::byte> buffer, std::string* reason) const;

 private:
  friend class MappedFile;
  static constexpr std::intptr_t kNoHandle = -1;

  ReadOnlyFile(std::intptr_t handle, std::uint64_t size) noexcept : handle_(handle), size_(size) {}
  void close() noexcept;
  // One call of the system, which may give fewer bytes than asked for. The number of bytes that came, 0 at
  // the end of the file, or an empty optional and a reason.
  std::optional<std::size_t> readSome(std::uint64_t offset, std::span<std::byte> buffer,
                                      std::string* reason) const;

  std::intptr_t handle_ = kNoHandle;
  std::uint64_t size_ = 0;
};

// A file mapped read-only. A file that shrinks while it is mapped, and a device that fails, end the process
// with a signal where their bytes are used: only for files that no other process writes; see ReadOnlyFile.
// The view lives as long as the object; moving the object keeps it valid. An empty file maps to an empty
// view.
class MappedFile {
 public:
  // On failure the result is empty and `*reason` holds the system's reason ("No such file or directory",
  // "Is a directory", …).
  static std::optional<MappedFile> open(std::string_view program_path, std::string* reason);

  MappedFile(MappedFile&& other) noexcept;
  MappedFile& operator=(MappedFile&& other) noexcept;
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;
  ~MappedFile();

  [[nodiscard]] std::span<const std::byte> bytes() const noexcept { return bytes_; }

 private:
  explicit MappedFile(std::span<const std::byte> bytes) noexcept : bytes_(bytes) {}
  void unmap() noexcept;

  std::span<const std::byte> bytes_;
};

}  // namespace loftbay::host
