// Strips are grown greedily: from each seed triangle the three possible starts are tried and the longest
// strip is kept, so every triangle is looked at a bounded number of times.
#include "jttk/mesh/strips.h"

#include <memory>
#include <utility>

#include "jttk/mesh/triangle_edges.h"

namespace jttk {

namespace {

using triangle_edges::next;
using triangle_edges::previous;
using triangle_edges::triangleOf;

class StripGrower {
 public:
  explicit StripGrower(std::span<const std::uint32_t> neighbours)
      : neighbours_(neighbours),
        used_(neighbours.size() / triangle_edges::kPerTriangle, kUnused),
        path_(std::make_unique_for_overwrite<std::uint32_t[]>(used_.size())),
        best_path_(std::make_unique_for_overwrite<std::uint32_t[]>(used_.size())) {}

  // Calls strip(edges) for one strip after another. `edges`: those that begin at the strip's corners.
  template <typename Strip>
  void run(Strip strip) {
    for (std::uint32_t seed = 0; seed < used_.size(); ++seed) {
      if (used_[seed] == kTaken) continue;
      const auto [first, length] = longestFrom(seed);
      used_[seed] = kTaken;
      for (std::uint32_t i = 0; i < length; ++i) used_[triangleOf(best_path_[i])] = kTaken;
      const std::uint32_t start[] = {first, next(first), previous(first)};
      strip(std::span<const std::uint32_t>(start), std::span<const std::uint32_t>(best_path_.get(), length));
    }
  }

 private:
  // States of a triangle: taken by a strip, or the number of the last trial that passed it.
  static constexpr std::uint32_t kUnused = 0;
  static constexpr std::uint32_t kTaken = 0xffffffffU;

  // The edge where it starts, and how many corners it has behind the first three (they are in best_path_).
  std::pair<std::uint32_t, std::uint32_t> longestFrom(std::uint32_t seed) {
    const std::uint32_t first = seed * triangle_edges::kPerTriangle;
    std::pair<std::uint32_t, std::uint32_t> best{first, walk(first)};
    std::swap(path_, best_path_);
    for (const std::uint32_t other : {first + 1, first + 2}) {
      const std::uint32_t length = walk(other);
      if (length <= best.second) continue;
      best = {other, length};
      std::swap(path_, best_path_);
    }
    return best;
  }

  // Walks the strip whose first triangle starts at that edge, until there is no triangle or it is taken, also
  // by this strip itself. The corners that the further triangles add go to path_.
  std::uint32_t walk(std::uint32_t first) {
    const std::uint32_t mark = ++trial_;
    const std::uint32_t* const neighbours = neighbours_.data();
    std::uint32_t* const used = used_.data();
    std::uint32_t* const path = path_.get();
    std::uint32_t length = 0;
    used[triangleOf(first)] = mark;
    // Marks of earlier trials are smaller.
    const auto enter = [&](std::uint32_t entry) {
      if (entry == triangle_edges::kNoEdge) return false;
      std::uint32_t& state = used[triangleOf(entry)];
      if (state >= mark) return false;
      state = mark;
      path[length++] = previous(entry);
      return true;
    };
    // The strip leaves its first triangle over the edge opposite to its first corner, the next ones by turns
    // over the edge before and behind the corner that they added.
    std::uint32_t edge = next(first);
    for (;;) {
      std::uint32_t entry = neighbours[edge];
      if (!enter(entry)) return length;
      edge = previous(entry);
      entry = neighbours[edge];
      if (!enter(entry)) return length;
      edge = next(entry);
    }
  }

  std::span<const std::uint32_t> neighbours_;
  std::vector<std::uint32_t> used_;  // per triangle
  std::unique_ptr<std::uint32_t[]> path_, best_path_;
  std::uint32_t trial_ = 0;
};

// `corner_of(edge)`: index of the corner where the edge begins.
template <typename CornerOf>
Primitives grownStrips(std::span<const std::uint32_t> neighbours, std::span<const std::uint32_t> positions,
                       std::span<const std::uint32_t> records, CornerOf corner_of) {
  Primitives strips;
  strips.starts.push_back(0);
  const std::size_t likely = neighbours.size() / triangle_edges::kPerTriangle * 3 / 2;
  strips.positions.reserve(likely);
  if (!records.empty()) strips.records.reserve(likely);
  StripGrower grower(neighbours);
  grower.run([&](std::span<const std::uint32_t> start, std::span<const std::uint32_t> further) {
    const auto add = [&](std::span<const std::uint32_t> values, std::vector<std::uint32_t>& to) {
      const std::size_t before = to.size();
      to.resize(before + start.size() + further.size());
      std::uint32_t* out = to.data() + before;
      for (const std::uint32_t edge : start) *out++ = values[corner_of(edge)];
      for (const std::uint32_t edge : further) *out++ = values[corner_of(edge)];
    };
    add(positions, strips.positions);
    if (!records.empty()) add(records, strips.records);
    strips.starts.push_back(static_cast<std::uint32_t>(strips.positions.size()));
  });
  return strips;
}

// Three per triangle: index of the polygon's corner.
std::vector<std::uint32_t> fannedCorners(std::span<const std::uint32_t> starts) {
  std::vector<std::uint32_t> corners;
  if (starts.empty()) return corners;
  std::size_t count = 0;
  for (std::size_t i = 0; i + 1 < starts.size(); ++i) {
    const std::uint32_t size = starts[i + 1] - starts[i];
    if (size >= 3) count += size - 2;
  }
  corners.reserve(3 * count);
  for (std::size_t i = 0; i + 1 < starts.size(); ++i) {
    for (std::uint32_t k = starts[i] + 2; k < starts[i + 1]; ++k) {
      corners.push_back(starts[i]);
      corners.push_back(k - 1);
      corners.push_back(k);
    }
  }
  return corners;
}

// Each a strip of its own: for meshes of more than a thousand million triangles, whose edges have no numbers.
Primitives singleTriangles(std::span<const std::uint32_t> corners, std::span<const std::uint32_t> positions,
                           std::span<const std::uint32_t> records) {
  Primitives strips;
  strips.starts.push_back(0);
  for (std::size_t i = 0; i < corners.size(); ++i) {
    strips.positions.push_back(positions[corners[i]]);
    if (!records.empty()) strips.records.push_back(records[corners[i]]);
    if (i % 3 == 2) strips.starts.push_back(static_cast<std::uint32_t>(i + 1));
  }
  return strips;
}

}  // namespace

Primitives stripsOfPolygons(std::span<const std::uint32_t> starts, std::span<const std::uint32_t> positions,
                            std::span<const std::uint32_t> records) {
  const std::vector<std::uint32_t> corners = fannedCorners(starts);
  if (corners.size() / 3 > triangle_edges::kMostTriangles)
    return singleTriangles(corners, positions, records);
  return grownStrips(neighboursOfTriangles(corners, positions, records), positions, records,
                     [&](std::uint32_t edge) { return corners[triangle_edges::cornerOf(edge)]; });
}

Primitives stripsOfTriangles(std::span<const std::uint32_t> neighbours,
                             std::span<const std::uint32_t> positions,
                             std::span<const std::uint32_t> records) {
  return grownStrips(neighbours, positions, records,
                     [](std::uint32_t edge) { return triangle_edges::cornerOf(edge); });
}

}  // namespace jttk
