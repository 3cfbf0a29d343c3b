// How long opening a scene takes, beside reading its index bytes into memory and checking their checksum.
#include <fmt/format.h>

#include <cstdio>
#include <stdexcept>

#include "bench/zix_numbers/measuring.h"
#include "host/file.h"
#include "zix/checksum.h"
#include "zix/reader.h"

namespace zix_numbers {

using namespace Orb::Zix;

void measureOpening() {
  const std::uint64_t objects = quick ? 800 : 100'000;
  const std::string path = scratchPath("memory.zix");
  writeParts(path, objects);
  std::uint64_t start = 0;
  std::uint64_t end = 0;
  {
    const auto scene = SceneFile::open(path);
    if (!scene) throw std::runtime_error(scene.error().text());
    end = scene->size();
    for (std::size_t i = 0; i < scene->chunks().size() && start == 0; ++i) {
      if (scene->chunks()[i].type == format::kSceneChunk) start = scene->chunks()[i].offset;
    }
  }
  // The same memory every time, so that the yardstick is reading and checking alone.
  std::vector<std::byte> buffer(end - start);
  const auto read = [&] {
    const auto file = loftbay::host::openFile(path, "rb");
    std::setvbuf(file.get(), nullptr, _IONBF, 0);
    if (std::fseek(file.get(), static_cast<long>(start), SEEK_SET) != 0 ||
        std::fread(buffer.data(), 1, buffer.size(), file.get()) != buffer.size() || checksum(buffer) == 0) {
      throw std::runtime_error("cannot read " + path);
    }
  };
  const auto open = [&] {
    if (!SceneFile::open(path)) throw std::runtime_error("cannot open " + path);
  };
  std::vector<double> read_times;
  std::vector<double> open_times;
  for (int round = 0; round < (quick ? 2 : 101); ++round) {
    read_times.push_back(processorSecondsOf(read));
    open_times.push_back(processorSecondsOf(open));
  }
  const double ratio = median(open_times) / median(read_times);
  fmt::print("  reading and checking {:.2f} MB {:.2f} ms, opening {:.2f} ms (medians of {} rounds)\n",
             static_cast<double>(buffer.size()) / 1e6, 1e3 * median(read_times), 1e3 * median(open_times),
             open_times.size());
  report(fmt::format("time of opening {} objects, of reading and checking their bytes", objects),
         fmt::format("{:.2f} times", ratio), "< 3 times", ratio < 3);
}

}  // namespace zix_numbers
