// Everything that the zix program does with a scene that the reader accepts: what it prints, exports,
// pictures, differences. Printed text must be valid UTF-8. Inputs are those of zix_reader_fuzz; checksums
// are always repaired. Outputs go to the temporary folder. Seeds: tests/zix/make_zix_seeds.cpp.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/zix_repair.h"
#include "host/path.h"
#include "host/shown_text.h"
#include "zix/export.h"
#include "zix/reader.h"
#include "zix/render.h"
#include "zix/scene_diff.h"
#include "zix/scene_info.h"

namespace {

using namespace Orb::Zix;

std::string outputPath(const char* name) {
  const auto text = (std::filesystem::temp_directory_path() / name).u8string();
  return loftbay::host::toProgramPath(std::string(text.begin(), text.end()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  std::vector<std::byte> file(size - 1);
  if (size > 1) std::memcpy(file.data(), data + 1, size - 1);
  repairZixChecksums(file);
  const auto scene = SceneFile::fromBytes(file);
  if (!scene) return 0;
  if (diffScenes(*scene, *scene, -1).count != 0) std::abort();
  using Tell = void (*)(const SceneFile&, const TextSink&);
  constexpr Tell kTells[] = {
      writeInfoText, writeInfoJson,
      [](const SceneFile& from, const TextSink& to) { writeTree(from, to, true); },
      [](const SceneFile& from, const TextSink& to) { writeTreeJson(from, to, true); }};
  for (const Tell tell : kTells) {
    std::string told;
    tell(*scene, [&](std::string_view text) { told += text; });
    if (!loftbay::host::isValidUtf8(told)) std::abort();
  }
  for (const char* view : {"iso", "top"}) {
    if (const auto camera = findCamera(*scene, view)) {
      render(*scene, *camera, 32, 24, {view[0] == 't', view[0] == 'i'});
      render(*scene, fitted(*scene, *camera, 32, 24), 32, 24, {.outline = view[0] == 't'});
    }
  }
  static const std::string path = outputPath("zix_tools_fuzz.out");
  if (!exportGlb(*scene, path) || !exportStl(*scene, path) || !exportObj(*scene, path)) std::abort();
  return 0;
}
