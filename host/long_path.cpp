// The pure part of long_path.h, the same on every host.
#include "host/long_path.h"

namespace loftbay::host {

namespace {

// MAX_PATH less a name of 8.3 form, the limit for a new directory; files stop at 260.
constexpr std::size_t kFirstLongSize = 248;

bool beginsWithDrive(std::wstring_view path) {
  return path.size() >= 3 && path[1] == L':' && path[2] == L'\\' &&
         ((path[0] >= L'A' && path[0] <= L'Z') || (path[0] >= L'a' && path[0] <= L'z'));
}

// `\\server\…`, but neither `\\?\` nor the devices of `\\.\`.
bool beginsWithServer(std::wstring_view path) {
  return path.size() >= 3 && path[0] == L'\\' && path[1] == L'\\' && path[2] != L'\\' && path[2] != L'?' &&
         path[2] != L'.';
}

}  // namespace

std::wstring longPathForm(std::wstring_view full_path) {
  if (full_path.size() >= kFirstLongSize) {
    if (beginsWithDrive(full_path)) return std::wstring(L"\\\\?\\").append(full_path);
    if (beginsWithServer(full_path)) return std::wstring(L"\\\\?\\UNC\\").append(full_path.substr(2));
  }
  return std::wstring(full_path);
}

}  // namespace loftbay::host
