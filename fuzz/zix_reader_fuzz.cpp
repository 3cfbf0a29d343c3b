// Any bytes: the reader, the validator and everything that walks over an accepted scene. Checksums would
// reject nearly every mutation at once, so the target repairs those of header, directory and tables first;
// the first byte of the input says whether it does. Seeds: tests/zix/make_zix_seeds.cpp.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "fuzz/zix_repair.h"
#include "host/shown_text.h"
#include "zix/mesh_figures.h"
#include "zix/scene_meshes.h"
#include "zix/validate.h"

namespace {

using namespace Orb::Zix;

void readEverything(const SceneFile& scene) {
  std::uint64_t sink = scene.modelName().size() + scene.application().size() + scene.saveText().size();
  for (std::size_t i = 0; i < scene.viewCount(); ++i) sink += scene.viewName(i).size();
  for (std::uint32_t i = 0; i < scene.objectCount(); ++i) {
    sink += loftbay::host::shownText(scene.name(i)).size();
    for (const auto& [key, value] : scene.properties(i)) sink += key.size() + value.size();
    for (const std::uint32_t child : scene.children(i)) {
      if (scene.object(child).parent != i) std::abort();
    }
  }
  if (const auto unit = scene.unit()) sink += unit->name.size();
  BoxD box;
  for (const PlacedMesh& placed : placedMeshes(scene)) {
    const MeshArrays mesh = meshArrays(scene, placed.mesh);
    BoxF local;
    addBounds(scene, placed.mesh, placed.world, local, box);
    localBounds(mesh);
    std::uint64_t whole_elements = 0;
    forEachElement(mesh, [&](std::span<const std::uint32_t> element) {
      ++whole_elements;
      for (const std::uint32_t index : element) sink += mesh.point(index)[0] > 0 ? 1U : 0U;
    });
    if (wholeElementCount(scene, placed.mesh) != whole_elements) std::abort();
  }
  if (sink == UINT64_MAX) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  std::vector<std::byte> file(size - 1);
  if (size > 1) std::memcpy(file.data(), data + 1, size - 1);
  if (data[0] % 2 != 0) repairZixChecksums(file);
  const auto scene = SceneFile::fromBytes(file);
  const ValidationReport report = validateBytes(file);
  if (!scene && report.error_count == 0) std::abort();
  if (scene) readEverything(*scene);
  return 0;
}
