// Passes over flat arrays, each linear: corners get vertex numbers (the same number where position and record
// are the same), edges are sorted by their smaller vertex and paired there, and strips are grown greedily.
// From each seed triangle the three possible starts are tried and the longest strip is kept, so every
// triangle is looked at a bounded number of times.
#include "jttk/mesh/strips.h"

#include <algorithm>

namespace jttk {

namespace {

constexpr std::uint32_t kNobody = 0xffffffffU;

std::uint32_t highest(std::span<const std::uint32_t> values) {
  std::uint32_t most = 0;
  for (const std::uint32_t value : values) {
    if (value != kNobody) most = std::max(most, value);
  }
  return most;
}

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
    result_.positions.reserve(corners_.size() / 2);
    if (!records_.empty()) result_.records.reserve(corners_.size() / 2);
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

  // The highest number is below vertex_count_; not all numbers need to occur.
  void numberVertices() {
    vertices_.resize(corners_.size());
    vertex_count_ = corners_.empty() ? 0 : highest(positions_) + std::size_t{1};
    if (records_.empty()) {
      for (std::size_t i = 0; i < corners_.size(); ++i) vertices_[i] = positions_[corners_[i]];
    } else if (!corners_.empty() && !numberByRecord()) {
      numberByPair();
    }
  }

  // Where every record belongs to one position, the record alone identifies the vertex. (Corners without a
  // record are distinguished by position.)
  bool numberByRecord() {
    const std::size_t record_count = highest(records_) + std::size_t{1};
    std::vector<std::uint32_t> position_of(record_count, kNobody);
    for (std::size_t i = 0; i < corners_.size(); ++i) {
      const std::uint32_t record = records_[corners_[i]];
      const std::uint32_t position = positions_[corners_[i]];
      if (record == kNobody) {
        vertices_[i] = static_cast<std::uint32_t>(record_count + position);
        continue;
      }
      if (position_of[record] == kNobody) position_of[record] = position;
      if (position_of[record] != position) return false;
      vertices_[i] = record;
    }
    vertex_count_ += record_count;
    return true;
  }

  // Else the corners are sorted by position, and the records of one position get numbers in turn.
  void numberByPair() {
    std::vector<std::uint32_t> first(vertex_count_ + 1);
    for (const std::uint32_t corner : corners_) ++first[positions_[corner] + std::size_t{1}];
    for (std::size_t i = 1; i < first.size(); ++i) first[i] += first[i - 1];
    std::vector<std::uint32_t> order(corners_.size());
    for (std::uint32_t i = 0; i < corners_.size(); ++i) order[first[positions_[corners_[i]]]++] = i;
    struct Number {
      std::uint32_t position = kNobody;
      std::uint32_t vertex = 0;
    };
    const std::size_t record_count = highest(records_) + std::size_t{1};
    std::vector<Number> numbers(record_count + 1);  // the last is for corners without a record
    std::uint32_t next_vertex = 0;
    for (const std::uint32_t i : order) {
      const std::uint32_t position = positions_[corners_[i]];
      const std::uint32_t record = records_[corners_[i]];
      Number& number = numbers[record == kNobody ? record_count : record];
      if (number.position != position) number = {position, next_vertex++};
      vertices_[i] = number.vertex;
    }
    vertex_count_ = next_vertex;
  }

  // Edge e leads from its own corner to the next one of the triangle.
  static std::uint32_t next(std::uint32_t edge) { return edge % 3 == 2 ? edge - 2 : edge + 1; }
  static std::uint32_t previous(std::uint32_t edge) { return edge % 3 == 0 ? edge + 2 : edge - 1; }

  // Pairs edges that run between the same vertices in opposite directions. Where more than two triangles meet
  // (the surface is no manifold) the first that fit are paired and the others stay alone, as do edges without
  // length.
  void pairEdges() {
    partners_.assign(corners_.size(), kNobody);
    std::vector<std::uint32_t> first(vertex_count_ + 1);
    const auto lower = [&](std::uint32_t e) { return std::min(vertices_[e], vertices_[next(e)]); };
    for (std::uint32_t e = 0; e < corners_.size(); ++e) ++first[lower(e) + std::size_t{1}];
    for (std::size_t i = 1; i < first.size(); ++i) first[i] += first[i - 1];
    std::vector<std::uint32_t> order(corners_.size());
    for (std::uint32_t e = 0; e < corners_.size(); ++e) order[first[lower(e)]++] = e;
    // By the other vertex: the edge of each direction that waits, and the lower vertex it was found at.
    struct Waiting {
      std::uint32_t at = kNobody;
      std::uint32_t edges[2] = {kNobody, kNobody};
    };
    std::vector<Waiting> waiting(vertex_count_);
    for (const std::uint32_t e : order) {
      const std::uint32_t from = vertices_[e];
      const std::uint32_t to = vertices_[next(e)];
      if (from == to) continue;
      const bool upwards = from < to;
      Waiting& other = waiting[upwards ? to : from];
      const std::uint32_t at = upwards ? from : to;
      if (other.at != at) other = {at, {kNobody, kNobody}};
      std::uint32_t& opposite = other.edges[upwards ? 0 : 1];
      std::uint32_t& own = other.edges[upwards ? 1 : 0];
      if (opposite != kNobody && opposite / 3 != e / 3) {
        partners_[e] = opposite;
        partners_[opposite] = e;
        opposite = kNobody;
      } else if (own == kNobody) {
        own = e;
      }
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
  std::size_t vertex_count_ = 0;
  std::vector<std::uint32_t> used_;  // per triangle
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
