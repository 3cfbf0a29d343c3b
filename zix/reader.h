// Reads a Zix file: checks its structure, hands out its tables, and reads its arrays when they are asked for.
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
//
// `open` reads header, directory and tables into memory of its own and each array when it is asked for, so
// that a file that shrinks meanwhile is a SceneReadError. `openMapped` reads nothing: everything is used in
// place, and a file that shrinks, or a device that fails, ends the process with a signal (SIGBUS). It is for
// files that no process writes while they are open.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tl/expected.hpp>
#include <utility>
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

// Bytes of the file could not be read any more: what() names the file, the offset and the reason.
class SceneReadError : public std::runtime_error {
 public:
  SceneReadError(const std::string& path, std::uint64_t offset, const std::string& reason);
  [[nodiscard]] std::uint64_t offset() const { return offset_; }
  // what() without the file's name.
  [[nodiscard]] const std::string& message() const { return message_; }

 private:
  std::uint64_t offset_;
  std::string message_;
};

// The values of an array: in memory of their own, which copies share, or in place.
template <typename T>
class Values : public std::span<const T> {
 public:
  Values() = default;
  // A view of values that the caller keeps alive.
  explicit Values(std::span<const T> borrowed) : std::span<const T>(borrowed) {}
  Values(std::span<const std::byte> bytes, std::shared_ptr<const std::byte[]> owner)
      : std::span<const T>(reinterpret_cast<const T*>(bytes.data()), bytes.size() / sizeof(T)),
        owner_(std::move(owner)) {}
  // The owner of the memory; null when used in place.
  [[nodiscard]] const std::shared_ptr<const std::byte[]>& owner() const { return owner_; }

 private:
  std::shared_ptr<const std::byte[]> owner_;
};

// The rows of one table, read in place. Rows in the file may be longer than T (a later minor version: what is
// behind the known fields is stepped over) or shorter (an earlier one: the missing fields are as T
// initialises them).
template <typename T>
class Table {
 public:
  Table() = default;
  Table(std::span<const std::byte> bytes, std::size_t record_size)
      : start_(bytes.data()), record_size_(record_size), size_(bytes.size() / record_size) {}
  [[nodiscard]] std::size_t size() const { return size_; }
  // The bytes of all rows.
  [[nodiscard]] std::span<const std::byte> bytes() const { return {start_, size_ * record_size_}; }
  // `row` must be below size().
  T operator[](std::size_t row) const {
    T record{};
    std::memcpy(&record, start_ + row * record_size_, std::min(sizeof(T), record_size_));
    return record;
  }

 private:
  const std::byte* start_ = nullptr;
  std::size_t record_size_ = sizeof(T);
  std::size_t size_ = 0;
};

class SceneFile;

// Some bytes of the file piece by piece, in constant memory. A piece is valid until the next one is asked
// for.
class PieceReader {
 public:
  PieceReader(const SceneFile& scene, std::uint64_t offset, std::uint64_t size)
      : scene_(scene), next_(offset), end_(offset + size) {}
  // Empty at the end. All pieces but the last hold a multiple of 192 bytes. Throws SceneReadError.
  std::span<const std::byte> next();
  // Where in the file the bytes stand that the next call hands over.
  [[nodiscard]] std::uint64_t offset() const { return next_; }

 private:
  const SceneFile& scene_;
  std::uint64_t next_;
  std::uint64_t end_;
  Values<std::byte> held_;
  std::unique_ptr<std::byte[]> memory_;
};

class SceneFile {
 public:
  // `program_path` as everywhere (host/path.h).
  static tl::expected<SceneFile, ReadError> open(std::string_view program_path);
  // The same, in place: see above.
  static tl::expected<SceneFile, ReadError> openMapped(std::string_view program_path);
  // Over bytes that the caller keeps; they must be aligned for std::uint64_t.
  static tl::expected<SceneFile, ReadError> fromBytes(std::span<const std::byte> bytes);

  [[nodiscard]] const format::Header& header() const { return header_; }
  // Of the file, in bytes.
  [[nodiscard]] std::uint64_t size() const { return size_; }

  // --- chunks ---------------------------------------------------------------------------------------------
  [[nodiscard]] const Table<format::ChunkEntry>& chunks() const { return chunks_; }
  [[nodiscard]] PieceReader chunkPieces(std::size_t chunk) const {
    const format::ChunkEntry entry = chunks_[chunk];
    return {*this, entry.offset, entry.size};
  }
  // True when the chunk's bytes have the checksum that the directory states. These two throw SceneReadError.
  [[nodiscard]] bool verifyChunk(std::size_t chunk) const;
  [[nodiscard]] Values<std::byte> chunkBytes(std::size_t chunk) const;

  // From now on an array whose bytes do not have the checksum that the directory states is damage: found when
  // the array is read, once for each. `tell` is called with the reason (file, place, cause), and the array is
  // used as it is; without it, what reads the array throws SceneReadError. Not to be called while others
  // read.
  void verifyArrays(std::function<void(const std::string& reason)> tell = {});

  // --- the scene ------------------------------------------------------------------------------------------
  [[nodiscard]] std::string_view modelName() const;
  [[nodiscard]] std::string_view application() const;
  [[nodiscard]] double applicationValue() const { return scene_.application_value; }
  [[nodiscard]] std::string_view saveText() const;
  [[nodiscard]] bool firstFlag() const { return (scene_.flags & format::kSceneFirstFlag) != 0; }
  [[nodiscard]] bool secondFlag() const { return (scene_.flags & format::kSceneSecondFlag) != 0; }
  // The Node that the default views were made for, or kNone.
  [[nodiscard]] std::uint32_t root() const { return scene_.root; }
  // Where the tree starts: the root, or where none is stated every Node without a parent.
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

  // --- properties -----------------------------------------------------------------------------------------
  // In the order in which they were set. Any bytes.
  struct Property {
    std::string_view key;
    std::string_view value;
  };
  [[nodiscard]] std::vector<Property> sceneProperties() const;
  [[nodiscard]] std::vector<Property> properties(std::uint32_t number) const;
  // What the scene's lengths are measured in, or nothing where that is not stated.
  struct Unit {
    std::string_view name;
    std::optional<double> metres;  // the length of one; nothing for a unit that is not known
  };
  [[nodiscard]] std::optional<Unit> unit() const;

  // Each of these takes the number of an object of its type.
  [[nodiscard]] format::MeshRecord mesh(std::uint32_t number) const;
  [[nodiscard]] format::TransformRecord transform(std::uint32_t number) const;
  [[nodiscard]] format::MaterialRecord material(std::uint32_t number) const;
  [[nodiscard]] format::CoordinatesRecord coordinates(std::uint32_t number) const;
  [[nodiscard]] format::IndexArrayRecord indexArray(std::uint32_t number) const;
  // The floats of a Coordinates object (tuples of its dimension) and the values of an IndexArray object.
  // Empty for kNone and for an object whose values were never set. Throw SceneReadError, and std::bad_alloc
  // for an array that memory does not hold.
  [[nodiscard]] Values<float> coordinateValues(std::uint32_t number) const;
  [[nodiscard]] Values<std::uint32_t> indexValues(std::uint32_t number) const;

 private:
  friend class StructureCheck;
  friend class PieceReader;
  SceneFile() = default;
  [[nodiscard]] std::string_view text(std::uint64_t offset, std::uint32_t size) const;
  // Checks the structure of what the members below hold.
  static tl::expected<SceneFile, ReadError> checked(SceneFile scene);
  // Of an object, or kNone: the scene.
  [[nodiscard]] std::vector<Property> propertiesOf(std::uint32_t owner) const;
  // The bytes in place, or copied into memory of their own.
  [[nodiscard]] Values<std::byte> read(std::uint64_t offset, std::uint64_t size) const;
  [[nodiscard]] Values<std::byte> readFile(std::uint64_t offset, std::uint64_t size) const;
  // The same, kept as long as the SceneFile.
  std::span<const std::byte> keep(Values<std::byte> bytes);
  void verify(std::uint32_t chunk, std::span<const std::byte> bytes) const;
  template <typename T>
  [[nodiscard]] Values<T> arrayValues(std::uint32_t chunk) const;

  // One of the two files, or none: then the bytes are the caller's.
  std::optional<loftbay::host::ReadOnlyFile> file_;
  std::optional<loftbay::host::MappedFile> mapping_;
  // Of the file that is read: small arrays that stand beside each other cost one call of the system together.
  struct Window {
    std::mutex mutex;
    std::uint64_t offset = 0;
    Values<std::byte> bytes;
  };
  std::unique_ptr<Window> window_ = std::make_unique<Window>();
  // The arrays that were read last, as far as they are small: meshes that share one cost one reading.
  struct LastArrays {
    std::mutex mutex;
    std::uint64_t size = 0;
    std::deque<std::pair<std::uint32_t, Values<std::byte>>> arrays;  // by chunk, the newest last
  };
  std::unique_ptr<LastArrays> last_arrays_ = std::make_unique<LastArrays>();
  [[nodiscard]] Values<std::byte> arrayBytes(std::uint32_t chunk) const;
  // Which arrays verifyArrays() has found to be what the directory states.
  struct Verified {
    std::function<void(const std::string& reason)> tell;
    std::mutex mutex;
    std::vector<bool> chunks;
  };
  std::unique_ptr<Verified> verified_;  // null: nobody asks
  std::string path_;                    // host form
  std::span<const std::byte> bytes_;    // empty when they are read
  std::uint64_t size_ = 0;
  std::vector<Values<std::byte>> kept_;
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
  Table<format::PropertyRecord> properties_;
};

}  // namespace Orb::Zix
