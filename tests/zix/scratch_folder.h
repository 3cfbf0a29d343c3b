// A folder of its own for a test, removed with everything in it afterwards.
#pragma once

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "host/path.h"

#ifdef _WIN32
#include <process.h>
#else
#include <unistd.h>
#endif

namespace loftbay::testing_support {

class ScratchFolder {
 public:
  ScratchFolder() {
#ifdef _WIN32
    const int process = _getpid();
#else
    const int process = getpid();
#endif
    static std::atomic<int> next{0};
    path_ = std::filesystem::temp_directory_path() /
            ("zix-test-" + std::to_string(process) + "-" + std::to_string(next++));
    std::filesystem::create_directories(path_);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::permissions(path_, std::filesystem::perms::owner_all, ignored);
    std::filesystem::remove_all(path_, ignored);
  }

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }
  // Of a file in the folder: as the host and as the program writes it.
  [[nodiscard]] std::string hostPath(const std::string& name) const {
    const auto text = (path_ / std::filesystem::path(std::u8string(name.begin(), name.end()))).u8string();
    return {text.begin(), text.end()};
  }
  [[nodiscard]] std::string programPath(const std::string& name) const {
    return host::toProgramPath(hostPath(name));
  }

  // The names of what lies in the folder, sorted.
  [[nodiscard]] std::vector<std::string> names() const {
    std::vector<std::string> result;
    for (const auto& entry : std::filesystem::directory_iterator(path_)) {
      const auto text = entry.path().filename().u8string();
      result.emplace_back(text.begin(), text.end());
    }
    std::sort(result.begin(), result.end());
    return result;
  }

  [[nodiscard]] std::string read(const std::string& name) const {
    std::ifstream file(path_ / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }
  void write(const std::string& name, const std::string& bytes) const {
    std::ofstream file(path_ / name, std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  }

 private:
  std::filesystem::path path_;
};

}  // namespace loftbay::testing_support
