// Zix files put together by hand, field by field, without the writer: good ones for the reader and the
// document, and bad ones for every refusal. `build` lays the chunks out and fills in offsets and checksums,
// so that a test damages exactly what it means to damage.
#pragma once

#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "zix/checksum.h"
#include "zix/format.h"

namespace loftbay::testing_support {

namespace zf = Orb::Zix::format;

struct BuiltChunk {
  std::uint32_t type;
  std::uint32_t record_size;
  std::string bytes;
  std::uint32_t flags = 0;
};

template <typename T>
std::string recordBytes(const T& record) {
  return {reinterpret_cast<const char*>(&record), sizeof(T)};
}

class ZixBuilder {
 public:
  ZixBuilder() { scene.root = zf::kNone; }

  zf::SceneRecord scene{};
  std::string texts;
  std::vector<zf::ObjectRecord> objects;
  std::vector<std::uint32_t> children;
  std::vector<zf::MeshRecord> meshes;
  std::vector<zf::CoordinatesRecord> coordinates;
  std::vector<zf::IndexArrayRecord> index_arrays;
  std::vector<zf::TransformRecord> transforms;
  std::vector<zf::MaterialRecord> materials;
  std::vector<zf::ViewRecord> views;
  std::vector<zf::PropertyRecord> properties;  // a table only when there are any
  std::vector<BuiltChunk> arrays;              // before the tables
  std::vector<BuiltChunk> others;              // after the tables
  std::uint32_t left_out = 0;                  // type of a table that is not written
  std::uint16_t major_version = zf::kMajorVersion;
  // Rows have the size of this version: of the newest known one, if the file's is later.
  std::uint16_t minor_version = zf::kNewestKnownMinor;

  // An object without a parent; the ordinal is counted.
  std::uint32_t add(Orb::Zix::format::ObjectRecord object) {
    for (const auto& other : objects) object.ordinal += other.type == object.type ? 1 : 0;
    objects.push_back(object);
    return static_cast<std::uint32_t>(objects.size() - 1);
  }
  static zf::ObjectRecord plain(std::uint32_t type) {
    return {type, 0, 0, 0, zf::kNone, zf::kNone, zf::kNone, 0, 0};
  }
  // A text behind the others; its offset.
  std::uint64_t addText(std::string_view text) {
    texts += text;
    return texts.size() - text.size();
  }
  void addProperty(std::uint32_t object, std::string_view key, std::string_view value) {
    zf::PropertyRecord row{};
    row.key_offset = addText(key);
    row.key_size = static_cast<std::uint32_t>(key.size());
    row.value_offset = addText(value);
    row.value_size = static_cast<std::uint32_t>(value.size());
    row.object = object;
    properties.push_back(row);
  }
  void addArray(std::uint32_t type, std::uint32_t record_size, const std::string& bytes) {
    arrays.push_back({type, record_size, bytes});
  }

  [[nodiscard]] std::string build() const {
    std::vector<BuiltChunk> chunks = arrays;
    const auto table = [&](std::uint32_t type, const auto& rows) {
      using Row = typename std::decay_t<decltype(rows)>::value_type;
      std::string bytes;
      std::uint32_t size = sizeof(Row);
      if constexpr (requires { Row::kSizes; }) size = zf::recordSizeIn(Row::kSizes, minor_version);
      for (const auto& row : rows) bytes += recordBytes(row).substr(0, size);
      if (type != left_out) chunks.push_back({type, size, bytes});
    };
    table(zf::kSceneChunk, std::vector<zf::SceneRecord>{scene});
    table(zf::kTextChunk, texts);
    table(zf::kObjectChunk, objects);
    table(zf::kChildChunk, children);
    table(zf::kMeshChunk, meshes);
    table(zf::kCoordinatesChunk, coordinates);
    table(zf::kIndexChunk, index_arrays);
    table(zf::kTransformChunk, transforms);
    table(zf::kMaterialChunk, materials);
    table(zf::kViewChunk, views);
    if (!properties.empty()) table(zf::kPropertyChunk, properties);
    chunks.insert(chunks.end(), others.begin(), others.end());
    return layOut(chunks);
  }

 private:
  [[nodiscard]] std::string layOut(const std::vector<BuiltChunk>& chunks) const {
    std::string file(sizeof(zf::Header), '\0');
    std::string directory;
    for (const BuiltChunk& chunk : chunks) {
      file.resize(zf::alignUp(file.size()), '\0');
      directory += recordBytes(zf::ChunkEntry{chunk.type, chunk.flags, file.size(), chunk.bytes.size(),
                                              sum(chunk.bytes), chunk.record_size, 0});
      file += chunk.bytes;
    }
    file.resize(zf::alignUp(file.size()), '\0');
    zf::Header header{};
    header.magic = zf::kMagic;
    header.major_version = major_version;
    header.minor_version = minor_version;
    header.header_size = sizeof(header);
    header.directory_offset = file.size();
    header.chunk_count = chunks.size();
    header.directory_checksum = sum(directory);
    file += directory;
    header.file_size = file.size();
    header.header_checksum = sum(recordBytes(header).substr(0, 56));
    file.replace(0, sizeof(header), recordBytes(header));
    return file;
  }

  static std::uint64_t sum(const std::string& bytes) {
    return Orb::Zix::checksum(std::as_bytes(std::span(bytes.data(), bytes.size())));
  }
};

}  // namespace loftbay::testing_support
