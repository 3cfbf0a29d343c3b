#include "zix/output_file.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <filesystem>
#include <utility>

#include "host/path.h"
#include "zix/interrupted_write.h"
#include "zix/output_file_system.h"

namespace Orb::Zix {

namespace {

constexpr std::size_t kBufferSize = std::size_t{1} << 20;
// Copying these into the buffer would cost more than the system call that it saves.
constexpr std::size_t kWrittenDirectly = std::size_t{1} << 18;

std::atomic<FileOperationHook*> operation_hook{nullptr};

int hooked(FileOperation operation, std::size_t size_bytes = 0) {
  FileOperationHook* const hook = operation_hook.load();
  return hook == nullptr ? 0 : hook->before(operation, size_bytes);
}

// The longest start of `name` with at most `limit` bytes that does not cut a UTF-8 character.
std::string_view startOfName(std::string_view name, std::size_t limit) {
  if (name.size() <= limit) return name;
  while (limit > 0 && (static_cast<unsigned char>(name[limit]) & 0xC0U) == 0x80) --limit;
  return name.substr(0, limit);
}

std::string_view folderOf(std::string_view program_path) {
  const auto separator = program_path.rfind('\\');
  return separator == std::string_view::npos ? std::string_view{} : program_path.substr(0, separator + 1);
}

// Hidden on POSIX hosts, and short enough for every file system whatever the output is called.
std::string temporaryName(std::string_view output_path, unsigned attempt) {
  const std::string_view folder = folderOf(output_path);
  const std::string_view name = output_path.substr(folder.size());
  return std::string(folder) + "." + std::string(startOfName(name, 100)) + "." +
         std::to_string(system::processId()) + "-" + std::to_string(attempt) + ".tmp";
}

std::string absolute(std::string_view program_path) {
  // A server's folder is absolute already, and mingw's library would make a folder of the drive of it.
  if (program_path.starts_with("\\\\")) return std::string(program_path);
  std::error_code error;
  const auto path = std::filesystem::absolute(loftbay::host::toFileSystemPath(program_path), error);
  if (error) return std::string(program_path);
  const auto text = path.u8string();
  return loftbay::host::toProgramPath(std::string(text.begin(), text.end()));
}

}  // namespace

void setFileOperationHook(FileOperationHook* hook) { operation_hook.store(hook); }

OutputFile::~OutputFile() { discard(); }

std::optional<OutputFailure> OutputFile::fail(std::string operation, int error) {
  return fail(std::move(operation), system::errorText(error));
}

std::optional<OutputFailure> OutputFile::fail(std::string operation, std::string reason) {
  discard();
  if (!failure_) failure_ = OutputFailure{shown_path_, std::move(operation), std::move(reason)};
  return failure_;
}

std::optional<OutputFailure> OutputFile::open(std::string_view program_path) {
  if (failure_) return failure_;
  shown_path_ = loftbay::host::toHostPath(program_path);
  if (program_path.empty()) return fail("create", std::string("the path is empty"));
  output_path_ = absolute(program_path);

  std::error_code error;
  const auto status = std::filesystem::status(loftbay::host::toFileSystemPath(output_path_), error);
  if (std::filesystem::is_directory(status)) return fail("create", std::string("it is a directory"));
  if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
    return fail("create", std::string("it is no regular file"));
  }

  static std::atomic<unsigned> next_attempt{0};
  constexpr int kMostAttempts = 1000;
  int result = 0;
  for (int i = 0; i < kMostAttempts; ++i) {
    temporary_path_ = temporaryName(output_path_, next_attempt++);
    // Before the file exists: an interrupt between the two calls then removes nothing or the file.
    interrupt_slot_ = rememberTemporary(temporary_path_);
    result = hooked(FileOperation::Create);
    if (result == 0) result = system::createExclusive(temporary_path_, &handle_);
    if (result == 0) break;
    forgetTemporary(std::exchange(interrupt_slot_, -1));
    if (!system::isAlreadyThere(result)) break;
  }
  if (result != 0) return fail("create", result);
  buffer_ = std::make_unique_for_overwrite<std::byte[]>(kBufferSize);
  return std::nullopt;
}

std::optional<OutputFailure> OutputFile::writeOut(std::span<const std::byte> bytes) {
  int error = hooked(FileOperation::Write, bytes.size());
  if (error == 0) error = system::write(handle_, bytes);
  return error == 0 ? std::nullopt : fail("write", error);
}

std::optional<OutputFailure> OutputFile::flushBuffer() {
  if (buffered_ == 0) return std::nullopt;
  return writeOut({buffer_.get(), std::exchange(buffered_, 0)});
}

std::optional<OutputFailure> OutputFile::append(std::span<const std::byte> bytes) {
  if (failure_) return failure_;
  if (!isOpen()) return fail("write", std::string("the file is not open"));
  size_ += bytes.size();
  if (bytes.size() >= kWrittenDirectly) {
    if (auto failure = flushBuffer()) return failure;
    return writeOut(bytes);
  }
  while (!bytes.empty()) {
    const std::size_t amount = std::min(bytes.size(), kBufferSize - buffered_);
    std::memcpy(buffer_.get() + buffered_, bytes.data(), amount);
    buffered_ += amount;
    bytes = bytes.subspan(amount);
    if (buffered_ == kBufferSize) {
      if (auto failure = flushBuffer()) return failure;
    }
  }
  return std::nullopt;
}

std::optional<OutputFailure> OutputFile::append(std::string_view text) {
  return append(std::as_bytes(std::span(text.data(), text.size())));
}

std::optional<OutputFailure> OutputFile::overwrite(std::uint64_t offset, std::span<const std::byte> bytes) {
  if (failure_) return failure_;
  if (!isOpen()) return fail("write", std::string("the file is not open"));
  if (auto failure = flushBuffer()) return failure;
  int error = hooked(FileOperation::Seek);
  if (error == 0) error = system::seek(handle_, offset);
  if (error != 0) return fail("seek", error);
  if (auto failure = writeOut(bytes)) return failure;
  error = hooked(FileOperation::Seek);
  if (error == 0) error = system::seek(handle_, size_);
  return error == 0 ? std::nullopt : fail("seek", error);
}

std::optional<OutputFailure> OutputFile::commit() {
  if (failure_) return failure_;
  if (!isOpen()) return fail("write", std::string("the file is not open"));
  if (auto failure = flushBuffer()) return failure;
  int error = hooked(FileOperation::Flush);
  if (error == 0) error = system::flush(handle_);
  if (error != 0) return fail("flush", error);
  if (auto failure = renameIntoPlace()) return failure;
  buffer_.reset();
  const std::string_view folder = folderOf(output_path_);
  error = hooked(FileOperation::FlushFolder);
  if (error == 0) error = system::flushFolder(folder.empty() ? "." : folder);
  // The complete new file is in place; only its name may not survive a power failure.
  if (error != 0) return fail("flush of the folder", error);
  return std::nullopt;
}

std::optional<OutputFailure> OutputFile::renameIntoPlace() {
  const char* operation = "close";
  int error = hooked(FileOperation::Close);
  const int close_error = system::close(std::exchange(handle_, kNoHandle));
  if (error == 0) error = close_error;
  if (error == 0) {
    operation = "rename";
    error = hooked(FileOperation::Rename);
    if (error == 0) error = system::rename(temporary_path_, output_path_);
  }
  if (error != 0) system::remove(temporary_path_);
  forgetTemporary(std::exchange(interrupt_slot_, -1));
  return error == 0 ? std::nullopt : fail(operation, error);
}

void OutputFile::discard() noexcept {
  if (handle_ != kNoHandle) {
    system::close(std::exchange(handle_, kNoHandle));
    system::remove(temporary_path_);
  }
  forgetTemporary(std::exchange(interrupt_slot_, -1));
  buffer_.reset();
  buffered_ = 0;
}

}  // namespace Orb::Zix
