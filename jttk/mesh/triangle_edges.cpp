// Passes over flat arrays, each linear: corners get vertex numbers (the same number where position and record
// are the same), edges are sorted by their smaller vertex and paired there.
#include "jttk/mesh/triangle_edges.h"

#include <algorithm>

namespace jttk {

namespace {

constexpr std::uint32_t kNobody = triangle_edges::kNoEdge;

std::uint32_t highest(std::span<const std::uint32_t> values) {
  std::uint32_t most = 0;
  for (const std::uint32_t value : values) {
    if (value != kNobody) most = std::max(most, value);
  }
  return most;
}

class EdgePairs {
 public:
  EdgePairs(std::span<const std::uint32_t> corners, std::span<const std::uint32_t> positions,
            std::span<const std::uint32_t> records)
      : corners_(corners), positions_(positions), records_(records) {
    numberVertices();
  }

  // Where more than two edges run between two vertices, those of the first triangles are paired.
  std::vector<std::uint32_t> pair() {
    std::vector<std::uint32_t> partners(corners_.size() / 3 * triangle_edges::kPerTriangle, kNobody);
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
        partners[withGaps(e)] = withGaps(opposite);
        partners[withGaps(opposite)] = withGaps(e);
        opposite = kNobody;
      } else if (own == kNobody) {
        own = e;
      }
    }
    return partners;
  }

 private:
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

  // Here edges are numbered as the corners where they begin, without gaps.
  static std::uint32_t next(std::uint32_t edge) { return edge % 3 == 2 ? edge - 2 : edge + 1; }
  static std::uint32_t withGaps(std::uint32_t edge) { return edge + edge / 3; }

  std::span<const std::uint32_t> corners_;
  std::span<const std::uint32_t> positions_;
  std::span<const std::uint32_t> records_;
  std::vector<std::uint32_t> vertices_;  // per corner: the same number where position and record are the same
  std::size_t vertex_count_ = 0;
};

}  // namespace

std::vector<std::uint32_t> neighboursOfTriangles(std::span<const std::uint32_t> corners,
                                                 std::span<const std::uint32_t> positions,
                                                 std::span<const std::uint32_t> records) {
  return EdgePairs(corners, positions, records).pair();
}

}  // namespace jttk
