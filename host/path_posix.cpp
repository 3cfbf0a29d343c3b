// POSIX side of path.h: `/` <-> `\`, and `\` inside a name <-> U+F05C.
#include "host/path.h"

namespace loftbay::host {

namespace {
constexpr std::string_view kBackslashInName = "\xEF\x81\x9C";  // U+F05C in UTF-8
}

std::string toProgramPath(std::string_view host_path) {
  std::string result;
  result.reserve(host_path.size() + 2);
  for (const char c : host_path) {
    if (c == '/') {
      result += '\\';
    } else if (c == '\\') {
      result += kBackslashInName;
    } else {
      result += c;
    }
  }
  const auto last = result.rfind('\\');
  if (last != std::string::npos && result.find_first_not_of('\\') > last) result.insert(last, "\\.");
  return result;
}

std::string toHostPath(std::string_view program_path) {
  std::string result;
  result.reserve(program_path.size());
  // The folder that toProgramPath puts in front of a name in the root.
  if (program_path.starts_with("\\.\\")) program_path.remove_prefix(2);
  for (std::size_t i = 0; i < program_path.size();) {
    if (program_path.substr(i, kBackslashInName.size()) == kBackslashInName) {
      result += '\\';
      i += kBackslashInName.size();
    } else {
      result += program_path[i] == '\\' ? '/' : program_path[i];
      ++i;
    }
  }
  return result;
}

std::filesystem::path toFileSystemPath(std::string_view program_path) { return {toHostPath(program_path)}; }

}  // namespace loftbay::host
