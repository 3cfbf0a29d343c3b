// The system calls under output_file.cpp, one file per host. Error numbers are the host's own (errno on
// POSIX, GetLastError on Windows); 0 is success.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace Orb::Zix::system {

// Creates a file without a name in a folder; it is gone with its handle unless `link` names it before.
int createUnnamed(std::string_view folder, std::intptr_t* handle);
// True for an error of createUnnamed that says that there are no such files here.
bool isUnsupported(int error);
// An error for which isUnsupported is true.
int unsupported();
// Names a file that createUnnamed made. Another file of that name stays, and isAlreadyThere the error.
int link(std::intptr_t handle, std::string_view program_path);
// Creates a file that must not exist yet.
int createExclusive(std::string_view program_path, std::intptr_t* handle);
// True for the error of createExclusive and link that says that the name is taken.
bool isAlreadyThere(int error);
// Writes all bytes at the file's position.
int write(std::intptr_t handle, std::span<const std::byte> bytes);
int seek(std::intptr_t handle, std::uint64_t offset);
// Waits until the device has the bytes.
int flush(std::intptr_t handle);
// The handle is gone afterwards, also when the result is an error.
int close(std::intptr_t handle);
// Renames over an existing file.
int rename(std::string_view from, std::string_view to);
// Makes the names of a folder durable. Hosts and file systems without such a call answer 0.
int flushFolder(std::string_view program_path);
int remove(std::string_view program_path);

std::string errorText(int error);
std::uint32_t processId();

}  // namespace Orb::Zix::system
