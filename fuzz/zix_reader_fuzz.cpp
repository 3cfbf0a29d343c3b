// Any bytes: the reader, the validator and everything that walks over an accepted scene. Checksums would
// stop nearly every mutation at the door, so the target repairs those of header, directory and tables first;
// the first byte of the input says whether it does. Seeds: fuzz/corpus/zix_reader_fuzz, written by zix_test.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "zix/checksum.h"
#include "zix/scene_meshes.h"
#include "zix/shown_text.h"
#include "zix/validate.h"

namespace {

using namespace Orb::Zix;

template <typename T>
T load(const std::vector<std::byte>& file, std::size_t offset) {
  T value;
  std::memcpy(&value, file.data() + offset, sizeof(T));
  return value;
}

void repairChecksums(std::vector<std::byte>& file) {
  if (file.size() < sizeof(format::Header)) return;
  auto header = load<format::Header>(file, 0);
  header.file_size = file.size();
  const std::uint64_t offset = header.directory_offset;
  if (offset <= file.size()) {
    header.chunk_count = (file.size() - offset) / sizeof(format::ChunkEntry);
    for (std::size_t i = 0; i < header.chunk_count; ++i) {
      const std::size_t place = static_cast<std::size_t>(offset) + i * sizeof(format::ChunkEntry);
      auto entry = load<format::ChunkEntry>(file, place);
      if (entry.offset > file.size() || entry.size > file.size() - entry.offset) continue;
      entry.checksum = checksum(std::span(file).subspan(static_cast<std::size_t>(entry.offset),
                                                        static_cast<std::size_t>(entry.size)));
      std::memcpy(file.data() + place, &entry, sizeof(entry));
    }
    header.directory_checksum = checksum(std::span(file).subspan(static_cast<std::size_t>(offset)));
  }
  std::memcpy(file.data(), &header, sizeof(header));
  header.header_checksum = checksum(std::span(file).first(offsetof(format::Header, header_checksum)));
  std::memcpy(file.data(), &header, sizeof(header));
}

void readEverything(const SceneFile& scene) {
  std::uint64_t sink = scene.modelName().size() + scene.application().size() + scene.saveText().size();
  for (std::size_t i = 0; i < scene.viewCount(); ++i) sink += scene.viewName(i).size();
  for (std::uint32_t i = 0; i < scene.objectCount(); ++i) {
    sink += shownText(scene.name(i)).size();
    for (const std::uint32_t child : scene.children(i)) {
      if (scene.object(child).parent != i) std::abort();
    }
  }
  BoxD box;
  for (const PlacedMesh& placed : placedMeshes(scene)) {
    const MeshArrays mesh = meshArrays(scene, placed.mesh);
    addWorldBounds(box, mesh, placed.world);
    localBounds(mesh);
    if (wholeElementCount(mesh) > mesh.lengths.size()) std::abort();
    forEachElement(mesh, [&](std::span<const std::uint32_t> element) {
      for (const std::uint32_t index : element) sink += mesh.point(index)[0] > 0 ? 1U : 0U;
    });
  }
  if (sink == UINT64_MAX) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  std::vector<std::byte> file(size - 1);
  if (size > 1) std::memcpy(file.data(), data + 1, size - 1);
  if (data[0] % 2 != 0) repairChecksums(file);
  const auto scene = SceneFile::fromBytes(file);
  const ValidationReport report = validateBytes(file);
  if (!scene && report.error_count == 0) std::abort();
  if (scene) readEverything(*scene);
  return 0;
}
