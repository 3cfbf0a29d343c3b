// How fast arrays are written, beside plain 1 MiB writes of the same bytes.
#include <fmt/format.h>

#include <numeric>
#include <span>
#include <stdexcept>

#include "bench/zix_numbers/measuring.h"
#include "zix/output_file_system.h"

namespace zix_numbers {

using namespace Orb::Zix;

void measureWriting() {
  const std::size_t arrays = quick ? 2 : 96;
  std::vector<float> values(quick ? 3'000 : 786'432);  // 3 MB
  std::iota(values.begin(), values.end(), 0.0F);
  const auto bytes = std::as_bytes(std::span(values));
  const auto plain = [&] {
    const std::string path = scratchPath("plain.bin");
    std::intptr_t file = 0;
    if (system::createExclusive(system::nativePath(path), &file) != 0)
      throw std::runtime_error("cannot create " + path);
    int error = 0;
    // Blocks of 1 MiB of the whole run of bytes; the arrays' size is a multiple of it.
    for (std::size_t i = 0; i < arrays; ++i) {
      for (auto rest = bytes; !rest.empty();) {
        const auto block = rest.first(std::min(rest.size(), std::size_t{1} << 20));
        error |= system::write(file, block);
        rest = rest.subspan(block.size());
      }
    }
    error |= system::flush(file);
    error |= system::close(file);
    if (error != 0) throw std::runtime_error("cannot write " + path);
  };
  const auto scene = [&] {
    const std::string path = scratchPath("arrays.zix");
    Scene_V1 writer("Model");
    writer.saveTo(path.c_str(), " ", true, true);
    for (std::size_t i = 0; i < arrays; ++i) {
      values.front() = static_cast<float>(i);  // equal arrays would be stored once
      writer.setValues<float>(writer.createObject(ObjectType::Coordinates), values.data(), values.size() / 3);
    }
    writer.closeFile(path.c_str());
  };
  std::vector<double> plain_times;
  std::vector<double> scene_times;
  const auto measure = [](const std::function<void()>& write, std::vector<double>& times) {
    // An old file would cost its removal, and hold its pages in memory until the new one is complete.
    system::remove(system::nativePath(scratchPath("plain.bin")));
    system::remove(system::nativePath(scratchPath("arrays.zix")));
    times.push_back(secondsOf(write));
  };
  // A disk that other processes use varies from second to second. So each round gives a ratio of its own, and
  // the two take turns in going first. A file system in memory (TMPDIR=/dev/shm) has no such variation; there
  // the device takes no time, so that ratio is the lowest possible.
  std::vector<double> ratios;
  for (int round = 0; round < (quick ? 1 : 11); ++round) {
    if (round % 2 == 0) measure(plain, plain_times);
    measure(scene, scene_times);
    if (round % 2 != 0) measure(plain, plain_times);
    ratios.push_back(plain_times.back() / scene_times.back());
  }
  const double megabytes = static_cast<double>(arrays * bytes.size()) / 1e6;
  const double ratio = median(ratios);
  fmt::print("  plain writes {:.0f} MB/s, scene {:.0f} MB/s (medians of {} rounds of {:.0f} MB)\n",
             megabytes / median(plain_times), megabytes / median(scene_times), plain_times.size(), megabytes);
  report("rate of writing arrays, of plain 1 MiB writes", fmt::format("{:.0f} %", 100 * ratio), ">= 70 %",
         ratio >= 0.7);
}

}  // namespace zix_numbers
