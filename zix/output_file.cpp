#include "zix/output_file.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <filesystem>
#include <new>
#include <utility>

#include "host/directory.h"
#include "host/path.h"
#include "host/shown_text.h"
#include "zix/interrupted_write.h"
#include "zix/output_file_system.h"

namespace Orb::Zix {

namespace {

constexpr std::size_t kBufferSize = std::size_t{1} << 20;
// Copying these into the buffer would cost more than the system call that it saves.
constexpr std::size_t kWrittenDirectly = std::size_t{1} << 18;
// Read back at a time.
constexpr std::size_t kReadBack = std::size_t{1} << 15;

std::atomic<FileOperationHook*> operation_hook{nullptr};
// Part of the next temporary name.
std::atomic<unsigned> next_attempt{0};

int hooked(FileOperation operation, std::size_t size_bytes = 0) {
  FileOperationHook* const hook = operation_hook.load();
  return hook == nullptr ? 0 : hook->before(operation, size_bytes);
}

std::string_view folderOf(std::string_view program_path) {
  const auto separator = program_path.rfind('\\');
  return separator == std::string_view::npos ? std::string_view{} : program_path.substr(0, separator + 1);
}

// To be opened as a folder.
std::string_view ownFolder(std::string_view output_path) {
  const std::string_view folder = folderOf(output_path);
  return folder.empty() ? "." : folder;
}

// What the names of an output's temporaries begin with. Hidden on POSIX hosts, and short enough for every
// file system whatever the output is called.
std::string temporaryStart(std::string_view output_path) {
  const std::string_view name = output_path.substr(folderOf(output_path).size());
  std::string start = ".";
  start += loftbay::host::startOfText(name, 100);
  start += '.';
  return start;
}

constexpr std::string_view kTemporaryEnd = ".tmp";

std::string temporaryName(std::string_view output_path, unsigned attempt) {
  return std::string(folderOf(output_path)) + temporaryStart(output_path) +
         std::to_string(system::processId()) + "-" + std::to_string(attempt) + std::string(kTemporaryEnd);
}

// Whether `name` is `start`, two numbers with a dash between them, and the end.
bool isTemporaryName(std::string_view name, std::string_view start) {
  if (!name.starts_with(start) || !name.ends_with(kTemporaryEnd)) return false;
  name.remove_prefix(start.size());
  if (name.size() < kTemporaryEnd.size()) return false;
  name.remove_suffix(kTemporaryEnd.size());
  const auto dash = name.find('-');
  const auto isNumber = [](std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
  };
  return dash != std::string_view::npos && isNumber(name.substr(0, dash)) && isNumber(name.substr(dash + 1));
}

void removeAbandonedBeside(std::string_view absolute_path) {
  const auto names = loftbay::host::listDirectory(ownFolder(absolute_path));
  if (!names) return;
  const std::string start = temporaryStart(absolute_path);
  for (const std::string& name : *names) {
    if (isTemporaryName(name, start))
      system::removeAbandoned(system::nativePath(std::string(folderOf(absolute_path)) + name));
  }
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

void removeAbandonedTemporaries(std::string_view program_path) noexcept {
  try {
    removeAbandonedBeside(absolute(program_path));
  } catch (const std::exception&) {
    return;  // ignored: the next writer removes them
  }
}

OutputFile::~OutputFile() { discard(); }

std::optional<OutputFailure> OutputFile::fail(std::string operation, int error) {
  discard();
  return fail(std::move(operation), system::errorText(error));
}

// Allocates nothing itself: it reports missing memory, too.
std::optional<OutputFailure> OutputFile::fail(std::string operation, std::string reason) {
  discard();
  if (!failure_) failure_ = OutputFailure{std::move(shown_path_), std::move(operation), std::move(reason)};
  return failure_;
}

template <typename Call>
std::optional<OutputFailure> OutputFile::guarded(Call call) {
  if (failure_) return failure_;
  try {
    return call();
  } catch (const std::bad_alloc&) {
    return fail("write", std::string("out of memory"));
  }
}

std::optional<OutputFailure> OutputFile::open(std::string_view program_path) {
  return guarded([&] { return create(program_path); });
}

std::optional<OutputFailure> OutputFile::append(std::span<const std::byte> bytes) {
  return guarded([&] { return put(bytes); });
}

std::optional<OutputFailure> OutputFile::append(std::string_view text) {
  return append(std::as_bytes(std::span(text.data(), text.size())));
}

std::optional<OutputFailure> OutputFile::overwrite(std::uint64_t offset, std::span<const std::byte> bytes) {
  return guarded([&] { return putAt(offset, bytes); });
}

std::optional<OutputFailure> OutputFile::compare(std::uint64_t offset, std::span<const std::byte> bytes,
                                                 bool* is_equal) {
  return guarded([&] { return compareAt(offset, bytes, is_equal); });
}

std::optional<OutputFailure> OutputFile::commit() {
  return guarded([&] { return finish(); });
}

std::optional<OutputFailure> OutputFile::create(std::string_view program_path) {
  shown_path_ = loftbay::host::toHostPath(program_path);
  if (program_path.empty()) return fail("create", std::string("the path is empty"));
  output_path_ = absolute(program_path);

  std::error_code error;
  const auto status = std::filesystem::status(loftbay::host::toFileSystemPath(output_path_), error);
  if (std::filesystem::is_directory(status)) return fail("create", std::string("it is a directory"));
  if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
    return fail("create", std::string("it is no regular file"));
  }

  output_native_ = system::nativePath(output_path_);
  // Before there is a file, so that there is none without a buffer.
  buffer_ = std::make_unique_for_overwrite<std::byte[]>(kBufferSize);
  removeAbandonedTemporaries(output_path_);
  int result = hooked(FileOperation::CreateUnnamed);
  if (result == 0) result = system::createUnnamed(ownFolder(output_path_), &handle_);
  if (result != 0 && system::isUnsupported(result)) {
    result = underTemporaryName([&](const system::NativePath& path) {
      const int refused = hooked(FileOperation::Create);
      return refused != 0 ? refused : system::createExclusive(path, &handle_);
    });
  }
  if (result != 0) return fail("create", result);
  return std::nullopt;
}

// Calls `make` with temporary names until one is not taken; the new file has that name then.
template <typename Make>
int OutputFile::underTemporaryName(Make make) {
  constexpr int kMostAttempts = 1000;
  int error = 0;
  for (int i = 0; i < kMostAttempts; ++i) {
    current_path_ = system::nativePath(temporaryName(output_path_, next_attempt++));
    // Before the name exists: an interrupt between the two calls then removes nothing or the file.
    interrupt_slot_ = rememberTemporary(current_path_);
    error = make(current_path_);
    if (error == 0) return 0;
    current_path_.clear();
    forgetTemporary(std::exchange(interrupt_slot_, -1));
    if (!system::isAlreadyThere(error)) break;
  }
  return error;
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

std::optional<OutputFailure> OutputFile::put(std::span<const std::byte> bytes) {
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

std::optional<OutputFailure> OutputFile::putAt(std::uint64_t offset, std::span<const std::byte> bytes) {
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

std::optional<OutputFailure> OutputFile::compareAt(std::uint64_t offset, std::span<const std::byte> bytes,
                                                   bool* is_equal) {
  *is_equal = false;
  if (!isOpen()) return fail("read", std::string("the file is not open"));
  const std::uint64_t in_file = size_ - buffered_;
  const auto written = bytes.first(static_cast<std::size_t>(
      std::min<std::uint64_t>(bytes.size(), in_file > offset ? in_file - offset : 0)));
  // What is still in the buffer first: it costs no call of the system.
  if (const auto held = bytes.subspan(written.size()); !held.empty()) {
    const auto place = static_cast<std::size_t>(offset + written.size() - in_file);
    if (std::memcmp(buffer_.get() + place, held.data(), held.size()) != 0) return std::nullopt;
  }
  std::array<std::byte, kReadBack> piece;
  for (auto rest = written; !rest.empty();) {
    const std::size_t amount = std::min(rest.size(), piece.size());
    int error = hooked(FileOperation::Read, amount);
    if (error == 0) error = system::readAt(handle_, offset, std::span(piece).first(amount));
    if (error != 0) return fail("read", error);
    if (std::memcmp(piece.data(), rest.data(), amount) != 0) return std::nullopt;
    offset += amount;
    rest = rest.subspan(amount);
  }
  *is_equal = true;
  return std::nullopt;
}

std::optional<OutputFailure> OutputFile::finish() {
  if (!isOpen()) return fail("write", std::string("the file is not open"));
  if (auto failure = flushBuffer()) return failure;
  if (auto failure = flushFile()) return failure;
  if (auto failure = current_path_.empty() ? placeUnnamed() : placeNamed()) return failure;
  buffer_.reset();
  int error = hooked(FileOperation::FlushFolder);
  if (error == 0) error = system::flushFolder(ownFolder(output_path_));
  // The complete new file is in place; only its name may not survive a power failure.
  if (error != 0) return fail("flush of the folder", error);
  return std::nullopt;
}

std::optional<OutputFailure> OutputFile::flushFile() {
  int error = hooked(FileOperation::Flush);
  if (error == 0) error = system::flush(handle_);
  return error == 0 ? std::nullopt : fail("flush", error);
}

// Under the output's own name at once where it is free, else by a temporary name: no call gives a nameless
// file the name of an existing one.
std::optional<OutputFailure> OutputFile::placeUnnamed() {
  const auto link = [&](const system::NativePath& path) {
    const int error = hooked(FileOperation::Link);
    return error != 0 ? error : system::link(handle_, path);
  };
  int error = link(output_native_);
  if (error != 0 && system::isAlreadyThere(error)) {
    error = underTemporaryName(link);
    if (error == 0) error = rename();
  }
  // One word for the user, with and without a temporary name.
  if (error != 0) return fail("rename", error);
  forgetTemporary(std::exchange(interrupt_slot_, -1));
  current_path_.clear();
  // Some file systems keep nothing of a file that had no name when it was flushed. Its bytes have been
  // written, so this takes no time; and before the rename it would leave time for an end of the process.
  if (auto failure = flushFile()) return failure;
  error = closeHandle();
  return error == 0 ? std::nullopt : fail("close", error);
}

std::optional<OutputFailure> OutputFile::placeNamed() {
  const char* operation = "close";
  // No other writer may take the temporary for an abandoned one before it is in place.
  const std::intptr_t lock = system::duplicate(handle_);
  int error = closeHandle();
  if (error == 0) {
    operation = "rename";
    error = rename();
  }
  if (error != 0) system::remove(current_path_);
  if (lock != kNoHandle) system::close(lock);
  current_path_.clear();
  forgetTemporary(std::exchange(interrupt_slot_, -1));
  return error == 0 ? std::nullopt : fail(operation, error);
}

int OutputFile::closeHandle() {
  const int error = hooked(FileOperation::Close);
  const int close_error = system::close(std::exchange(handle_, kNoHandle));
  return error != 0 ? error : close_error;
}

int OutputFile::rename() {
  const int error = hooked(FileOperation::Rename);
  if (isInterrupted(interrupt_slot_)) return system::interrupted();
  return error != 0 ? error : system::rename(current_path_, output_native_);
}

void OutputFile::discard() noexcept {
  if (handle_ != kNoHandle) {
    system::close(std::exchange(handle_, kNoHandle));
    if (!current_path_.empty()) system::remove(current_path_);
  }
  forgetTemporary(std::exchange(interrupt_slot_, -1));
  buffer_.reset();
  buffered_ = 0;
}

}  // namespace Orb::Zix
