#include <windows.h>

#include <shellapi.h>

#include <filesystem>

#include "host/open_file.h"

namespace loftbay::host {

bool openInBrowser(const std::string& path, std::string* reason) {
  const std::filesystem::path native(std::u8string(path.begin(), path.end()));
  // A result of 32 and less is an error; that is all there is to it.
  const auto result = reinterpret_cast<INT_PTR>(
      ShellExecuteW(nullptr, L"open", native.c_str(), nullptr, nullptr, SW_SHOWNORMAL));
  if (result > 32) return true;
  *reason = "Windows gives error " + std::to_string(result);
  return false;
}

}  // namespace loftbay::host
