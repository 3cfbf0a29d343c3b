// Opening and the accessors; what makes a file acceptable is in structure_check.cpp.
#include "zix/reader.h"

#include "host/path.h"
#include "zix/checksum.h"
#include "zix/structure_check.h"

namespace Orb::Zix {

using format::kNone;

std::string ReadError::text() const {
  std::string result = path.empty() ? std::string() : path + ": ";
  result += message;
  if (code != "CANNOT_OPEN") result += " (" + code + " at offset " + std::to_string(offset) + ")";
  return result;
}

tl::expected<SceneFile, ReadError> SceneFile::open(std::string_view program_path) {
  const std::string shown_path = loftbay::host::toHostPath(program_path);
  std::string reason;
  auto file = loftbay::host::MappedFile::open(program_path, &reason);
  if (!file) return tl::unexpected(ReadError{"CANNOT_OPEN", 0, "cannot be opened: " + reason, shown_path});
  SceneFile scene;
  scene.bytes_ = file->bytes();
  if (auto error = StructureCheck(scene).run()) {
    error->path = shown_path;
    return tl::unexpected(std::move(*error));
  }
  scene.file_ = std::move(file);
  return scene;
}

tl::expected<SceneFile, ReadError> SceneFile::fromBytes(std::span<const std::byte> bytes) {
  if (reinterpret_cast<std::uintptr_t>(bytes.data()) % alignof(std::uint64_t) != 0) {
    return tl::unexpected(ReadError{"MISALIGNED", 0, "the bytes are not aligned in memory", ""});
  }
  SceneFile scene;
  scene.bytes_ = bytes;
  if (auto error = StructureCheck(scene).run()) return tl::unexpected(std::move(*error));
  return scene;
}

std::span<const std::byte> SceneFile::chunkBytes(std::size_t chunk) const {
  const format::ChunkEntry entry = chunks_[chunk];
  return bytes_.subspan(static_cast<std::size_t>(entry.offset), static_cast<std::size_t>(entry.size));
}

bool SceneFile::verifyChunk(std::size_t chunk) const {
  return checksum(chunkBytes(chunk)) == chunks_[chunk].checksum;
}

std::string_view SceneFile::text(std::uint64_t offset, std::uint32_t size) const {
  const auto bytes = texts_.subspan(static_cast<std::size_t>(offset), size);
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::string_view SceneFile::modelName() const {
  return text(scene_.model_name_offset, scene_.model_name_size);
}
std::string_view SceneFile::application() const {
  return text(scene_.application_offset, scene_.application_size);
}
std::string_view SceneFile::saveText() const { return text(scene_.save_text_offset, scene_.save_text_size); }

std::vector<std::uint32_t> SceneFile::treeRoots() const {
  if (scene_.root != kNone) return {scene_.root};
  std::vector<std::uint32_t> roots;
  for (std::uint32_t i = 0; i < objectCount(); ++i) {
    const format::ObjectRecord record = objects_[i];
    if (record.parent == kNone && static_cast<ObjectType>(record.type) == ObjectType::Node)
      roots.push_back(i);
  }
  return roots;
}

std::string_view SceneFile::viewName(std::size_t index) const {
  const format::ViewRecord record = views_[index];
  return text(record.name_offset, record.name_size);
}

std::string_view SceneFile::name(std::uint32_t number) const {
  const format::ObjectRecord record = objects_[number];
  return text(record.name_offset, record.name_size);
}

std::span<const std::uint32_t> SceneFile::children(std::uint32_t number) const {
  const format::ObjectRecord record = objects_[number];
  return children_.subspan(record.first_child, record.child_count);
}

std::optional<format::TransformRecord> SceneFile::placement(std::uint32_t number) const {
  const std::uint32_t placement = objects_[number].placement;
  if (placement == kNone) return std::nullopt;
  return transform(placement);
}

format::MeshRecord SceneFile::mesh(std::uint32_t number) const { return meshes_[objects_[number].ordinal]; }
format::TransformRecord SceneFile::transform(std::uint32_t number) const {
  return transforms_[objects_[number].ordinal];
}
format::MaterialRecord SceneFile::material(std::uint32_t number) const {
  return materials_[objects_[number].ordinal];
}
format::CoordinatesRecord SceneFile::coordinates(std::uint32_t number) const {
  return coordinates_[objects_[number].ordinal];
}

std::span<const float> SceneFile::coordinateValues(std::uint32_t number) const {
  if (number == kNone) return {};
  const std::uint32_t chunk = coordinates(number).chunk;
  if (chunk == kNone) return {};
  const auto bytes = chunkBytes(chunk);
  return {reinterpret_cast<const float*>(bytes.data()), bytes.size() / sizeof(float)};
}

std::span<const std::uint32_t> SceneFile::indexValues(std::uint32_t number) const {
  if (number == kNone) return {};
  const std::uint32_t chunk = index_arrays_[objects_[number].ordinal].chunk;
  if (chunk == kNone) return {};
  const auto bytes = chunkBytes(chunk);
  return {reinterpret_cast<const std::uint32_t*>(bytes.data()), bytes.size() / sizeof(std::uint32_t)};
}

}  // namespace Orb::Zix
