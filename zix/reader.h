// Reads a Zix file: maps it, checks its structure, and hands out tables and arrays in place.
//
//   auto scene = Orb::Zix::SceneFile::open("folder\\model.zix");
//   if (!scene) return print(scene.error().text());
//   for (std::uint32_t i = 0; i < scene->objectCount(); ++i) print(scene->name(i));
//
// Opening takes time in the number of objects, not in the size of the arrays: header, directory and tables
// are verified with their checksums, and every object number, text and chunk in them is checked, so that no
// accessor below can leave the file whatever its bytes are. What the arrays hold is not looked at; their
// checksums are verified on demand (`verifyChunk`, or everything at once by validate.h). In particular an
// index may be out of range: scene_meshes.h leaves out such elements.
//
// Objects are named by number: 0 is the object that was created first. The writer's ObjectId of object n is
// (n + 1, its type). All views live as long as the SceneFile. Reading from several threads is safe.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <tl/expected.hpp>
#include <vector>

#include "host/file.h"
#include "zix/format.h"
#include "zix/zix.h"

namespace Orb::Zix {

// Why a file was refused.
struct ReadError {
  std::string code;  // stable, upper case: "NOT_ZIX", "TRUNCATED", …; "CANNOT_OPEN" for the system's errors
  std::uint64_t offset = 0;  // where in the file the reason stands
  std::string message;       // one sentence with the numbers
  std::string path;          // host form; empty for fromBytes

  [[nodiscard]] std::string text() const;
};

// The rows of one table, read in place. Rows may be longer in the file than here (later minor versions).
template <typename T>
class Table {
 public:
  Table() = default;
  Table(std::span<const std::byte> bytes, std::size_t record_size)
      : start_(bytes.data()), record_size_(record_size), size_(bytes.size() / record_size) {}
  [[nodiscard]] std::size_t size() const { return size_; }
  // `row` must be below size().
  T operator[](std::size_t row) const {
    T record;
    std::memcpy(&record, start_ + row * record_size_, sizeof(T));
    return record;
  }

 private:
  const std::byte* start_ = nullptr;
  std::size_t record_size_ = sizeof(T);
  std::size_t size_ = 0;
};

class SceneFile {
 public:
  // `program_path` as everywhere (host/path.h).
  static tl::expected<SceneFile, ReadError> open(std::string_view program_path);
  // Over bytes that the caller keeps; they must be aligned for std::uint64_t.
  static tl::expected<SceneFile, ReadError> fromBytes(std::span<const std::byte> bytes);

  [[nodiscard]] const format::Header& header() const { return header_; }
  [[nodiscard]] std::span<const std::byte> bytes() const { return bytes_; }

  // --- chunks ---------------------------------------------------------------------------------------------
  [[nodiscard]] const Table<format::ChunkEntry>& chunks() const { return chunks_; }
  [[nodiscard]] std::span<const std::byte> chunkBytes(std::size_t chunk) const;
  // True when the chunk's bytes have the checksum that the directory states.
  [[nodiscard]] bool verifyChunk(std::size_t chunk) const;

  // --- the scene ------------------------------------------------------------------------------------------
  [[nodiscard]] std::string_view modelName() const;
  [[nodiscard]] std::string_view application() const;
  [[nodiscard]] double applicationValue() const { return scene_.application_value; }
  [[nodiscard]] std::string_view saveText() const;
  [[nodiscard]] bool firstFlag() const { return (scene_.flags & format::kSceneFirstFlag) != 0; }
  [[nodiscard]] bool secondFlag() const { return (scene_.flags & format::kSceneSecondFlag) != 0; }
  // The Node that the default views were made for, or kNone.
  [[nodiscard]] std::uint32_t root() const { return scene_.root; }
  // Where the tree starts: the root, or where none is stated every Node that hangs under nothing.
  [[nodiscard]] std::vector<std::uint32_t> treeRoots() const;

  [[nodiscard]] std::size_t viewCount() const { return views_.size(); }
  [[nodiscard]] format::ViewRecord view(std::size_t index) const { return views_[index]; }
  [[nodiscard]] std::string_view viewName(std::size_t index) const;

  // --- objects --------------------------------------------------------------------------------------------
  [[nodiscard]] std::uint32_t objectCount() const { return static_cast<std::uint32_t>(objects_.size()); }
  [[nodiscard]] format::ObjectRecord object(std::uint32_t number) const { return objects_[number]; }
  [[nodiscard]] ObjectType type(std::uint32_t number) const {
    return static_cast<ObjectType>(objects_[number].type);
  }
  // Any bytes.
  [[nodiscard]] std::string_view name(std::uint32_t number) const;
  // Nodes, shapes or meshes in the order in which they were attached.
  [[nodiscard]] std::span<const std::uint32_t> children(std::uint32_t number) const;
  // The transform that places the object under its parent, or nothing.
  [[nodiscard]] std::optional<format::TransformRecord> placement(std::uint32_t number) const;

  // Each of these takes the number of an object of its type.
  [[nodiscard]] format::MeshRecord mesh(std::uint32_t number) const;
  [[nodiscard]] format::TransformRecord transform(std::uint32_t number) const;
  [[nodiscard]] format::MaterialRecord material(std::uint32_t number) const;
  [[nodiscard]] format::CoordinatesRecord coordinates(std::uint32_t number) const;
  // The floats of a Coordinates object (tuples of its dimension) and the values of an IndexArray object.
  // Empty for kNone and for an object whose values were never set.
  [[nodiscard]] std::span<const float> coordinateValues(std::uint32_t number) const;
  [[nodiscard]] std::span<const std::uint32_t> indexValues(std::uint32_t number) const;

 private:
  friend class StructureCheck;
  SceneFile() = default;
  [[nodiscard]] std::string_view text(std::uint64_t offset, std::uint32_t size) const;

  std::optional<loftbay::host::MappedFile> file_;
  std::span<const std::byte> bytes_;
  format::Header header_{};
  format::SceneRecord scene_{};
  std::span<const std::byte> texts_;
  std::span<const std::uint32_t> children_;
  Table<format::ChunkEntry> chunks_;
  Table<format::ObjectRecord> objects_;
  Table<format::MeshRecord> meshes_;
  Table<format::CoordinatesRecord> coordinates_;
  Table<format::IndexArrayRecord> index_arrays_;
  Table<format::TransformRecord> transforms_;
  Table<format::MaterialRecord> materials_;
  Table<format::ViewRecord> views_;
};

}  // namespace Orb::Zix
