// What a scene holds in memory until closeFile: one small record per object, as it will be in the file, and
// of each distinct array its entry in the directory (40 bytes) and its place among those that later ones are
// compared with (array_store.h). The records live in deques, which grow without copying and without spare
// room worth mentioning, because the scene's promise is 64 MB plus 200 bytes and the name per object,
// whatever the arrays hold.
#pragma once

#include <deque>
#include <map>
#include <new>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "zix/array_store.h"
#include "zix/bounds.h"
#include "zix/format.h"
#include "zix/output_file.h"
#include "zix/zix.h"

namespace Orb::Zix {

// All texts of a scene, one after another.
class TextPool {
 public:
  struct Reference {
    std::uint64_t offset = 0;
    std::uint32_t size = 0;
  };
  // Throws SceneError for a text of 4 GiB and more.
  Reference add(std::string_view text);
  [[nodiscard]] bool equals(const Reference& reference, std::string_view text) const;
  [[nodiscard]] std::string text(const Reference& reference) const;
  [[nodiscard]] const std::deque<char>& bytes() const { return bytes_; }

 private:
  std::deque<char> bytes_;
};

// What the scene knows about an array of coordinates in addition to its record.
struct CoordinatesState {
  format::CoordinatesRecord record{3, format::kNone, 0, 0};
  BoxF box;
};

struct Scene_V0::Impl {
  explicit Impl(std::string_view name) : model_name(texts.add(name)) {}

  // --- wrong use: all of these throw SceneError ---------------------------------------------------------
  // The object's number, if the id is one of this scene's and of this type. `call` goes into the message.
  std::uint32_t checked(const ObjectId& id, const char* call) const;
  std::uint32_t checked(const ObjectId& id, ObjectType type, const char* call) const;
  // The same, also of a closed scene.
  std::uint32_t idToNumber(const ObjectId& id, const char* call) const;
  void refuseWhenClosed(const char* call) const;
  [[noreturn]] void refuse(const char* call, std::uint32_t object, std::string_view reason) const;
  // "Mesh 'mesh' (object 12)".
  [[nodiscard]] std::string describe(std::uint32_t object) const;

  // --- objects ------------------------------------------------------------------------------------------
  format::ObjectRecord& create(ObjectType type);
  std::uint64_t attach(const ObjectId& parent, const ObjectId& child, const ObjectId* transform);
  // The topmost object above `object`, itself when it is attached to nothing.
  std::uint32_t treeTop(std::uint32_t object);
  // Gives every parent its place in the child table and returns the table.
  std::vector<std::uint32_t> makeChildTable();

  // Runs the allocating part of a call. If memory runs out, the call is incomplete, so the whole scene is
  // marked as failed.
  template <typename Call>
  auto whole(Call call) {
    try {
      return call();
    } catch (const std::bad_alloc&) {
      out_of_memory = true;
      throw;
    }
  }

  // --- the file -----------------------------------------------------------------------------------------
  // Keeps the first failure for closeFile.
  void keep(const std::optional<OutputFailure>& failure);
  // Stores an array and returns the number of the chunk that holds it, also after a failure, which `keep`
  // has. With `box` the finite points of tuples of `record_size / 4` floats are added to it.
  std::uint32_t writeArray(std::uint32_t chunk_type, std::uint32_t record_size,
                           std::span<const std::byte> bytes, BoxF* box);
  // Makes the rows of the properties that the program has set.
  void takeProperties();
  // That a file with this scene must state.
  [[nodiscard]] std::uint16_t lowestMinorVersion() const;
  void finishFile();

  std::deque<format::ObjectRecord> objects;
  std::deque<std::uint32_t> tops;         // per object: parent pointer of the union-find in treeTop
  std::deque<std::uint32_t> attachments;  // children in the order in which they were attached
  std::deque<format::MeshRecord> meshes;
  std::deque<format::TransformRecord> transforms;
  std::deque<format::MaterialRecord> materials;
  std::deque<CoordinatesState> coordinates;
  std::deque<format::IndexArrayRecord> index_arrays;
  std::deque<format::ChunkEntry> chunks;
  std::vector<format::ViewRecord> views;
  std::deque<format::PropertyRecord> properties;  // made by closeFile
  TextPool texts;
  TextPool::Reference model_name;
  format::SceneRecord scene{};
  // The last name given to an object of each type: "mesh" and "Material" are then in the file once.
  std::vector<std::pair<std::uint32_t, TextPool::Reference>> last_names;
  std::uint32_t root = format::kNone;
  std::uint32_t node_count = 0;
  std::uint32_t shape_count = 0;

  bool bound = false;  // saveTo was called
  bool closed = false;
  bool out_of_memory = false;  // once is enough: closeFile fails
  std::string bound_path;
  std::optional<std::string> failure;
  OutputFile file;
  ArrayStore arrays{file, chunks};
};

}  // namespace Orb::Zix
