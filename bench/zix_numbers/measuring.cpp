#include "bench/zix_numbers/measuring.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <filesystem>

#include "host/path.h"

namespace zix_numbers {

bool quick = false;

namespace {

bool all_kept = true;

std::filesystem::path scratchFolder() {
  static const std::filesystem::path folder = [] {
    auto path = std::filesystem::temp_directory_path() / fmt::format("zix-numbers-{}", getpid());
    std::filesystem::create_directories(path);
    return path;
  }();
  return folder;
}

}  // namespace

std::string scratchPath(const char* name) {
  return loftbay::host::toProgramPath((scratchFolder() / name).string());
}

void removeScratchFiles() {
  std::error_code ignored;
  std::filesystem::remove_all(scratchFolder(), ignored);
}

bool allKept() { return all_kept; }

void report(const std::string& what, const std::string& figure, const std::string& limit, bool kept) {
  all_kept = all_kept && kept;
  fmt::print("{:<66} {:>22}   {:<24} {}\n", what, figure, limit, quick ? "-" : kept ? "kept" : "NOT KEPT");
  std::fflush(stdout);
}

double secondsOf(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double processorSecondsOf(const std::function<void()>& work) {
  const auto now = [] {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
  };
  const double start = now();
  work();
  return now() - start;
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

}  // namespace zix_numbers
