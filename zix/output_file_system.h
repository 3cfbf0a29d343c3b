// The system calls under output_file.cpp, one file per host. Error numbers are the host's own (errno on
// POSIX, GetLastError on Windows); 0 is success.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>

namespace Orb::Zix::system {

// A path as the system's calls take it. It is made once, so that what must not fail for want of memory (the
// removal of a temporary, the rename) needs none.
using NativePath = std::filesystem::path::string_type;
NativePath nativePath(std::string_view program_path);

// Creates a file without a name in a folder; it is gone with its handle unless `link` names it before. Where
// the file system has locks, the handle holds the writer's lock (see removeAbandoned).
int createUnnamed(std::string_view folder, std::intptr_t* handle);
// True for an error of createUnnamed that says that there are no such files here.
bool isUnsupported(int error);
// An error for which isUnsupported is true.
int unsupported();
// The error of a rename that an interrupt of the program has forbidden.
int interrupted();
// Names a file that createUnnamed made. Another file of that name stays, and isAlreadyThere the error.
int link(std::intptr_t handle, const NativePath& path);
// Creates a file that must not exist yet, with the writer's lock where the file system has locks. A file that
// another process has removed or locked before its lock could be taken counts as already there.
int createExclusive(const NativePath& path, std::intptr_t* handle);
// True for the error of createExclusive and link that says that the name is taken.
bool isAlreadyThere(int error);
// Writes all bytes at the file's position.
int write(std::intptr_t handle, std::span<const std::byte> bytes);
int seek(std::intptr_t handle, std::uint64_t offset);
// Reads all bytes from `offset` on and leaves the file's position where it was. A file that ends before is an
// error.
int readAt(std::intptr_t handle, std::uint64_t offset, std::span<std::byte> bytes);
// Waits until the device has the bytes.
int flush(std::intptr_t handle);
// The handle is gone afterwards, also when the result is an error.
int close(std::intptr_t handle);
// A second handle of the same file, which keeps the writer's lock when the first one is closed; -1 when there
// can be none.
std::intptr_t duplicate(std::intptr_t handle) noexcept;
// Renames over an existing file.
int rename(const NativePath& from, const NativePath& to);
// Makes the names of a folder durable. Hosts and file systems without such a call answer 0.
int flushFolder(std::string_view program_path);
int remove(const NativePath& path) noexcept;
// Removes a temporary whose writer is gone: its lock can be taken. False: not done. The lock is one of a byte
// range, which every container and machine that shares the folder sees; a process number would prove nothing.
bool removeAbandoned(const NativePath& path) noexcept;

std::string errorText(int error);
std::uint32_t processId();

}  // namespace Orb::Zix::system
