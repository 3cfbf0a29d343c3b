// A file that appears whole or not at all. Bytes go to a file in the output's own folder that has no name;
// `commit` makes them durable and gives the file the output's name. Whatever ends the process before, nothing
// is left: the system itself drops a file without a name. Only to replace an old output in one step the new
// file has a temporary name for the moment between two system calls.
//
// Where the system has no files without a name (Windows, some file systems), the bytes go to a temporary file
// beside the output that is renamed over it. An OutputFile that is destroyed without `commit` removes its
// temporary, and so does `removeInterruptedWrites` from a signal handler. What SIGKILL leaves is removed by
// the next OutputFile of the same output: its writer holds a lock on it as long as it lives. Where the file
// system has no locks, it stays.
//
//   OutputFile file;
//   if (auto failure = file.open("folder\\out.zix")) …   // failure->operation, failure->reason
//   file.append(bytes); file.compare(offset, bytes, &is_equal); file.overwrite(0, header);
//   file.commit();
//
// Lack of memory is a failure, too; only the copy of a failure that is returned can still throw
// std::bad_alloc. After a failure of any call the new file is gone and every later call repeats the first
// failure; only when all was done but to make the name durable, the complete new file stays in place.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace Orb::Zix {

struct OutputFailure {
  std::string path;       // the output's path as the host writes it
  std::string operation;  // "create", "write", "read", "flush", "close", "rename", …
  std::string reason;     // the system's reason

  [[nodiscard]] std::string text() const { return path + ": " + operation + " failed: " + reason; }
};

class OutputFile {
 public:
  OutputFile() = default;
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile();

  // Creates the new file. `program_path` is made absolute at once, so that a later change of the current
  // directory moves nothing. An existing output that is no regular file is refused.
  std::optional<OutputFailure> open(std::string_view program_path);

  // Appends through a buffer; blocks of 256 KiB and more go straight to the system.
  std::optional<OutputFailure> append(std::span<const std::byte> bytes);
  std::optional<OutputFailure> append(std::string_view text);
  // Replaces bytes that were appended before.
  std::optional<OutputFailure> overwrite(std::uint64_t offset, std::span<const std::byte> bytes);
  // Whether bytes that were appended before, from `offset` on, are these. They are read back in small pieces.
  std::optional<OutputFailure> compare(std::uint64_t offset, std::span<const std::byte> bytes,
                                       bool* is_equal);
  // Flushes to the device, puts the file in the output's place, makes the name durable.
  std::optional<OutputFailure> commit();

  // Removes the new file. Does nothing when there is none.
  void discard() noexcept;

  [[nodiscard]] std::uint64_t size() const { return size_; }
  [[nodiscard]] bool isOpen() const { return handle_ != kNoHandle; }

 private:
  static constexpr std::intptr_t kNoHandle = -1;

  std::optional<OutputFailure> fail(std::string operation, int error);
  std::optional<OutputFailure> fail(std::string operation, std::string reason);
  std::optional<OutputFailure> flushBuffer();
  std::optional<OutputFailure> writeOut(std::span<const std::byte> bytes);
  // Lack of memory becomes a failure like every other.
  template <typename Call>
  std::optional<OutputFailure> guarded(Call call);
  std::optional<OutputFailure> create(std::string_view program_path);
  std::optional<OutputFailure> put(std::span<const std::byte> bytes);
  std::optional<OutputFailure> putAt(std::uint64_t offset, std::span<const std::byte> bytes);
  std::optional<OutputFailure> compareAt(std::uint64_t offset, std::span<const std::byte> bytes,
                                         bool* is_equal);
  std::optional<OutputFailure> finish();
  template <typename Make>
  int underTemporaryName(Make make);
  std::optional<OutputFailure> flushFile();
  std::optional<OutputFailure> placeUnnamed();
  std::optional<OutputFailure> placeNamed();
  int closeHandle();
  int rename();

  std::intptr_t handle_ = kNoHandle;
  int interrupt_slot_ = -1;
  std::uint64_t size_ = 0;
  std::string output_path_;  // program form, absolute
  std::filesystem::path::string_type output_native_;
  std::filesystem::path::string_type current_path_;  // the new file's temporary name while it has one
  std::string shown_path_;                           // host form, as given, until a failure has it
  std::unique_ptr<std::byte[]> buffer_;
  std::size_t buffered_ = 0;
  std::optional<OutputFailure> failure_;
};

// Removes what killed writers of this output left beside it. open() does this, too; call it after ending a
// writer process.
void removeAbandonedTemporaries(std::string_view program_path) noexcept;

// What the file layer asks of the system, one call each. 0 is success, anything else the system's error
// number. Tests put a hook in front to make the n-th call fail.
enum class FileOperation {
  CreateUnnamed,
  Create,
  Write,
  Read,
  Seek,
  Flush,
  Link,
  Close,
  Rename,
  FlushFolder
};

class FileOperationHook {
 public:
  FileOperationHook() = default;
  FileOperationHook(const FileOperationHook&) = delete;
  FileOperationHook& operator=(const FileOperationHook&) = delete;
  virtual ~FileOperationHook() = default;
  // Called before the operation. A value other than 0 is taken as the operation's error, and the operation
  // is not carried out. `size_bytes` is what a Write is to write or a Read to read, else 0. CreateUnnamed
  // comes before every Create, which follows only where the system answers that it has no files without a
  // name.
  virtual int before(FileOperation operation, std::size_t size_bytes) = 0;
};

// Process-wide, for tests. Null takes the hook away.
void setFileOperationHook(FileOperationHook* hook);

}  // namespace Orb::Zix
