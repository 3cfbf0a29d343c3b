// The accessors. Opening is in scene_opening.cpp, what makes a file acceptable in structure_check.cpp.
#include "zix/reader.h"

#include <algorithm>
#include <charconv>
#include <new>

#include "zix/checksum.h"

namespace Orb::Zix {

using format::kNone;

std::string ReadError::text() const {
  std::string result = path.empty() ? std::string() : path + ": ";
  result += message;
  if (code != "CANNOT_OPEN") result += " (" + code + " at offset " + std::to_string(offset) + ")";
  return result;
}

SceneReadError::SceneReadError(const std::string& path, std::uint64_t offset, const std::string& reason)
    : std::runtime_error((path.empty() ? "" : path + ": ") + "cannot be read at offset " +
                         std::to_string(offset) + ": " + reason),
      offset_(offset),
      message_("cannot be read: " + reason) {}

namespace {
constexpr std::uint64_t kWindow = std::uint64_t{1} << 16;
constexpr std::uint64_t kSmall = kWindow / 4;
constexpr std::uint64_t kMostLastArrays = std::uint64_t{16} << 20;
// Whole tuples of up to three floats, whole pages.
constexpr std::uint64_t kLargestPiece = std::uint64_t{3} << 16;
}  // namespace

Values<std::byte> SceneFile::read(std::uint64_t offset, std::uint64_t size) const {
  if (!file_) {
    return {bytes_.subspan(static_cast<std::size_t>(offset), static_cast<std::size_t>(size)), nullptr};
  }
  if (size > kSmall) return readFile(offset, size);
  const std::lock_guard lock(window_->mutex);
  Values<std::byte>& bytes = window_->bytes;
  if (offset < window_->offset || offset - window_->offset > bytes.size() ||
      size > bytes.size() - (offset - window_->offset)) {
    const std::uint64_t start = offset - offset % format::kAlignment;
    try {
      bytes = readFile(start, std::min(size_ - start, kWindow));
      window_->offset = start;
    } catch (const SceneReadError&) {
      return readFile(offset, size);  // these bytes may be there
    }
  }
  const auto place = static_cast<std::size_t>(offset - window_->offset);
  return {bytes.subspan(place, static_cast<std::size_t>(size)), bytes.owner()};
}

Values<std::byte> SceneFile::readFile(std::uint64_t offset, std::uint64_t size) const {
  // Not set to zero first, and as well aligned as in the file.
  constexpr std::align_val_t kAligned{format::kAlignment};
  const std::shared_ptr<std::byte[]> memory(new (kAligned) std::byte[static_cast<std::size_t>(size)],
                                            [](std::byte* bytes) { ::operator delete[](bytes, kAligned); });
  const std::span<std::byte> bytes(memory.get(), static_cast<std::size_t>(size));
  std::string reason;
  if (!file_->readAt(offset, bytes, &reason)) throw SceneReadError(path_, offset, reason);
  return {bytes, memory};
}

std::span<const std::byte> SceneFile::keep(Values<std::byte> bytes) {
  kept_.push_back(std::move(bytes));
  return kept_.back();
}

std::span<const std::byte> PieceReader::next() {
  const std::uint64_t rest = end_ - next_;
  if (rest == 0) return {};
  const std::uint64_t offset = next_;
  if (!scene_.file_ || rest <= kSmall) {
    next_ = end_;
    held_ = scene_.read(offset, rest);
    return held_;
  }
  const auto size = static_cast<std::size_t>(std::min(rest, kLargestPiece));
  if (!memory_) memory_.reset(new std::byte[size]);
  const std::span<std::byte> bytes(memory_.get(), size);
  std::string reason;
  if (!scene_.file_->readAt(offset, bytes, &reason)) throw SceneReadError(scene_.path_, offset, reason);
  next_ += size;
  return bytes;
}

Values<std::byte> SceneFile::chunkBytes(std::size_t chunk) const {
  const format::ChunkEntry entry = chunks_[chunk];
  return read(entry.offset, entry.size);
}

bool SceneFile::verifyChunk(std::size_t chunk) const {
  RunningChecksum sum;
  PieceReader pieces = chunkPieces(chunk);
  for (auto piece = pieces.next(); !piece.empty(); piece = pieces.next()) sum.add(piece);
  return sum.value() == chunks_[chunk].checksum;
}

std::string_view SceneFile::text(std::uint64_t offset, std::uint32_t size) const {
  const auto bytes = texts_.subspan(static_cast<std::size_t>(offset), size);
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::string_view SceneFile::modelName() const {
  return text(scene_.model_name_offset, scene_.model_name_size);
}
std::string_view SceneFile::application() const {
  return text(scene_.application_offset, scene_.application_size);
}
std::string_view SceneFile::saveText() const { return text(scene_.save_text_offset, scene_.save_text_size); }

std::vector<std::uint32_t> SceneFile::treeRoots() const {
  if (scene_.root != kNone) return {scene_.root};
  std::vector<std::uint32_t> roots;
  for (std::uint32_t i = 0; i < objectCount(); ++i) {
    const format::ObjectRecord record = objects_[i];
    if (record.parent == kNone && static_cast<ObjectType>(record.type) == ObjectType::Node)
      roots.push_back(i);
  }
  return roots;
}

std::string_view SceneFile::viewName(std::size_t index) const {
  const format::ViewRecord record = views_[index];
  return text(record.name_offset, record.name_size);
}

std::string_view SceneFile::name(std::uint32_t number) const {
  const format::ObjectRecord record = objects_[number];
  return text(record.name_offset, record.name_size);
}

std::span<const std::uint32_t> SceneFile::children(std::uint32_t number) const {
  const format::ObjectRecord record = objects_[number];
  return children_.subspan(record.first_child, record.child_count);
}

std::optional<format::TransformRecord> SceneFile::placement(std::uint32_t number) const {
  const std::uint32_t placement = objects_[number].placement;
  if (placement == kNone) return std::nullopt;
  return transform(placement);
}

namespace {

// Digits, an optional fraction, an optional exponent: a number above 0 that double precision holds.
std::optional<double> lengthIn(std::string_view text) {
  const auto isDigit = [&](std::size_t place) {
    return place < text.size() && text[place] >= '0' && text[place] <= '9';
  };
  // from_chars also takes signs, words, and points without digits on both sides.
  if (!isDigit(0) || !isDigit(text.size() - 1)) return std::nullopt;
  if (const auto point = text.find('.'); point != text.npos && !(isDigit(point - 1) && isDigit(point + 1)))
    return std::nullopt;
  double value = 0;
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value);
  return result.ec == std::errc() && result.ptr == end && value > 0 ? std::optional(value) : std::nullopt;
}

}  // namespace

std::vector<SceneFile::Property> SceneFile::propertiesOf(std::uint32_t owner) const {
  // The rows are in the order of their owners, the scene first: its number plus one is 0.
  std::size_t low = 0;
  std::size_t high = properties_.size();
  while (low < high) {
    const std::size_t middle = low + (high - low) / 2;
    if (properties_[middle].object + 1U < owner + 1U) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  std::vector<Property> found;
  for (; low < properties_.size() && properties_[low].object == owner; ++low) {
    const format::PropertyRecord row = properties_[low];
    found.push_back({text(row.key_offset, row.key_size), text(row.value_offset, row.value_size)});
  }
  return found;
}

std::vector<SceneFile::Property> SceneFile::sceneProperties() const { return propertiesOf(kNone); }
std::vector<SceneFile::Property> SceneFile::properties(std::uint32_t number) const {
  return propertiesOf(number);
}

std::optional<SceneFile::Unit> SceneFile::unit() const {
  std::optional<Unit> unit;
  std::optional<double> metres;
  for (const Property& property : sceneProperties()) {
    if (property.key == format::kUnitKey) unit = Unit{property.value, std::nullopt};
    if (property.key != format::kUnitMetresKey) continue;
    metres = lengthIn(property.value);
  }
  if (unit) unit->metres = metres;
  return unit;
}

format::MeshRecord SceneFile::mesh(std::uint32_t number) const { return meshes_[objects_[number].ordinal]; }
format::TransformRecord SceneFile::transform(std::uint32_t number) const {
  return transforms_[objects_[number].ordinal];
}
format::MaterialRecord SceneFile::material(std::uint32_t number) const {
  return materials_[objects_[number].ordinal];
}
format::CoordinatesRecord SceneFile::coordinates(std::uint32_t number) const {
  return coordinates_[objects_[number].ordinal];
}
format::IndexArrayRecord SceneFile::indexArray(std::uint32_t number) const {
  return index_arrays_[objects_[number].ordinal];
}

void SceneFile::verifyArrays(std::function<void(const std::string& reason)> tell) {
  verified_ = std::make_unique<Verified>();
  verified_->tell = std::move(tell);
  verified_->chunks.resize(chunks_.size());
}

void SceneFile::verify(std::uint32_t chunk, std::span<const std::byte> bytes) const {
  const std::lock_guard lock(verified_->mutex);
  if (verified_->chunks[chunk]) return;
  const format::ChunkEntry entry = chunks_[chunk];
  if (checksum(bytes) != entry.checksum) {
    const std::string cause = "the array is damaged: its checksum is not the one that the file states";
    if (!verified_->tell) throw SceneReadError(path_, entry.offset, cause);
    verified_->tell((path_.empty() ? "" : path_ + ": ") + "at offset " + std::to_string(entry.offset) + " " +
                    cause);
  }
  verified_->chunks[chunk] = true;
}

Values<std::byte> SceneFile::arrayBytes(std::uint32_t chunk) const {
  const format::ChunkEntry entry = chunks_[chunk];
  if (!file_ || entry.size <= kSmall || entry.size > kMostLastArrays) return read(entry.offset, entry.size);
  const std::lock_guard lock(last_arrays_->mutex);
  auto& [mutex, size, arrays] = *last_arrays_;
  for (const auto& [known, bytes] : arrays) {
    if (known == chunk) return bytes;
  }
  Values<std::byte> bytes = read(entry.offset, entry.size);
  size += entry.size;
  arrays.emplace_back(chunk, bytes);
  while (size > kMostLastArrays) {
    size -= arrays.front().second.size();
    arrays.pop_front();
  }
  return bytes;
}

template <typename T>
Values<T> SceneFile::arrayValues(std::uint32_t chunk) const {
  if (chunk == kNone) return {};
  const Values<std::byte> bytes = arrayBytes(chunk);
  if (verified_) verify(chunk, bytes);
  return {bytes, bytes.owner()};
}

Values<float> SceneFile::coordinateValues(std::uint32_t number) const {
  return number == kNone ? Values<float>() : arrayValues<float>(coordinates(number).chunk);
}

Values<std::uint32_t> SceneFile::indexValues(std::uint32_t number) const {
  if (number == kNone) return {};
  return arrayValues<std::uint32_t>(indexArray(number).chunk);
}

}  // namespace Orb::Zix
