// The container: header, chunk directory, and the tables that a file must have. What the tables say is
// checked in structure_check_tables.cpp.
#include "zix/structure_check.h"

#include <algorithm>

#include "zix/checksum.h"

namespace Orb::Zix {

using format::kNone;

namespace {

struct KnownTable {
  std::uint32_t type;
  std::span<const format::RecordSize> sizes;
};

constexpr format::RecordSize kTextSizes[] = {{0, 1}};
constexpr format::RecordSize kNumberSizes[] = {{0, sizeof(std::uint32_t)}};
constexpr KnownTable kTables[] = {{format::kSceneChunk, format::SceneRecord::kSizes},
                                  {format::kTextChunk, kTextSizes},
                                  {format::kObjectChunk, format::ObjectRecord::kSizes},
                                  {format::kChildChunk, kNumberSizes},
                                  {format::kMeshChunk, format::MeshRecord::kSizes},
                                  {format::kCoordinatesChunk, format::CoordinatesRecord::kSizes},
                                  {format::kIndexChunk, format::IndexArrayRecord::kSizes},
                                  {format::kTransformChunk, format::TransformRecord::kSizes},
                                  {format::kMaterialChunk, format::MaterialRecord::kSizes},
                                  {format::kViewChunk, format::ViewRecord::kSizes},
                                  {format::kPropertyChunk, format::PropertyRecord::kSizes}};

const KnownTable* knownTable(std::uint32_t type) {
  const auto* found = std::find_if(std::begin(kTables), std::end(kTables),
                                   [&](const KnownTable& known) { return known.type == type; });
  return found == std::end(kTables) ? nullptr : found;
}

bool isArray(std::uint32_t type) {
  return type == format::kFloatArrayChunk || type == format::kIndexArrayChunk;
}

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
  if (auto failure = checkArrays()) return failure;
  return checkProperties();
}

std::optional<ReadError> StructureCheck::checkHeader() {
  const std::uint64_t size = scene_.size_;
  const auto bytes = scene_.read(0, std::min<std::uint64_t>(size, sizeof(format::Header)));
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
  if (header.file_size != size) {
    return refuse(header.file_size > size ? "TRUNCATED" : "EXTRA_BYTES", size,
                  "the file has " + number(size) + " bytes and should have " + number(header.file_size));
  }
  return std::nullopt;
}

std::optional<ReadError> StructureCheck::checkDirectory() {
  const format::Header& header = scene_.header_;
  const std::uint64_t size = scene_.size_;
  const std::uint64_t offset = header.directory_offset;
  if (offset % format::kAlignment != 0 || offset < sizeof(header) || offset > size ||
      header.chunk_count > (size - offset) / sizeof(format::ChunkEntry) ||
      offset + header.chunk_count * sizeof(format::ChunkEntry) != size) {
    return refuse("DIRECTORY_PLACE", offsetof(format::Header, directory_offset),
                  "a directory of " + number(header.chunk_count) + " chunks at offset " + number(offset) +
                      " does not end with the file");
  }
  const auto directory = scene_.keep(scene_.read(offset, size - offset));
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
  const std::uint16_t minor = scene_.header_.minor_version;
  // A type that the file's version does not have is unknown, as it is to readers of that version.
  const KnownTable* table = is_array ? nullptr : knownTable(entry.type);
  if (table != nullptr && format::recordSizeIn(table->sizes, minor) == 0) table = nullptr;
  if (table == nullptr && !is_array) {
    if ((entry.flags & format::kChunkMustBeKnown) == 0) return std::nullopt;
    return refuse("UNKNOWN_CHUNK", place, name() + " is of an unknown type that a reader must know");
  }
  if (table != nullptr) {
    std::size_t& known = table_chunks_[static_cast<std::size_t>(table - std::begin(kTables))];
    if (known != kNotFound) return refuse("DUPLICATE_CHUNK", place, name() + " is the second of its type");
    known = i;
  }
  // A later version may have added fields; every version up to the known one has its size.
  const std::uint32_t smallest = table != nullptr ? format::recordSizeIn(table->sizes, minor) : 4;
  const bool exact =
      hasFixedRecordSize(entry.type) || (table != nullptr && minor <= format::kNewestKnownMinor);
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
  const auto bytes = scene_.keep(scene_.chunkBytes(found));
  if (checksum(bytes) != entry.checksum) {
    return refuse(
        "CHUNK_CHECKSUM", entry.offset,
        "chunk " + number(found) + " (" + chunkTypeText(type) + ") is damaged: its checksum differs");
  }
  table = Table<T>(bytes, entry.record_size);
  if (chunk_number != nullptr) *chunk_number = found;
  return std::nullopt;
}

std::optional<ReadError> StructureCheck::findTables() {
  Table<format::SceneRecord> scene;
  Table<std::byte> texts;
  Table<std::uint32_t> children;
  if (auto failure = findTable(format::kSceneChunk, scene, &scene_chunk_)) return failure;
  if (auto failure = findTable(format::kTextChunk, texts, nullptr)) return failure;
  if (auto failure = findTable(format::kObjectChunk, scene_.objects_, &object_chunk_)) return failure;
  if (auto failure = findTable(format::kChildChunk, children, nullptr)) return failure;
  if (auto failure = findTable(format::kMeshChunk, scene_.meshes_, &mesh_chunk_)) return failure;
  if (auto failure = findTable(format::kCoordinatesChunk, scene_.coordinates_, &coordinates_chunk_))
    return failure;
  if (auto failure = findTable(format::kIndexChunk, scene_.index_arrays_, &index_chunk_)) return failure;
  if (auto failure = findTable(format::kTransformChunk, scene_.transforms_, nullptr)) return failure;
  if (auto failure = findTable(format::kMaterialChunk, scene_.materials_, nullptr)) return failure;
  if (auto failure = findTable(format::kViewChunk, scene_.views_, &view_chunk_)) return failure;
  if (table_chunks_.back() != kNotFound) {  // no file need have properties
    if (auto failure = findTable(format::kPropertyChunk, scene_.properties_, &property_chunk_))
      return failure;
  }
  if (scene.size() != 1) {
    return refuse("SCENE_COUNT", placeOf(scene_chunk_, 0),
                  "there are " + number(scene.size()) + " scene records instead of 1");
  }
  scene_.scene_ = scene[0];
  scene_.texts_ = texts.bytes();
  scene_.children_ = {reinterpret_cast<const std::uint32_t*>(children.bytes().data()), children.size()};
  if (scene_.objects_.size() >= kNone) {
    return refuse("OBJECT_COUNT", placeOf(object_chunk_, 0),
                  "there are too many objects: " + number(scene_.objects_.size()));
  }
  collectTypes();
  return std::nullopt;
}

}  // namespace Orb::Zix
