// POSIX side of directory.h.
#include "host/directory.h"

#include <dirent.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <new>

#include "host/path.h"

namespace loftbay::host {

namespace {
struct DirectoryCloser {
  void operator()(DIR* directory) const noexcept { closedir(directory); }
};
struct Freer {
  void operator()(char* memory) const noexcept { std::free(memory); }
};

// Nothing, unless it is for want of memory that nothing was found.
std::nullopt_t nothingFor(int error) {
  if (error == ENOMEM) throw std::bad_alloc();
  return std::nullopt;
}
}  // namespace

std::optional<std::vector<std::string>> listDirectory(std::string_view program_path) {
  const std::unique_ptr<DIR, DirectoryCloser> directory(opendir(toHostPath(program_path).c_str()));
  if (!directory) return nothingFor(errno);
  std::vector<std::string> names;
  while (const dirent* entry = readdir(directory.get())) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") names.push_back(toProgramPath(name));
  }
  return names;
}

std::optional<std::string> canonicalPath(std::string_view program_path) {
  const std::unique_ptr<char, Freer> resolved(realpath(toHostPath(program_path).c_str(), nullptr));
  if (!resolved) return nothingFor(errno);
  return toProgramPath(resolved.get());
}

}  // namespace loftbay::host
