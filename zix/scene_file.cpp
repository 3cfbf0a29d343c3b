// The file half of the writer: arrays as they come, everything else at the end. Order of the file: header
// (filled in last), array chunks in the order of the setValues calls (equal ones once, where they came
// first), table chunks, directory.
#include <algorithm>
#include <cstring>

#include "zix/checksum.h"
#include "zix/pending_properties.h"
#include "zix/scene_impl.h"

namespace Orb::Zix {

namespace {

template <typename T>
std::span<const std::byte> bytesOf(const T& record) {
  return std::as_bytes(std::span(&record, 1));
}

// Writes one table chunk, record by record.
class TableChunk {
 public:
  TableChunk(OutputFile& file, std::uint32_t type, std::size_t record_size) : file_(file) {
    const std::byte zeros[format::kAlignment]{};
    add({zeros, static_cast<std::size_t>(format::alignUp(file.size()) - file.size())});
    checksum_ = RunningChecksum();
    entry_ = {type, 0, file.size(), 0, 0, static_cast<std::uint32_t>(record_size), 0};
  }

  void add(std::span<const std::byte> bytes) {
    if (failure_) return;
    checksum_.add(bytes);
    failure_ = file_.append(bytes);
  }

  // Adds the chunk to the directory. The result is the first failure since construction.
  std::optional<OutputFailure> finish(std::deque<format::ChunkEntry>& directory) {
    entry_.size = file_.size() - entry_.offset;
    entry_.checksum = checksum_.value();
    directory.push_back(entry_);
    return failure_;
  }

 private:
  OutputFile& file_;
  RunningChecksum checksum_;
  format::ChunkEntry entry_{};
  std::optional<OutputFailure> failure_;
};

// `record_size`: what the file's version has of each.
template <typename Records>
void addAll(TableChunk& chunk, const Records& records, std::size_t record_size) {
  for (const auto& record : records) chunk.add(bytesOf(record).first(record_size));
}

// The bytes of a row in a file of minor version `minor`. Rows without fields (child numbers) never grow.
template <typename Row>
std::size_t rowSizeIn(std::uint16_t minor) {
  if constexpr (requires { Row::kSizes; }) {
    return format::recordSizeIn(Row::kSizes, minor);
  } else {
    return sizeof(Row);
  }
}

void addText(TableChunk& chunk, const std::deque<char>& text) {
  std::array<char, 4096> piece;
  for (std::size_t done = 0; done < text.size();) {
    const std::size_t amount = std::min(piece.size(), text.size() - done);
    const auto start = text.begin() + static_cast<std::ptrdiff_t>(done);
    std::copy(start, start + static_cast<std::ptrdiff_t>(amount), piece.begin());
    chunk.add(std::as_bytes(std::span(piece.data(), amount)));
    done += amount;
  }
}

}  // namespace

void Scene_V0::Impl::keep(const std::optional<OutputFailure>& failed) {
  if (failed && !failure) failure = failed->text();
}

std::uint32_t Scene_V0::Impl::writeArray(std::uint32_t chunk_type, std::uint32_t record_size,
                                         std::span<const std::byte> bytes, BoxF* box) {
  const bool writable = file.isOpen() && !failure;
  // Piece by piece, so that checksum and box find the piece in the cache. A whole number of tuples.
  constexpr std::size_t kPiece = std::size_t{3} << 16;
  const std::size_t piece_size = kPiece - kPiece % record_size;
  RunningChecksum sum;
  for (auto rest = bytes; !rest.empty();) {
    const auto piece = rest.first(std::min(rest.size(), piece_size));
    rest = rest.subspan(piece.size());
    if (writable) sum.add(piece);
    if (box == nullptr) continue;
    addPoints(*box, {reinterpret_cast<const float*>(piece.data()), piece.size() / sizeof(float)},
              record_size / static_cast<std::uint32_t>(sizeof(float)));
  }
  if (!writable) {
    // Nothing is written any more, but the object has its values.
    chunks.push_back({chunk_type, 0, file.size(), bytes.size(), 0, record_size, 0});
    return static_cast<std::uint32_t>(chunks.size() - 1);
  }
  std::optional<OutputFailure> failed;
  const std::uint32_t chunk = arrays.store({chunk_type, record_size, bytes, sum.value()}, &failed);
  keep(failed);
  return chunk;
}

// So that older readers can read what holds nothing that they do not know.
std::uint16_t Scene_V0::Impl::lowestMinorVersion() const {
  return properties.empty() ? 0 : format::PropertyRecord::kSizes[0].since_minor;
}

void Scene_V0::Impl::takeProperties() {
  std::map<std::string, TextPool::Reference> stored;  // many objects have the same keys and values
  const auto store = [&](const std::string& text) {
    const auto [entry, is_new] = stored.try_emplace(text);
    if (is_new) entry->second = texts.add(text);
    return entry->second;
  };
  for (const PendingProperty& property : PendingProperties::instance().take()) {
    const bool is_scene = property.object == ObjectId{};
    const std::uint32_t object = is_scene ? format::kNone : idToNumber(property.object, "closeFile");
    const auto key = store(property.key);
    const auto value = store(property.value);
    properties.push_back({key.offset, value.offset, key.size, value.size, object, 0});
  }
}

void Scene_V0::Impl::finishFile() {
  const std::uint16_t minor = lowestMinorVersion();
  const auto table = [&](std::uint32_t type, std::size_t record_size, const auto& fill) {
    if (failure) return;
    TableChunk chunk(file, type, record_size);
    fill(chunk);
    keep(chunk.finish(chunks));
  };
  const auto records = [&](std::uint32_t type, const auto& rows) {
    using Row = typename std::decay_t<decltype(rows)>::value_type;
    table(type, rowSizeIn<Row>(minor),
          [&](TableChunk& chunk) { addAll(chunk, rows, rowSizeIn<Row>(minor)); });
  };

  scene.model_name_offset = model_name.offset;
  scene.model_name_size = model_name.size;
  scene.root = root;
  records(format::kSceneChunk, std::span<const format::SceneRecord>(&scene, 1));
  table(format::kTextChunk, 1, [&](TableChunk& chunk) { addText(chunk, texts.bytes()); });
  const std::vector<std::uint32_t> children = makeChildTable();
  records(format::kObjectChunk, objects);
  records(format::kChildChunk, children);
  records(format::kMeshChunk, meshes);
  const std::size_t coordinates_size = rowSizeIn<format::CoordinatesRecord>(minor);
  table(format::kCoordinatesChunk, coordinates_size, [&](TableChunk& chunk) {
    for (const CoordinatesState& state : coordinates)
      chunk.add(bytesOf(state.record).first(coordinates_size));
  });
  records(format::kIndexChunk, index_arrays);
  records(format::kTransformChunk, transforms);
  records(format::kMaterialChunk, materials);
  records(format::kViewChunk, views);
  if (!properties.empty()) records(format::kPropertyChunk, properties);
  if (failure) return;

  // The directory is laid out like a chunk, but nothing lists it: the header holds its offset and checksum.
  std::deque<format::ChunkEntry> none;
  TableChunk directory(file, 0, sizeof(format::ChunkEntry));
  addAll(directory, chunks, sizeof(format::ChunkEntry));
  keep(directory.finish(none));

  format::Header header{};
  header.magic = format::kMagic;
  header.major_version = format::kMajorVersion;
  header.minor_version = minor;
  header.header_size = sizeof(header);
  header.file_size = file.size();
  header.directory_offset = none.back().offset;
  header.chunk_count = chunks.size();
  header.directory_checksum = none.back().checksum;
  header.header_checksum = checksum(bytesOf(header).first(offsetof(format::Header, header_checksum)));
  if (!failure) keep(file.overwrite(0, bytesOf(header)));
  if (!failure) keep(file.commit());
}

}  // namespace Orb::Zix
