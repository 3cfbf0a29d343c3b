// The file half of the writer: arrays as they come, everything else at the end. Order of the file: header
// (filled in last), array chunks in the order of the setValues calls, table chunks, directory.
#include <algorithm>
#include <cstring>

#include "zix/checksum.h"
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

template <typename Records>
void addAll(TableChunk& chunk, const Records& records) {
  for (const auto& record : records) chunk.add(bytesOf(record));
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
  const auto write = [&](std::span<const std::byte> piece) {
    if (writable && !failure) keep(file.append(piece));
  };
  const std::byte zeros[format::kAlignment]{};
  write({zeros, static_cast<std::size_t>(format::alignUp(file.size()) - file.size())});
  format::ChunkEntry entry{chunk_type, 0, file.size(), bytes.size(), 0, record_size, 0};
  // Piece by piece, so that the checksum, the box and the copy to the system find the piece in the cache.
  // A whole number of tuples of every dimension up to 3, and of a page.
  constexpr std::size_t kPiece = std::size_t{3} << 18;
  const std::size_t piece_size = kPiece - kPiece % record_size;
  RunningChecksum sum;
  for (auto rest = bytes; !rest.empty();) {
    const auto piece = rest.first(std::min(rest.size(), piece_size));
    rest = rest.subspan(piece.size());
    if (box != nullptr) {
      addPoints(*box, {reinterpret_cast<const float*>(piece.data()), piece.size() / sizeof(float)},
                record_size / static_cast<std::uint32_t>(sizeof(float)));
    }
    if (!writable) continue;
    sum.add(piece);
    write(piece);
  }
  entry.checksum = sum.value();
  chunks.push_back(entry);
  return static_cast<std::uint32_t>(chunks.size() - 1);
}

void Scene_V0::Impl::finishFile() {
  const auto table = [&](std::uint32_t type, std::size_t record_size, const auto& fill) {
    if (failure) return;
    TableChunk chunk(file, type, record_size);
    fill(chunk);
    keep(chunk.finish(chunks));
  };
  const auto records = [&](std::uint32_t type, const auto& rows) {
    using Row = typename std::decay_t<decltype(rows)>::value_type;
    table(type, sizeof(Row), [&](TableChunk& chunk) { addAll(chunk, rows); });
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
  table(format::kCoordinatesChunk, sizeof(format::CoordinatesRecord), [&](TableChunk& chunk) {
    for (const CoordinatesState& state : coordinates) chunk.add(bytesOf(state.record));
  });
  records(format::kIndexChunk, index_arrays);
  records(format::kTransformChunk, transforms);
  records(format::kMaterialChunk, materials);
  records(format::kViewChunk, views);
  if (failure) return;

  // The directory is laid out like a chunk, but nothing lists it: the header holds its offset and checksum.
  std::deque<format::ChunkEntry> none;
  TableChunk directory(file, 0, sizeof(format::ChunkEntry));
  addAll(directory, chunks);
  keep(directory.finish(none));

  format::Header header{};
  header.magic = format::kMagic;
  header.major_version = format::kMajorVersion;
  header.minor_version = format::kWrittenMinor;
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
