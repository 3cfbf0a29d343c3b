// Two tables decide which vertex a position belongs to. Most vertices of a strip shape repeat an earlier one
// bit for bit, and strips that lie side by side do so in the same order, so the position that follows the
// last repeated one is tried first; then a first table finds equal bits. Only a position that is new by its
// bits is looked up by its text in a second table: by the digits of its coordinates where these decide
// (printed_digits.h), else by the text itself. Equal hashes are confirmed by the digits or texts, made again
// from the kept position.
#include "geometry/duplicate_vertices.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>
#include <memory>
#include <new>
#include <utility>

#include "diag/float_text.h"
#include "geometry/printed_digits.h"

namespace loftbay::geometry {

namespace {

constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15U;

std::uint64_t mixed(std::uint64_t h) {
  h *= kMultiplier;
  return h ^ (h >> 32);
}
std::uint32_t hashOf(const std::array<std::uint32_t, 3>& words) {
  return static_cast<std::uint32_t>(
      ((mixed(std::uint64_t{words[0]} << 32 | words[1]) ^ words[2]) * kMultiplier) >> 32);
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
    std::fill(text.begin() + static_cast<std::ptrdiff_t>(length), text.end(), '\0');
    words_ = std::bit_cast<Words>(text);
  }
  [[nodiscard]] std::uint32_t hash() const {
    std::uint64_t h = 0;
    for (const std::uint64_t word : words_) h = mixed(h ^ word);
    return static_cast<std::uint32_t>((h * kMultiplier) >> 32);
  }
  friend bool operator==(const Key&, const Key&) = default;

 private:
  using Words = std::array<std::uint64_t, 5>;
  static_assert(sizeof(Words) >= std::size_t{2} * 12 + diag::kFloatTextCapacity);
  Words words_{};
};

// What plainDigits tells of the three coordinates.
struct PlainDigits {
  std::array<std::uint32_t, 3> words;

  explicit PlainDigits(const Point& point)
      : words{plainDigits(point.x), plainDigits(point.y), plainDigits(point.z)} {}
  [[nodiscard]] bool decide() const { return words[0] != 0 && words[1] != 0 && words[2] != 0; }
};

// Numbers, found by a hash of what they stand for: open addressing with linear probing. As many slots as
// there may be numbers are made at the start, because most shapes use half of them.
class NumberTable {
 public:
  static constexpr std::uint32_t kNone = 0xFFFFFFFFU;

  explicit NumberTable(std::size_t most_numbers) {
    allocate(std::bit_ceil(std::max(most_numbers, kFewestSlots)));
  }

  // The number that `matches` and has this hash, or kNone. A new one is then inserted with `insert`, before
  // the next look-up.
  template <typename Matches>
  std::uint32_t find(std::uint32_t hash, const Matches& matches) {
    free_ = hash >> shift_;
    while (slots_[free_].number_plus_1 != 0) {
      const Slot& slot = slots_[free_];
      if (slot.hash == hash && matches(slot.number_plus_1 - 1)) return slot.number_plus_1 - 1;
      free_ = (free_ + 1) & (size_ - 1);
    }
    return kNone;
  }
  void insert(std::uint32_t hash, std::uint32_t number) {
    slots_[free_] = {hash, number + 1};
    if (++used_ * 4 > size_ * 3) grow();
  }

 private:
  static constexpr std::size_t kFewestSlots = 64;

  struct Slot {
    std::uint32_t hash;
    std::uint32_t number_plus_1;  // 0: free
  };
  struct Free {
    void operator()(Slot* slots) const { std::free(slots); }
  };

  // Large blocks come from the system as zeros, and calloc does not write these again.
  void allocate(std::size_t size) {
    slots_.reset(static_cast<Slot*>(std::calloc(size, sizeof(Slot))));
    if (slots_ == nullptr) throw std::bad_alloc();
    size_ = size;
    shift_ = 32 - static_cast<std::uint32_t>(std::min(std::countr_zero(size), 32));
  }
  void grow() {
    const std::unique_ptr<Slot[], Free> old = std::move(slots_);
    const std::size_t old_size = size_;
    allocate(2 * size_);
    for (std::size_t i = 0; i < old_size; ++i) {
      if (old[i].number_plus_1 == 0) continue;
      find(old[i].hash, [](std::uint32_t) { return false; });
      slots_[free_] = old[i];
    }
  }

  std::unique_ptr<Slot[], Free> slots_;
  std::size_t size_ = 0;     // a power of two
  std::uint32_t shift_ = 0;  // a hash's first slot is its upper bits
  std::size_t used_ = 0;
  std::size_t free_ = 0;  // where the last `find` ended
};

using Bits = std::array<std::uint32_t, 3>;

Bits bitsOf(const Point& point) { return std::bit_cast<Bits>(point); }
bool areSame(const Bits& a, const Bits& b) { return ((a[0] ^ b[0]) | (a[1] ^ b[1]) | (a[2] ^ b[2])) == 0; }

// The positions that are kept, found by their text.
class KeptPositions {
 public:
  explicit KeptPositions(std::size_t most_positions) : by_text_(most_positions), points_(most_positions) {}

  // The number of the kept position that prints like this one; a new one if there is none.
  std::uint32_t numberOf(const Point& point) {
    if (const PlainDigits digits(point); digits.decide()) {
      return number(point, hashOf(digits.words), [&](std::uint32_t other) {
        return areSame(PlainDigits(points_[other]).words, digits.words);
      });
    }
    const Key key(point);
    return number(point, key.hash(), [&](std::uint32_t other) { return Key(points_[other]) == key; });
  }
  [[nodiscard]] std::size_t count() const { return count_; }
  RawVector<Point> take() {
    points_.resize(count_);
    return std::move(points_);
  }

 private:
  template <typename Matches>
  std::uint32_t number(const Point& point, std::uint32_t hash, const Matches& matches) {
    const std::uint32_t found = by_text_.find(hash, matches);
    if (found != NumberTable::kNone) return found;
    const auto added = static_cast<std::uint32_t>(count_);
    points_[count_++] = point;
    by_text_.insert(hash, added);
    return added;
  }

  NumberTable by_text_;
  RawVector<Point> points_;
  std::size_t count_ = 0;
};

}  // namespace

MergedVertices mergeVertices(std::span<const Point> points) {
  MergedVertices result;
  RawVector<std::uint32_t>& vertex_of = result.vertex_of;
  vertex_of.resize(points.size());
  KeptPositions kept(points.size());
  NumberTable by_bits(points.size());
  std::size_t distance = 1;  // from the last repeated position to the one that it repeats

  for (std::size_t i = 0; i < points.size(); ++i) {
    const Bits bits = bitsOf(points[i]);
    if (distance <= i && areSame(bits, bitsOf(points[i - distance]))) {
      vertex_of[i] = vertex_of[i - distance];
      continue;
    }
    const std::uint32_t hash = hashOf(bits);
    const std::uint32_t earlier =
        by_bits.find(hash, [&](std::uint32_t other) { return areSame(bits, bitsOf(points[other])); });
    if (earlier != NumberTable::kNone) {
      vertex_of[i] = vertex_of[earlier];
      distance = i - earlier;
      continue;
    }
    by_bits.insert(hash, static_cast<std::uint32_t>(i));
    const std::size_t kept_before = kept.count();
    vertex_of[i] = kept.numberOf(points[i]);
    if (kept.count() == kept_before) result.has_rounded = true;
  }
  result.unique = kept.take();
  return result;
}

void removeDuplicateVertices(const std::vector<Point>& points, std::vector<Point>& unique,
                             std::span<std::uint32_t> indices, const std::vector<Point>& companion,
                             std::vector<Point>& unique_companion) {
  const MergedVertices merged = mergeVertices(points);
  unique.assign(merged.unique.begin(), merged.unique.end());
  for (std::size_t i = 0, kept = 0; i < std::min(points.size(), companion.size()); ++i) {
    if (merged.vertex_of[i] != kept) continue;
    unique_companion.push_back(companion[i]);
    ++kept;
  }
  for (std::uint32_t& index : indices) {
    if (index < merged.vertex_of.size()) index = merged.vertex_of[index];
  }
}

std::size_t trianglesOfThreePoints(std::span<const Point> points, std::span<const std::uint32_t> indices) {
  const auto differ = [&](std::uint32_t a, std::uint32_t b) {
    return a != b && !areSame(bitsOf(points[a]), bitsOf(points[b]));
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
