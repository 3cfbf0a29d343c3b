// Opening a scene: the ways to its bytes, and the check without which there is no SceneFile.
#include "host/path.h"
#include "zix/reader.h"
#include "zix/structure_check.h"

namespace Orb::Zix {

tl::expected<SceneFile, ReadError> SceneFile::open(std::string_view program_path) {
  SceneFile scene;
  scene.path_ = loftbay::host::toHostPath(program_path);
  std::string reason;
  scene.file_ = loftbay::host::ReadOnlyFile::open(program_path, &reason);
  if (!scene.file_)
    return tl::unexpected(ReadError{"CANNOT_OPEN", 0, "cannot be opened: " + reason, scene.path_});
  scene.size_ = scene.file_->size();
  return checked(std::move(scene));
}

tl::expected<SceneFile, ReadError> SceneFile::openMapped(std::string_view program_path) {
  SceneFile scene;
  scene.path_ = loftbay::host::toHostPath(program_path);
  std::string reason;
  scene.mapping_ = loftbay::host::MappedFile::open(program_path, &reason);
  if (!scene.mapping_)
    return tl::unexpected(ReadError{"CANNOT_OPEN", 0, "cannot be opened: " + reason, scene.path_});
  scene.bytes_ = scene.mapping_->bytes();
  scene.size_ = scene.bytes_.size();
  return checked(std::move(scene));
}

tl::expected<SceneFile, ReadError> SceneFile::fromBytes(std::span<const std::byte> bytes) {
  if (reinterpret_cast<std::uintptr_t>(bytes.data()) % alignof(std::uint64_t) != 0) {
    return tl::unexpected(ReadError{"MISALIGNED", 0, "the bytes are not aligned in memory", ""});
  }
  SceneFile scene;
  scene.bytes_ = bytes;
  scene.size_ = bytes.size();
  return checked(std::move(scene));
}

tl::expected<SceneFile, ReadError> SceneFile::checked(SceneFile scene) {
  std::optional<ReadError> error;
  try {
    error = StructureCheck(scene).run();
  } catch (const SceneReadError& failed) {
    error = ReadError{"CANNOT_READ", failed.offset(), failed.message(), ""};
  }
  if (!error) return scene;
  error->path = scene.path_;
  return tl::unexpected(std::move(*error));
}

}  // namespace Orb::Zix
