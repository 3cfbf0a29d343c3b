// Three passes over flat arrays: corners get dense vertex numbers (one per pair of position and record),
// edges find their partners through a hash table, and strips are grown greedily. From each seed the three
// ways to start are tried and the longest is kept, so every triangle is looked at a bounded number of times.
#include "jttk/model/strips.h"

#include <algorithm>
#include <bit>

namespace jttk {

namespace {

constexpr std::uint32_t kNobody = 0xffffffffU;

std::uint64_t mixed(std::uint64_t key) {
  key *= 0x9e3779b97f4a7c15U;
  return key ^ key >> 29U;
}

// Open addressing from 64-bit keys to 32-bit values; made once for a known number of entries.
class Table {
 public:
  explicit Table(std::size_t entries)
      : shift_(64 - static_cast<int>(std::bit_width(entries * 2 + 1))),
        slots_(std::size_t{1} << (64 - shift_)) {}

  // The value of the key; `value` itself when the key is new.
  std::uint32_t findOrAdd(std::uint64_t key, std::uint32_t value) {
    Slot& slot = at(key);
    if (slot.value == kNobody) slot = {key, value};
    return slot.value;
  }
  std::uint32_t find(std::uint64_t key) { return at(key).value; }

 private:
  struct Slot {
    std::uint64_t key = 0;
    std::uint32_t value = kNobody;
  };
  Slot& at(std::uint64_t key) {
    std::size_t i = mixed(key) >> shift_;
    while (slots_[i].value != kNobody && slots_[i].key != key) i = i + 1 == slots_.size() ? 0 : i + 1;
    return slots_[i];
  }

  int shift_;
  std::vector<Slot> slots_;
};

class Stripifier {
 public:
  Stripifier(std::span<const std::uint32_t> starts, std::span<const std::uint32_t> positions,
             std::span<const std::uint32_t> records)
      : positions_(positions), records_(records) {
    fan(starts);
    numberVertices();
    pairEdges();
  }

  Primitives run() {
    result_.starts.push_back(0);
    used_.assign(corners_.size() / 3, kUnused);
    for (std::uint32_t seed = 0; seed < used_.size(); ++seed) {
      if (used_[seed] != kTaken) growFrom(seed);
    }
    return std::move(result_);
  }

 private:
  // States of a triangle: taken by a strip, or the number of the last trial that passed it.
  static constexpr std::uint32_t kUnused = 0;
  static constexpr std::uint32_t kTaken = kNobody;

  void fan(std::span<const std::uint32_t> starts) {
    if (starts.empty()) return;
    std::size_t count = 0;
    for (std::size_t i = 0; i + 1 < starts.size(); ++i) {
      const std::uint32_t size = starts[i + 1] - starts[i];
      if (size >= 3) count += size - 2;
    }
    corners_.reserve(3 * count);
    for (std::size_t i = 0; i + 1 < starts.size(); ++i) {
      for (std::uint32_t k = starts[i] + 2; k < starts[i + 1]; ++k) {
        corners_.insert(corners_.end(), {starts[i], k - 1, k});
      }
    }
  }

  void numberVertices() {
    vertices_.resize(corners_.size());
    if (records_.empty()) {
      for (std::size_t i = 0; i < corners_.size(); ++i) vertices_[i] = positions_[corners_[i]];
      return;
    }
    Table numbers(corners_.size());
    for (std::size_t i = 0; i < corners_.size(); ++i) {
      const std::uint32_t corner = corners_[i];
      const std::uint64_t key = std::uint64_t{positions_[corner]} << 32U | records_[corner];
      vertices_[i] = numbers.findOrAdd(key, static_cast<std::uint32_t>(i));
    }
  }

  // Edge e leads from its own corner to the next one of the triangle.
  static std::uint32_t next(std::uint32_t edge) { return edge % 3 == 2 ? edge - 2 : edge + 1; }
  static std::uint32_t previous(std::uint32_t edge) { return edge % 3 == 0 ? edge + 2 : edge - 1; }
  [[nodiscard]] std::uint64_t edgeKey(std::uint32_t from, std::uint32_t to) const {
    return std::uint64_t{vertices_[from]} << 32U | vertices_[to];
  }

  // The first edge of each direction is paired with the first of the opposite one; edges of further triangles
  // there (the surface is no manifold) and edges without length stay alone.
  void pairEdges() {
    partners_.assign(corners_.size(), kNobody);
    Table edges(corners_.size());
    for (std::uint32_t e = 0; e < corners_.size(); ++e) edges.findOrAdd(edgeKey(e, next(e)), e);
    for (std::uint32_t e = 0; e < corners_.size(); ++e) {
      if (partners_[e] != kNobody || vertices_[e] == vertices_[next(e)]) continue;
      const std::uint32_t other = edges.find(edgeKey(next(e), e));
      if (other == kNobody || other / 3 == e / 3 || partners_[other] != kNobody) continue;
      partners_[e] = other;
      partners_[other] = e;
    }
  }

  // Walks the strip whose first triangle starts at edge `first` and counts its triangles, each of which gets
  // `mark`. The corner that each further triangle adds goes to `added` when it is given.
  std::uint32_t walk(std::uint32_t first, std::uint32_t mark, std::vector<std::uint32_t>* added) {
    std::uint32_t length = 1;
    used_[first / 3] = mark;
    // The strip leaves its first triangle over the edge opposite to its first corner, the next ones by turns
    // over the edge before and behind the corner that they added.
    std::uint32_t edge = next(first);
    for (bool odd = true;; odd = !odd) {
      const std::uint32_t entry = partners_[edge];
      if (entry == kNobody || used_[entry / 3] == kTaken || used_[entry / 3] == mark) return length;
      used_[entry / 3] = mark;
      ++length;
      if (added != nullptr) added->push_back(previous(entry));
      edge = odd ? previous(entry) : next(entry);
    }
  }

  void growFrom(std::uint32_t seed) {
    std::uint32_t best = 3 * seed;
    std::uint32_t longest = 0;
    for (std::uint32_t first = 3 * seed; first < 3 * seed + 3; ++first) {
      const std::uint32_t length = walk(first, ++trial_, nullptr);
      if (length > longest) {
        longest = length;
        best = first;
      }
    }
    strip_.assign({best, next(best), previous(best)});
    walk(best, kTaken, &strip_);
    for (const std::uint32_t edge : strip_) {
      const std::uint32_t corner = corners_[edge];
      result_.positions.push_back(positions_[corner]);
      if (!records_.empty()) result_.records.push_back(records_[corner]);
    }
    result_.starts.push_back(static_cast<std::uint32_t>(result_.positions.size()));
  }

  std::span<const std::uint32_t> positions_;
  std::span<const std::uint32_t> records_;
  std::vector<std::uint32_t> corners_;   // three per triangle: index of the polygon corner
  std::vector<std::uint32_t> vertices_;  // parallel: the same number where position and record are the same
  std::vector<std::uint32_t> partners_;  // parallel: the edge that runs the other way
  std::vector<std::uint32_t> used_;      // per triangle
  std::vector<std::uint32_t> strip_;
  std::uint32_t trial_ = 0;
  Primitives result_;
};

}  // namespace

Primitives stripsOfPolygons(std::span<const std::uint32_t> starts, std::span<const std::uint32_t> positions,
                            std::span<const std::uint32_t> records) {
  return Stripifier(starts, positions, records).run();
}

}  // namespace jttk
