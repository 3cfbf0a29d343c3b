// The bytes of a Zix file as C++ structures: header, chunk directory and table records. docs/zix-format.md
// is the text that defines them; writer and reader share this file. All numbers are little-endian, and the
// structures have no hidden padding, so that a record is copied to and from the file as it stands.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace Orb::Zix::format {

static_assert(std::endian::native == std::endian::little, "records are copied as they stand in the file");

inline constexpr std::array<unsigned char, 8> kMagic = {0x89, 'Z', 'I', 'X', '\r', '\n', 0x1A, '\n'};
// Files of another major version are refused.
inline constexpr std::uint16_t kMajorVersion = 1;
// The newest minor version that the structures below know. Files of later ones are read as far as these go.
// The writer states the lowest version that holds its scene.
inline constexpr std::uint16_t kNewestKnownMinor = 1;
// Every chunk starts at a multiple of this, and the bytes between two chunks are zero.
inline constexpr std::uint64_t kAlignment = 64;
// "No object", "no chunk".
inline constexpr std::uint32_t kNone = 0xFFFFFFFF;

constexpr std::uint64_t alignUp(std::uint64_t offset) {
  return (offset + kAlignment - 1) & ~(kAlignment - 1);
}

// Four characters as they are in the file.
constexpr std::uint32_t chunkType(const char (&text)[5]) {
  std::uint32_t value = 0;
  for (int i = 3; i >= 0; --i) value = value << 8 | static_cast<unsigned char>(text[i]);
  return value;
}

inline constexpr std::uint32_t kFloatArrayChunk = chunkType("F32A");
inline constexpr std::uint32_t kIndexArrayChunk = chunkType("U32A");
inline constexpr std::uint32_t kSceneChunk = chunkType("SCNE");
inline constexpr std::uint32_t kTextChunk = chunkType("TEXT");
inline constexpr std::uint32_t kObjectChunk = chunkType("OBJS");
inline constexpr std::uint32_t kChildChunk = chunkType("CHLD");
inline constexpr std::uint32_t kMeshChunk = chunkType("MESH");
inline constexpr std::uint32_t kCoordinatesChunk = chunkType("CRDS");
inline constexpr std::uint32_t kIndexChunk = chunkType("INDX");
inline constexpr std::uint32_t kTransformChunk = chunkType("XFRM");
inline constexpr std::uint32_t kMaterialChunk = chunkType("MATL");
inline constexpr std::uint32_t kViewChunk = chunkType("VIEW");
inline constexpr std::uint32_t kPropertyChunk = chunkType("PROP");

// Records grow at their end. A structure below lists the bytes that its record has since which minor version,
// beginning with the version that introduced its table and ending with its own size. A field that is added
// gets an initialiser for the rows of older files, which do not have it: 0, or kNone where it is the number
// of an object or chunk.
struct RecordSize {
  std::uint16_t since_minor;
  std::uint32_t bytes;
};

// The size of a record in a file of minor version `minor`; 0 when that version has no such table.
constexpr std::uint32_t recordSizeIn(std::span<const RecordSize> sizes, std::uint16_t minor) {
  std::uint32_t bytes = 0;
  for (const RecordSize& size : sizes) {
    if (size.since_minor <= minor) bytes = size.bytes;
  }
  return bytes;
}

// Whether a structure's list is in order: versions that are known, sizes that grow in steps that keep the
// fields of the next row aligned, the structure's own at the end.
template <typename Record>
constexpr bool hasItsListedSizes() {
  RecordSize before{0, 0};
  for (const RecordSize& size : Record::kSizes) {
    if (before.bytes != 0 && size.since_minor <= before.since_minor) return false;
    if (size.since_minor > kNewestKnownMinor) return false;
    if (size.bytes <= before.bytes || size.bytes % alignof(Record) != 0) return false;
    before = size;
  }
  return before.bytes == sizeof(Record);
}

// Chunk flag: a reader that does not know the chunk's type must refuse the file.
inline constexpr std::uint32_t kChunkMustBeKnown = 1;

struct Header {
  std::array<unsigned char, 8> magic;
  std::uint16_t major_version;
  std::uint16_t minor_version;
  std::uint32_t header_size;
  std::uint64_t file_size;
  std::uint64_t directory_offset;
  std::uint64_t chunk_count;
  std::uint64_t directory_checksum;
  std::uint64_t reserved;
  std::uint64_t header_checksum;  // of the 56 bytes before it
};
static_assert(sizeof(Header) == 64);

struct ChunkEntry {
  std::uint32_t type;
  std::uint32_t flags;
  std::uint64_t offset;
  std::uint64_t size;
  std::uint64_t checksum;
  std::uint32_t record_size;
  std::uint32_t reserved;
};
static_assert(sizeof(ChunkEntry) == 40);

struct SceneRecord {
  static constexpr RecordSize kSizes[] = {{0, 56}};
  double application_value;
  std::uint64_t model_name_offset;
  std::uint64_t application_offset;
  std::uint64_t save_text_offset;
  std::uint32_t model_name_size;
  std::uint32_t application_size;
  std::uint32_t save_text_size;
  std::uint32_t flags;
  std::uint32_t root;  // object number, or kNone
  std::uint32_t reserved;
};
static_assert(hasItsListedSizes<SceneRecord>());
inline constexpr std::uint32_t kSceneFirstFlag = 1;
inline constexpr std::uint32_t kSceneSecondFlag = 2;
inline constexpr std::uint32_t kSceneApplicationSet = 4;

struct ObjectRecord {
  static constexpr RecordSize kSizes[] = {{0, 40}};
  std::uint32_t type;     // ObjectType
  std::uint32_t ordinal;  // how many objects of the same type come before it: its row in that type's table
  std::uint64_t name_offset;
  std::uint32_t name_size;
  std::uint32_t parent;     // object number of the Node or Shape that holds it, or kNone
  std::uint32_t placement;  // object number of the Transform that places it under its parent, or kNone
  std::uint32_t material;   // object number of its Material, or kNone
  std::uint32_t first_child;
  std::uint32_t child_count;
};
static_assert(hasItsListedSizes<ObjectRecord>());

struct MeshRecord {
  static constexpr RecordSize kSizes[] = {{0, 24}};
  std::uint32_t mesh_type;
  std::uint32_t coordinates;  // object numbers, or kNone
  std::uint32_t indices;
  std::uint32_t lengths;
  std::uint32_t flags;
  std::uint32_t reserved;
};
static_assert(hasItsListedSizes<MeshRecord>());
inline constexpr std::uint32_t kMeshTypeSet = 1;

struct CoordinatesRecord {
  static constexpr RecordSize kSizes[] = {{0, 16}};
  std::uint32_t dimension;
  std::uint32_t chunk;  // number of its F32A chunk in the directory, or kNone: values never set
  std::uint32_t flags;
  std::uint32_t reserved;
};
static_assert(hasItsListedSizes<CoordinatesRecord>());
inline constexpr std::uint32_t kDimensionSet = 1;

struct IndexArrayRecord {
  static constexpr RecordSize kSizes[] = {{0, 8}};
  std::uint32_t chunk;  // number of its U32A chunk in the directory, or kNone: values never set
  std::uint32_t reserved;
};
static_assert(hasItsListedSizes<IndexArrayRecord>());

struct TransformRecord {
  static constexpr RecordSize kSizes[] = {{0, 48}};
  float translation[3];
  float rotation_axis[3];
  float rotation_angle_rad;
  float scale[3];
  std::uint32_t flags;
  std::uint32_t reserved;
};
static_assert(hasItsListedSizes<TransformRecord>());
inline constexpr std::uint32_t kTranslationSet = 1;
inline constexpr std::uint32_t kRotationSet = 2;
inline constexpr std::uint32_t kScaleSet = 4;
inline constexpr TransformRecord kIdentityTransform = {{0, 0, 0}, {1, 0, 0}, 0, {1, 1, 1}, 0, 0};

struct MaterialRecord {
  static constexpr RecordSize kSizes[] = {{0, 72}};
  float colors[4][4];  // in the order of ColorType: diffuse, specular, emission, ambient
  float ambient_intensity;
  std::uint32_t flags;  // bit n: colour n was set; bit 4: the ambient intensity was set
};
static_assert(hasItsListedSizes<MaterialRecord>());
inline constexpr std::uint32_t kAmbientIntensitySet = 16;

struct ViewRecord {
  static constexpr RecordSize kSizes[] = {{0, 96}};
  std::uint64_t name_offset;
  std::uint32_t name_size;
  std::uint32_t reserved;
  double position[3];
  double target[3];
  double up[3];
  double height;
};
static_assert(hasItsListedSizes<ViewRecord>());

// A text under a key, of an object or of the scene.
struct PropertyRecord {
  static constexpr RecordSize kSizes[] = {{1, 32}};
  std::uint64_t key_offset;
  std::uint64_t value_offset;
  std::uint32_t key_size;
  std::uint32_t value_size;
  std::uint32_t object = kNone;  // object number; kNone: the scene
  std::uint32_t reserved = 0;
};
static_assert(hasItsListedSizes<PropertyRecord>());
// In bytes. Keys are compared with each other, so their length bounds the work of a check.
inline constexpr std::uint32_t kLongestPropertyKey = 1024;
// The scene's unit: its name, and its length in metres as a decimal number.
inline constexpr std::string_view kUnitKey = "unit";
inline constexpr std::string_view kUnitMetresKey = "unit_metres";

}  // namespace Orb::Zix::format
