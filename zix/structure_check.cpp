#include "zix/structure_check.h"

#include <algorithm>

#include "zix/checksum.h"
#include "zix/object_names.h"

namespace Orb::Zix {

using format::kNone;

namespace {

// Every refusal goes through here.
std::optional<ReadError> refuse(const char* code, std::uint64_t offset, std::string message) {
  return ReadError{code, offset, std::move(message), ""};
}

std::string number(std::uint64_t value) { return std::to_string(value); }

struct KnownChunk {
  std::uint32_t type;
  std::uint32_t record_size;  // of version 1.0
};

constexpr KnownChunk kTables[] = {{format::kSceneChunk, sizeof(format::SceneRecord)},
                                  {format::kTextChunk, 1},
                                  {format::kObjectChunk, sizeof(format::ObjectRecord)},
                                  {format::kChildChunk, sizeof(std::uint32_t)},
                                  {format::kMeshChunk, sizeof(format::MeshRecord)},
                                  {format::kCoordinatesChunk, sizeof(format::CoordinatesRecord)},
                                  {format::kIndexChunk, sizeof(format::IndexArrayRecord)},
                                  {format::kTransformChunk, sizeof(format::TransformRecord)},
                                  {format::kMaterialChunk, sizeof(format::MaterialRecord)},
                                  {format::kViewChunk, sizeof(format::ViewRecord)}};

const KnownChunk* knownTable(std::uint32_t type) {
  const auto* found = std::find_if(std::begin(kTables), std::end(kTables),
                                   [&](const KnownChunk& known) { return known.type == type; });
  return found == std::end(kTables) ? nullptr : found;
}

bool isArray(std::uint32_t type) {
  return type == format::kFloatArrayChunk || type == format::kIndexArrayChunk;
}

// The type of object that one of each type hangs under, by type number; 0 for those outside the tree.
constexpr std::array<std::uint8_t, 20> kParentTypes = [] {
  std::array<std::uint8_t, 20> parents{};
  const auto hangsUnder = [&](ObjectType child, ObjectType parent) {
    parents[static_cast<std::size_t>(child)] = static_cast<std::uint8_t>(parent);
  };
  hangsUnder(ObjectType::Node, ObjectType::Node);
  hangsUnder(ObjectType::Shape, ObjectType::Node);
  hangsUnder(ObjectType::Mesh, ObjectType::Shape);
  return parents;
}();

// Texts, child numbers and indices are plain arrays: their record size never grows.
bool hasFixedRecordSize(std::uint32_t type) {
  return type == format::kTextChunk || type == format::kChildChunk || type == format::kIndexArrayChunk;
}

}  // namespace

std::string chunkTypeText(std::uint32_t type) {
  std::string text;
  for (int i = 0; i < 4; ++i) {
    const auto c = static_cast<char>(type >> (8 * i) & 0xFFU);
    text += c >= ' ' && c <= '~' ? c : '?';
  }
  return text;
}

std::uint64_t StructureCheck::placeOf(std::size_t chunk, std::size_t row) const {
  const format::ChunkEntry entry = scene_.chunks_[chunk];
  return entry.offset + row * entry.record_size;
}

std::optional<ReadError> StructureCheck::run() {
  if (auto failure = checkHeader()) return failure;
  if (auto failure = checkDirectory()) return failure;
  if (auto failure = findTables()) return failure;
  if (auto failure = checkTexts()) return failure;
  if (auto failure = checkObjects()) return failure;
  if (auto failure = checkChildren()) return failure;
  if (auto failure = checkCycles()) return failure;
  if (auto failure = checkMeshes()) return failure;
  return checkArrays();
}

std::optional<ReadError> StructureCheck::checkHeader() {
  const auto bytes = scene_.bytes_;
  const std::size_t magic_size = std::min(bytes.size(), format::kMagic.size());
  if (magic_size == 0) return refuse("NOT_ZIX", 0, "the file is empty");
  if (std::memcmp(bytes.data(), format::kMagic.data(), magic_size) != 0) {
    return refuse("NOT_ZIX", 0, "this is no Zix file: it does not begin with the Zix signature");
  }
  format::Header& header = scene_.header_;
  if (bytes.size() < sizeof(header)) {
    return refuse("TRUNCATED", bytes.size(),
                  "the file ends within its header, after " + number(bytes.size()) + " bytes");
  }
  std::memcpy(&header, bytes.data(), sizeof(header));
  // The version first: what follows may mean something else in another one.
  if (header.major_version != format::kMajorVersion) {
    return refuse("UNKNOWN_VERSION", offsetof(format::Header, major_version),
                  "the file has the format version " + number(header.major_version) + "." +
                      number(header.minor_version) + "; this program reads version " +
                      number(format::kMajorVersion));
  }
  constexpr std::size_t kCovered = offsetof(format::Header, header_checksum);
  if (checksum(bytes.first(kCovered)) != header.header_checksum) {
    return refuse("HEADER_CHECKSUM", kCovered, "the header is damaged: its checksum differs");
  }
  if (header.header_size != sizeof(header)) {
    return refuse("HEADER_SIZE", offsetof(format::Header, header_size),
                  "the header states a size of " + number(header.header_size) + " instead of 64 bytes");
  }
  if (header.file_size != bytes.size()) {
    return refuse(
        header.file_size > bytes.size() ? "TRUNCATED" : "EXTRA_BYTES", bytes.size(),
        "the file has " + number(bytes.size()) + " bytes and should have " + number(header.file_size));
  }
  return std::nullopt;
}

std::optional<ReadError> StructureCheck::checkDirectory() {
  const format::Header& header = scene_.header_;
  const auto bytes = scene_.bytes_;
  const std::uint64_t offset = header.directory_offset;
  if (offset % format::kAlignment != 0 || offset < sizeof(header) || offset > bytes.size() ||
      header.chunk_count > (bytes.size() - offset) / sizeof(format::ChunkEntry) ||
      offset + header.chunk_count * sizeof(format::ChunkEntry) != bytes.size()) {
    return refuse("DIRECTORY_PLACE", offsetof(format::Header, directory_offset),
                  "a directory of " + number(header.chunk_count) + " chunks at offset " + number(offset) +
                      " does not end with the file");
  }
  const auto directory = bytes.subspan(static_cast<std::size_t>(offset));
  if (checksum(directory) != header.directory_checksum) {
    return refuse("DIRECTORY_CHECKSUM", offset, "the chunk directory is damaged: its checksum differs");
  }
  scene_.chunks_ = Table<format::ChunkEntry>(directory, sizeof(format::ChunkEntry));
  table_chunks_.fill(kNotFound);
  static_assert(std::tuple_size_v<decltype(table_chunks_)> == std::size(kTables));
  std::uint64_t end = sizeof(header);
  for (std::size_t i = 0; i < scene_.chunks_.size(); ++i) {
    if (auto failure = checkChunk(i, &end)) return failure;
  }
  if (format::alignUp(end) != offset) {
    return refuse("CHUNK_PLACE", offset,
                  "the directory does not follow the last chunk, which ends at " + number(end));
  }
  return std::nullopt;
}

std::optional<ReadError> StructureCheck::checkChunk(std::size_t i, std::uint64_t* end) {
  const format::ChunkEntry entry = scene_.chunks_[i];
  const std::uint64_t place = scene_.header_.directory_offset + i * sizeof(format::ChunkEntry);
  const auto name = [&] { return "chunk " + number(i) + " (" + chunkTypeText(entry.type) + ")"; };
  if (entry.offset != format::alignUp(*end)) {
    return refuse(
        "CHUNK_PLACE", place,
        name() + " stands at " + number(entry.offset) + " instead of " + number(format::alignUp(*end)));
  }
  if (entry.offset > scene_.header_.directory_offset ||
      entry.size > scene_.header_.directory_offset - entry.offset) {
    return refuse("CHUNK_PLACE", place,
                  name() + " of " + number(entry.size) + " bytes runs into the directory");
  }
  *end = entry.offset + entry.size;
  // Most chunks are small: a division of 32 bits takes a fraction of one of 64.
  const auto isMultiple = [](std::uint64_t size, std::uint32_t of) {
    return size <= UINT32_MAX ? static_cast<std::uint32_t>(size) % of == 0 : size % of == 0;
  };
  if (entry.record_size == 0 || !isMultiple(entry.size, entry.record_size)) {
    return refuse("RECORD_SIZE", place,
                  name() + " of " + number(entry.size) + " bytes does not hold whole records of " +
                      number(entry.record_size));
  }
  const bool is_array = isArray(entry.type);
  const KnownChunk* const table = is_array ? nullptr : knownTable(entry.type);
  if (table == nullptr && !is_array) {
    if ((entry.flags & format::kChunkMustBeKnown) == 0) return std::nullopt;
    return refuse("UNKNOWN_CHUNK", place, name() + " is of an unknown type that a reader must know");
  }
  if (table != nullptr) {
    std::size_t& known = table_chunks_[static_cast<std::size_t>(table - std::begin(kTables))];
    if (known != kNotFound) return refuse("DUPLICATE_CHUNK", place, name() + " is the second of its type");
    known = i;
  }
  const std::uint32_t smallest = table != nullptr ? table->record_size : 4;
  const bool exact = hasFixedRecordSize(entry.type) ||
                     (table != nullptr && scene_.header_.minor_version <= format::kMinorVersion);
  if (entry.record_size < smallest || entry.record_size % (entry.type == format::kTextChunk ? 1 : 4) != 0 ||
      (exact && entry.record_size != smallest)) {
    return refuse(
        "RECORD_SIZE", place,
        name() + " has records of " + number(entry.record_size) + " bytes instead of " + number(smallest));
  }
  return std::nullopt;
}

template <typename T>
std::optional<ReadError> StructureCheck::findTable(std::uint32_t type, Table<T>& table,
                                                   std::size_t* chunk_number) {
  const std::size_t found = table_chunks_[static_cast<std::size_t>(knownTable(type) - std::begin(kTables))];
  if (found == kNotFound) {
    return refuse("MISSING_CHUNK", scene_.header_.directory_offset,
                  "there is no chunk of type " + chunkTypeText(type));
  }
  const format::ChunkEntry entry = scene_.chunks_[found];
  if (!scene_.verifyChunk(found)) {
    return refuse(
        "CHUNK_CHECKSUM", entry.offset,
        "chunk " + number(found) + " (" + chunkTypeText(type) + ") is damaged: its checksum differs");
  }
  table = Table<T>(scene_.chunkBytes(found), entry.record_size);
  if (chunk_number != nullptr) *chunk_number = found;
  return std::nullopt;
}

std::optional<ReadError> StructureCheck::findTables() {
  Table<format::SceneRecord> scene;
  Table<std::byte> texts;
  Table<std::uint32_t> children;
  std::size_t text_chunk = 0;
  std::size_t child_chunk = 0;
  if (auto failure = findTable(format::kSceneChunk, scene, &scene_chunk_)) return failure;
  if (auto failure = findTable(format::kTextChunk, texts, &text_chunk)) return failure;
  if (auto failure = findTable(format::kObjectChunk, scene_.objects_, &object_chunk_)) return failure;
  if (auto failure = findTable(format::kChildChunk, children, &child_chunk)) return failure;
  if (auto failure = findTable(format::kMeshChunk, scene_.meshes_, &mesh_chunk_)) return failure;
  if (auto failure = findTable(format::kCoordinatesChunk, scene_.coordinates_, &coordinates_chunk_))
    return failure;
  if (auto failure = findTable(format::kIndexChunk, scene_.index_arrays_, &index_chunk_)) return failure;
  if (auto failure = findTable(format::kTransformChunk, scene_.transforms_, nullptr)) return failure;
  if (auto failure = findTable(format::kMaterialChunk, scene_.materials_, nullptr)) return failure;
  if (auto failure = findTable(format::kViewChunk, scene_.views_, &view_chunk_)) return failure;
  if (scene.size() != 1) {
    return refuse("SCENE_COUNT", placeOf(scene_chunk_, 0),
                  "there are " + number(scene.size()) + " scene records instead of 1");
  }
  scene_.scene_ = scene[0];
  scene_.texts_ = scene_.chunkBytes(text_chunk);
  const auto child_bytes = scene_.chunkBytes(child_chunk);
  scene_.children_ = {reinterpret_cast<const std::uint32_t*>(child_bytes.data()), children.size()};
  if (scene_.objects_.size() >= kNone) {
    return refuse("OBJECT_COUNT", placeOf(object_chunk_, 0),
                  "there are too many objects: " + number(scene_.objects_.size()));
  }
  collectTypes();
  return std::nullopt;
}

void StructureCheck::collectTypes() {
  types_.resize(scene_.objects_.size());
  for (std::size_t i = 0; i < types_.size(); ++i) {
    const std::uint32_t type = scene_.objects_[i].type;
    types_[i] = isObjectType(type) ? static_cast<std::uint8_t>(type) : std::uint8_t{0};
  }
}

std::optional<ReadError> StructureCheck::checkTexts() {
  const format::SceneRecord& scene = scene_.scene_;
  if (!isText(scene.model_name_offset, scene.model_name_size) ||
      !isText(scene.application_offset, scene.application_size) ||
      !isText(scene.save_text_offset, scene.save_text_size)) {
    return refuse("TEXT_RANGE", placeOf(scene_chunk_, 0),
                  "a text of the scene record lies outside the texts");
  }
  if (!isNoneOr(scene.root, ObjectType::Node)) {
    return refuse("OBJECT_NUMBER", placeOf(scene_chunk_, 0),
                  "the root, object " + number(scene.root) + ", is no Node");
  }
  for (std::size_t i = 0; i < scene_.views_.size(); ++i) {
    const format::ViewRecord view = scene_.views_[i];
    if (!isText(view.name_offset, view.name_size)) {
      return refuse("TEXT_RANGE", placeOf(view_chunk_, i),
                    "the name of view " + number(i) + " lies outside the texts");
    }
  }
  return std::nullopt;
}

std::optional<ReadError> StructureCheck::checkObjects() {
  for (std::uint32_t i = 0; i < scene_.objectCount(); ++i) {
    const format::ObjectRecord object = scene_.objects_[i];
    if (!isRight(i, object)) return whatIsWrong(i, object);
    ++ordinals_[object.type];
    if (object.parent == kNone) continue;
    if (object.parent >= i) parents_come_first_ = false;
    ++attached_;
  }
  const auto count = [&](ObjectType type) { return ordinals_[static_cast<std::size_t>(type)]; };
  if (count(ObjectType::Mesh) != scene_.meshes_.size() ||
      count(ObjectType::Coordinates) != scene_.coordinates_.size() ||
      count(ObjectType::IndexArray) != scene_.index_arrays_.size() ||
      count(ObjectType::Transform) != scene_.transforms_.size() ||
      count(ObjectType::Material) != scene_.materials_.size()) {
    return refuse("TABLE_ROWS", placeOf(object_chunk_, 0),
                  "a table's rows are not as many as the objects of its type");
  }
  return std::nullopt;
}

// All rules of one record at once; which of them is broken is asked only when one is.
bool StructureCheck::isRight(std::uint32_t i, const format::ObjectRecord& object) const {
  const std::uint8_t type = types_[i];
  const std::uint8_t parent_type = kParentTypes[type];
  const bool in_tree = parent_type != 0;
  const bool has_parent = object.parent != kNone;
  const bool parent_fits = in_tree && object.parent < types_.size() && types_[object.parent] == parent_type;
  return type != 0 && object.ordinal == ordinals_[type] && isText(object.name_offset, object.name_size) &&
         (object.placement == kNone || (has_parent && isType(object.placement, ObjectType::Transform))) &&
         (object.material == kNone || (in_tree && isType(object.material, ObjectType::Material))) &&
         (object.child_count != 0 || object.first_child == 0) && (!has_parent || parent_fits);
}

std::optional<ReadError> StructureCheck::whatIsWrong(std::uint32_t i,
                                                     const format::ObjectRecord& object) const {
  const auto refuseObject = [&](const char* code, const std::string& message) {
    return refuse(code, placeOf(object_chunk_, i), "object " + number(i) + " " + message);
  };
  if (!isObjectType(object.type)) {
    return refuseObject("OBJECT_TYPE", "has the unknown type " + number(object.type));
  }
  if (object.ordinal != ordinals_[object.type]) {
    return refuseObject("OBJECT_ORDINAL", "has the ordinal " + number(object.ordinal) + " instead of " +
                                              number(ordinals_[object.type]));
  }
  if (!isText(object.name_offset, object.name_size)) {
    return refuseObject("TEXT_RANGE", "has a name of " + number(object.name_size) + " bytes at " +
                                          number(object.name_offset) + ", outside the texts");
  }
  if (!isNoneOr(object.placement, ObjectType::Transform) ||
      (object.placement != kNone && object.parent == kNone)) {
    return refuseObject("OBJECT_NUMBER", "cannot be placed by object " + number(object.placement));
  }
  const bool in_tree = kParentTypes[object.type] != 0;
  if (!isNoneOr(object.material, ObjectType::Material) || (object.material != kNone && !in_tree)) {
    return refuseObject("OBJECT_NUMBER",
                        "cannot have object " + number(object.material) + " as its material");
  }
  if (object.child_count == 0 && object.first_child != 0) {
    return refuseObject("CHILDREN", "has no children, but a first one");
  }
  return refuseObject("OBJECT_NUMBER", "cannot hang under object " + number(object.parent));
}

// Once all parents are known to be objects: else a wrong parent would be reported as a wrong list.
std::optional<ReadError> StructureCheck::checkChildren() {
  is_listed_.resize(scene_.objectCount());
  for (std::uint32_t i = 0; i < scene_.objectCount(); ++i) {
    const format::ObjectRecord object = scene_.objects_[i];
    if (object.child_count == 0) continue;
    if (auto failure = checkObjectChildren(i, object)) return failure;
  }
  // Nothing is listed twice, and only under its own parent: so equal counts say that nobody is left out.
  if (listed_ != scene_.children_.size() || listed_ != attached_) {
    return refuse("CHILDREN", placeOf(object_chunk_, 0),
                  number(attached_) + " objects have a parent, and parents list " + number(listed_) + " of " +
                      number(scene_.children_.size()) + " children");
  }
  return std::nullopt;
}

std::optional<ReadError> StructureCheck::checkObjectChildren(std::uint32_t i,
                                                             const format::ObjectRecord& object) {
  const auto refuseChildren = [&](const std::string& message) {
    return refuse("CHILDREN", placeOf(object_chunk_, i), "object " + number(i) + " " + message);
  };
  // Parents take their children from the child table one after another.
  if (object.first_child != listed_ || object.child_count > scene_.children_.size() - listed_) {
    return refuseChildren("has " + number(object.child_count) + " children from row " +
                          number(object.first_child) + " on, of " + number(scene_.children_.size()) +
                          " rows");
  }
  for (const std::uint32_t child : scene_.children_.subspan(listed_, object.child_count)) {
    if (child >= types_.size() || scene_.objects_[child].parent != i) {
      return refuseChildren("lists object " + number(child) + ", which does not hang under it");
    }
    if (is_listed_[child]) return refuseChildren("lists object " + number(child) + " twice");
    is_listed_[child] = true;
  }
  listed_ += object.child_count;
  return std::nullopt;
}

// Where every parent has a lower number than its children there can be no cycle; otherwise the trees are
// walked from their tops.
std::optional<ReadError> StructureCheck::checkCycles() {
  if (parents_come_first_) return std::nullopt;
  std::vector<std::uint32_t> open;
  for (std::uint32_t i = 0; i < scene_.objectCount(); ++i) {
    if (scene_.objects_[i].parent == kNone) open.push_back(i);
  }
  std::uint64_t found = 0;
  while (!open.empty()) {
    const auto children = scene_.children(open.back());
    open.pop_back();
    found += children.size();
    open.insert(open.end(), children.begin(), children.end());
  }
  if (found == attached_) return std::nullopt;
  return refuse("CYCLE", placeOf(object_chunk_, 0), "some objects hang under themselves");
}

std::optional<ReadError> StructureCheck::checkMeshes() {
  for (std::size_t i = 0; i < scene_.meshes_.size(); ++i) {
    const format::MeshRecord mesh = scene_.meshes_[i];
    const auto refuseMesh = [&](const char* code, const std::string& message) {
      return refuse(code, placeOf(mesh_chunk_, i), "mesh " + number(i) + " " + message);
    };
    if (mesh.mesh_type > static_cast<std::uint32_t>(MeshType::Points)) {
      return refuseMesh("MESH_TYPE", "has the unknown mesh type " + number(mesh.mesh_type));
    }
    if (!isNoneOr(mesh.coordinates, ObjectType::Coordinates)) {
      return refuseMesh("OBJECT_NUMBER",
                        "has coordinates that are no Coordinates object: " + number(mesh.coordinates));
    }
    if (!isNoneOr(mesh.indices, ObjectType::IndexArray) || !isNoneOr(mesh.lengths, ObjectType::IndexArray)) {
      return refuseMesh("OBJECT_NUMBER", "has a connectivity that is no IndexArray object: " +
                                             number(mesh.indices) + ", " + number(mesh.lengths));
    }
  }
  return std::nullopt;
}

std::optional<ReadError> StructureCheck::checkArrays() {
  const auto isChunk = [&](std::uint32_t chunk, std::uint32_t type, std::uint64_t record_size) {
    if (chunk == kNone) return true;
    if (chunk >= scene_.chunks_.size()) return false;
    const format::ChunkEntry entry = scene_.chunks_[chunk];
    return entry.type == type && entry.record_size == record_size;
  };
  for (std::size_t i = 0; i < scene_.coordinates_.size(); ++i) {
    const format::CoordinatesRecord record = scene_.coordinates_[i];
    if (record.dimension == 0 || record.dimension > 255) {
      return refuse("DIMENSION", placeOf(coordinates_chunk_, i),
                    "coordinates " + number(i) + " have the dimension " + number(record.dimension));
    }
    if (!isChunk(record.chunk, format::kFloatArrayChunk, sizeof(float) * record.dimension)) {
      return refuse(
          "ARRAY_CHUNK", placeOf(coordinates_chunk_, i),
          "coordinates " + number(i) + " cannot have chunk " + number(record.chunk) + " as their values");
    }
  }
  for (std::size_t i = 0; i < scene_.index_arrays_.size(); ++i) {
    const format::IndexArrayRecord record = scene_.index_arrays_[i];
    if (!isChunk(record.chunk, format::kIndexArrayChunk, sizeof(std::uint32_t))) {
      return refuse(
          "ARRAY_CHUNK", placeOf(index_chunk_, i),
          "index array " + number(i) + " cannot have chunk " + number(record.chunk) + " as its values");
    }
  }
  return std::nullopt;
}

}  // namespace Orb::Zix
