// Preloaded into a program under test: lets the n-th call of one kind fail. Linux with glibc only.
//
//   LD_PRELOAD=libfault_shim.so LOFTBAY_FAULT_CALL=memory LOFTBAY_FAULT_NUMBER=17 loftbay …
//
// LOFTBAY_FAULT_CALL     memory, open, read, write, sync, rename, close, stat, lock or map: these fail.
//                        halve or empty: a file is cut to half its size, or to nothing, before one of its
//                        reads, or behind a mapping of it
// LOFTBAY_FAULT_FILE     the file that is cut: an absolute path without links; only these are counted
// LOFTBAY_FAULT_NUMBER   how many calls of that kind succeed before
// LOFTBAY_FAULT_ERROR    the error number; ENOMEM for memory and EIO for the rest unless stated
// LOFTBAY_FAULT_LASTING  when set, every later call of that kind fails as well
// LOFTBAY_FAULT_REPORT   a file that gets the number of calls when the process ends by itself
//
// Following a path through its links counts as an opening. A close that fails has closed the file
// nevertheless, as Linux does. Calls that the C library makes inside itself are not seen; of its streams only
// their opening is.
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
}

namespace {

struct Plan {
  char call[16];
  const char* file;  // null unless a file is to be cut
  long number;
  int error;
  bool lasting;
};

std::atomic<long> calls{0};
std::atomic<int> plan_state{0};  // 1 while it is read, 2 afterwards
Plan plan{};

void readPlan() {
  const char* const call = std::getenv("LOFTBAY_FAULT_CALL");
  std::snprintf(plan.call, sizeof(plan.call), "%s", call != nullptr ? call : "");
  const bool cuts = std::strcmp(plan.call, "halve") == 0 || std::strcmp(plan.call, "empty") == 0;
  plan.file = cuts ? std::getenv("LOFTBAY_FAULT_FILE") : nullptr;
  const char* const number = std::getenv("LOFTBAY_FAULT_NUMBER");
  plan.number = number != nullptr ? std::strtol(number, nullptr, 10) : -1;
  const char* const error = std::getenv("LOFTBAY_FAULT_ERROR");
  plan.error = error != nullptr                        ? static_cast<int>(std::strtol(error, nullptr, 10))
               : std::strcmp(plan.call, "memory") == 0 ? ENOMEM
                                                       : EIO;
  plan.lasting = std::getenv("LOFTBAY_FAULT_LASTING") != nullptr;
}

// False for calls before the environment is there, or while it is read: they are let through.
bool isPlanned() {
  if (plan_state.load() == 2) return true;
  int expected = 0;
  if (environ == nullptr || !plan_state.compare_exchange_strong(expected, 1)) return false;
  readPlan();
  plan_state.store(2);
  return true;
}

// Whether this call is to fail; sets errno then.
bool fails(const char* call) {
  if (!isPlanned() || std::strcmp(plan.call, call) != 0) return false;
  const long before = calls++;
  if (before < plan.number || plan.number < 0 || (before > plan.number && !plan.lasting)) return false;
  errno = plan.error;
  return true;
}

// The function that this one replaces and calls.
template <typename Function>
Function* next(const char* name) {
  void* const found = dlsym(RTLD_NEXT, name);
  Function* function = nullptr;
  static_assert(sizeof(found) == sizeof(function));
  std::memcpy(&function, &found, sizeof(function));
  return function;
}

// Before each read, and behind each mapping: cuts the file if this is the call for it.
void cutBefore(int file) {
  if (!isPlanned() || plan.file == nullptr) return;
  char handle[32];
  std::snprintf(handle, sizeof(handle), "/proc/self/fd/%d", file);
  char path[4096];
  const long length = syscall(SYS_readlink, handle, path, sizeof(path) - 1);
  if (length < 0) return;
  path[length] = '\0';
  const int error = errno;
  if (std::strcmp(path, plan.file) == 0 && fails(plan.call)) {
    struct stat status {};
    const bool halves = std::strcmp(plan.call, "halve") == 0;
    const long size =
        halves && next<int(int, struct stat*)>("fstat")(file, &status) == 0 ? status.st_size / 2 : 0;
    if (syscall(SYS_truncate, path, size) != 0) std::abort();  // a fault that did not happen tests nothing
  }
  errno = error;
}

mode_t modeOf(int flags, va_list arguments) {
  const bool creates = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
  return creates ? va_arg(arguments, mode_t) : 0;
}

__attribute__((destructor)) void report() {
  const char* const path = std::getenv("LOFTBAY_FAULT_REPORT");
  if (path == nullptr) return;
  char text[32];
  const int size = std::snprintf(text, sizeof(text), "%ld\n", calls.load());
  const long file = syscall(SYS_openat, AT_FDCWD, path, O_WRONLY | O_CREAT | O_TRUNC, 0666);
  if (file < 0) return;
  syscall(SYS_write, file, text, static_cast<std::size_t>(size));
  syscall(SYS_close, file);
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) { return fails("memory") ? nullptr : __libc_malloc(size); }

void* calloc(std::size_t count, std::size_t size) {
  return fails("memory") ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* old, std::size_t size) { return fails("memory") ? nullptr : __libc_realloc(old, size); }

void* memalign(std::size_t alignment, std::size_t size) {
  return fails("memory") ? nullptr : __libc_memalign(alignment, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) { return memalign(alignment, size); }

int posix_memalign(void** result, std::size_t alignment, std::size_t size) {
  void* const memory = memalign(alignment, size);
  if (memory == nullptr) return ENOMEM;
  *result = memory;
  return 0;
}

int open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = modeOf(flags, arguments);
  va_end(arguments);
  if (fails("open")) return -1;
  return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

int open64(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = modeOf(flags, arguments);
  va_end(arguments);
  return open(path, flags, mode);
}

// What open becomes in programs with checked calls.
int __open_2(const char* path, int flags) { return open(path, flags, 0); }
int __open64_2(const char* path, int flags) { return open(path, flags, 0); }

int openat(int folder, const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = modeOf(flags, arguments);
  va_end(arguments);
  if (fails("open")) return -1;
  return static_cast<int>(syscall(SYS_openat, folder, path, flags, mode));
}

std::FILE* fopen(const char* path, const char* mode) {
  if (fails("open")) return nullptr;
  return next<std::FILE*(const char*, const char*)>("fopen")(path, mode);
}

std::FILE* fopen64(const char* path, const char* mode) { return fopen(path, mode); }

std::FILE* fdopen(int file, const char* mode) {
  if (fails("open")) return nullptr;
  return next<std::FILE*(int, const char*)>("fdopen")(file, mode);
}

DIR* opendir(const char* path) {
  if (fails("open")) return nullptr;
  return next<DIR*(const char*)>("opendir")(path);
}

char* realpath(const char* path, char* resolved) noexcept {
  if (fails("open")) return nullptr;
  return next<char*(const char*, char*)>("realpath")(path, resolved);
}

char* __realpath_chk(const char* path, char* resolved, std::size_t) { return realpath(path, resolved); }

ssize_t read(int file, void* buffer, std::size_t size) {
  cutBefore(file);
  return fails("read") ? -1 : syscall(SYS_read, file, buffer, size);
}

ssize_t pread(int file, void* buffer, std::size_t size, off_t offset) {
  cutBefore(file);
  return fails("read") ? -1 : syscall(SYS_pread64, file, buffer, size, offset);
}

ssize_t pread64(int file, void* buffer, std::size_t size, off64_t offset) {
  return pread(file, buffer, size, offset);
}

ssize_t __read_chk(int file, void* buffer, std::size_t size, std::size_t) { return read(file, buffer, size); }

ssize_t __pread_chk(int file, void* buffer, std::size_t size, off_t offset, std::size_t) {
  return pread(file, buffer, size, offset);
}

ssize_t __pread64_chk(int file, void* buffer, std::size_t size, off64_t offset, std::size_t) {
  return pread(file, buffer, size, offset);
}

ssize_t write(int file, const void* buffer, std::size_t size) {
  return fails("write") ? -1 : syscall(SYS_write, file, buffer, size);
}

int fsync(int file) { return fails("sync") ? -1 : static_cast<int>(syscall(SYS_fsync, file)); }

int rename(const char* from, const char* to) {
  if (fails("rename")) return -1;
  return static_cast<int>(syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
}

int linkat(int from_folder, const char* from, int to_folder, const char* to, int flags) {
  if (fails("rename")) return -1;
  return static_cast<int>(syscall(SYS_linkat, from_folder, from, to_folder, to, flags));
}

int close(int file) {
  const bool failed = fails("close");
  const int result = static_cast<int>(syscall(SYS_close, file));
  if (!failed) return result;
  errno = plan.error;
  return -1;
}

int stat(const char* path, struct stat* status) {
  if (fails("stat")) return -1;
  return next<int(const char*, struct stat*)>("stat")(path, status);
}

int lstat(const char* path, struct stat* status) {
  if (fails("stat")) return -1;
  return next<int(const char*, struct stat*)>("lstat")(path, status);
}

int fstat(int file, struct stat* status) {
  if (fails("stat")) return -1;
  return next<int(int, struct stat*)>("fstat")(file, status);
}

// Locks only.
int fcntl(int file, int command, ...) {
  va_list arguments;
  va_start(arguments, command);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  if (command == F_OFD_SETLK && fails("lock")) return -1;
  return static_cast<int>(syscall(SYS_fcntl, file, command, argument));
}

void* mmap(void* place, std::size_t size, int protection, int flags, int file, off_t offset) {
  if (file >= 0 && fails("map")) return MAP_FAILED;
  void* const mapped = next<void*(void*, std::size_t, int, int, int, off_t)>("mmap")(place, size, protection,
                                                                                     flags, file, offset);
  if (file >= 0) cutBefore(file);
  return mapped;
}

}  // extern "C"
