// What it costs to read arrays into memory, as the programs do so that a file may shrink meanwhile, instead
// of using them in place through a mapping.
#include <fmt/format.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "bench/zix_numbers/measuring.h"
#include "host/file.h"
#include "zix/reader.h"
#include "zix/scene_info.h"
#include "zix/validate.h"

namespace zix_numbers {

using namespace Orb::Zix;

namespace {

void check(bool done, const std::string& path) {
  if (!done) throw std::runtime_error("cannot read " + path);
}

void infoOf(const tl::expected<SceneFile, ReadError>& scene) {
  if (!scene) throw std::runtime_error(scene.error().text());
  std::size_t size = 0;
  writeInfoText(*scene, [&](std::string_view text) { size += text.size(); });
  if (size == 0) throw std::runtime_error("no text");
}

void compare(const std::string& what, const std::function<void()>& read,
             const std::function<void()>& mapped) {
  std::vector<double> read_times;
  std::vector<double> mapped_times;
  for (int round = 0; round < (quick ? 2 : 31); ++round) {
    read_times.push_back(processorSecondsOf(read));
    mapped_times.push_back(processorSecondsOf(mapped));
  }
  fmt::print("{:<66} {:>22}\n", what + ", read / mapped",
             fmt::format("{:.1f} / {:.1f} ms = {:.2f}", 1e3 * median(read_times), 1e3 * median(mapped_times),
                         median(read_times) / median(mapped_times)));
}

}  // namespace

void measureReading() {
  const std::string ring = scratchPath("ring.zix");
  const std::string parts = scratchPath("parts.zix");
  writeRing(ring, quick ? 2000 : 1'000'000);
  writeParts(parts, quick ? 800 : 100'000);
  for (const auto& [name, path] : {std::pair("one large mesh", ring), std::pair("many small parts", parts)}) {
    compare(
        std::string("zix validate, ") + name, [&] { check(validateFile(path).error_count == 0, path); },
        [&] {
          std::string reason;
          const auto file = loftbay::host::MappedFile::open(path, &reason);
          check(file && validateBytes(file->bytes()).error_count == 0, path);
        });
    compare(
        std::string("zix info, ") + name, [&] { infoOf(SceneFile::open(path)); },
        [&] { infoOf(SceneFile::openMapped(path)); });
  }
}

}  // namespace zix_numbers
