// Two tables decide which vertex a position belongs to. Most vertices of a strip shape repeat an earlier one
// bit for bit, so a first table finds equal bits without making any text. Only a position that is new by its
// bits is formatted, and its text's 64-bit hash looked up in a second table; equal hashes are confirmed by
// comparing the texts themselves, made again from the kept position. Both tables are open addressing with
// linear probing and grow with the number of distinct entries, not with the input.
#include "geometry/duplicate_vertices.h"

#include <algorithm>
#include <array>
#include <bit>

#include "diag/float_text.h"

namespace loftbay::geometry {

namespace {

constexpr std::uint32_t kNone = 0xFFFFFFFFU;
constexpr std::size_t kFirstCapacity = 64;  // a power of two

std::uint64_t mixed(std::uint64_t h) {
  h *= 0x9E3779B97F4A7C15U;
  return h ^ (h >> 32);
}

// The joined text of one position, filled up with zeros: at most three times 12 characters, and room for the
// formatter's capacity behind the second.
class Key {
 public:
  explicit Key(const Point& point) {
    std::array<char, sizeof(Words)> text{};
    std::size_t length = 0;
    for (const float value : {point.x, point.y, point.z})
      length += diag::formatFloat(text.data() + length, value);
    words_ = std::bit_cast<Words>(text);
  }
  [[nodiscard]] std::uint64_t hash() const {
    std::uint64_t h = 0;
    for (const std::uint64_t word : words_) h = mixed(h ^ word);
    return h;
  }
  friend bool operator==(const Key&, const Key&) = default;

 private:
  using Words = std::array<std::uint64_t, 5>;
  static_assert(sizeof(Words) >= std::size_t{2} * 12 + diag::kFloatTextCapacity);
  Words words_{};
};

// Open addressing over entries that have a member `vertex` (kNone: free) and a function `hash`.
template <typename Entry>
class Table {
 public:
  Table() : slots_(kFirstCapacity) {}

  // The entry that `matches`, or the free one where it belongs. Fill a free one with `insert`.
  template <typename Matches>
  std::size_t find(std::uint64_t hash, const Matches& matches) const {
    std::size_t slot = hash & (slots_.size() - 1);
    while (slots_[slot].vertex != kNone && !matches(slots_[slot])) slot = (slot + 1) & (slots_.size() - 1);
    return slot;
  }
  [[nodiscard]] std::uint32_t vertexAt(std::size_t slot) const { return slots_[slot].vertex; }

  void insert(std::size_t slot, const Entry& entry) {
    slots_[slot] = entry;
    if (++used_ * 2 > slots_.size()) grow();
  }

 private:
  void grow() {
    std::vector<Entry> old(slots_.size() * 2);
    old.swap(slots_);
    for (const Entry& entry : old) {
      if (entry.vertex != kNone) slots_[find(entry.hash(), [](const Entry&) { return false; })] = entry;
    }
  }

  std::vector<Entry> slots_;
  std::size_t used_ = 0;
};

using Bits = std::array<std::uint32_t, 3>;

struct BitsEntry {
  Bits bits{};
  std::uint32_t vertex = kNone;
  [[nodiscard]] std::uint64_t hash() const { return hashOf(bits); }

  static std::uint64_t hashOf(const Bits& bits) {
    return mixed(mixed(std::uint64_t{bits[0]} << 32 | bits[1]) ^ bits[2]);
  }
};

struct TextEntry {
  std::uint64_t text_hash = 0;
  std::uint32_t vertex = kNone;
  [[nodiscard]] std::uint64_t hash() const { return text_hash; }
};

}  // namespace

void removeDuplicateVertices(const std::vector<Point>& points, std::vector<Point>& unique,
                             std::span<std::uint32_t> indices, const std::vector<Point>& companion,
                             std::vector<Point>& unique_companion) {
  Table<BitsEntry> by_bits;
  Table<TextEntry> by_text;
  std::vector<std::uint32_t> remap;
  remap.reserve(points.size());

  const auto vertexByText = [&](const Point& point, std::size_t i) {
    const Key key(point);
    const std::uint64_t hash = key.hash();
    const auto slot = by_text.find(hash, [&](const TextEntry& entry) {
      return entry.text_hash == hash && Key(unique[entry.vertex]) == key;
    });
    if (const auto vertex = by_text.vertexAt(slot); vertex != kNone) return vertex;
    const auto vertex = static_cast<std::uint32_t>(unique.size());
    unique.push_back(point);
    if (i < companion.size()) unique_companion.push_back(companion[i]);
    by_text.insert(slot, {hash, vertex});
    return vertex;
  };

  for (std::size_t i = 0; i < points.size(); ++i) {
    const auto bits = std::bit_cast<Bits>(points[i]);
    const auto slot =
        by_bits.find(BitsEntry::hashOf(bits), [&](const BitsEntry& entry) { return entry.bits == bits; });
    std::uint32_t vertex = by_bits.vertexAt(slot);
    if (vertex == kNone) {
      vertex = vertexByText(points[i], i);
      by_bits.insert(slot, {bits, vertex});
    }
    remap.push_back(vertex);
  }

  for (std::uint32_t& index : indices) {
    if (index < remap.size()) index = remap[index];
  }
}

std::size_t trianglesOfThreePoints(const std::vector<Point>& points, std::span<const std::uint32_t> indices) {
  const auto differ = [&](std::uint32_t a, std::uint32_t b) {
    return a != b && std::bit_cast<Bits>(points[a]) != std::bit_cast<Bits>(points[b]);
  };
  std::size_t triangles = 0;
  for (; indices.size() >= 3; indices = indices.subspan(3)) {
    const std::uint32_t a = indices[0];
    const std::uint32_t b = indices[1];
    const std::uint32_t c = indices[2];
    if (std::max({a, b, c}) >= points.size()) continue;
    if (differ(a, b) && differ(b, c) && differ(c, a)) ++triangles;
  }
  return triangles;
}

}  // namespace loftbay::geometry
