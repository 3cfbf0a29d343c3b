// Runs a fuzz target over files and folders without a fuzzing engine: REPLAY PATH… . Fails when it was
// given nothing to run, so that a lost corpus is noticed.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

void runFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  // An exact-size heap copy, so that the sanitizer sees a read of one byte too many.
  const std::vector<std::uint8_t> copy(bytes.begin(), bytes.end());
  LLVMFuzzerTestOneInput(copy.data(), copy.size());
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::filesystem::path> files;
  for (int i = 1; i < argc; ++i) {
    if (std::filesystem::is_directory(argv[i])) {
      for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[i])) {
        if (entry.is_regular_file()) files.push_back(entry.path());
      }
    } else {
      files.emplace_back(argv[i]);
    }
  }
  std::sort(files.begin(), files.end());
  for (const auto& file : files) runFile(file);
  std::printf("%zu inputs replayed\n", files.size());
  return files.empty() ? 1 : 0;
}
