#include "samples/maker/strips.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <unordered_map>

namespace loftbay::maker {
namespace {

std::uint64_t pairKey(std::uint32_t a, std::uint32_t b) { return std::uint64_t{a} << 32 | b; }

void numberCorners(const Shape& shape, IndexedPrimitives& out) {
  std::unordered_map<std::uint64_t, std::uint32_t> numbers;
  numbers.reserve(shape.positions.size() * 2);
  out.corners.reserve(shape.corner_positions.size());
  for (std::size_t c = 0; c < shape.corner_positions.size(); ++c) {
    const std::uint32_t record = shape.hasRecords() ? shape.corner_records[c] : 0;
    const auto next = static_cast<std::uint32_t>(numbers.size());
    const auto [found, added] = numbers.try_emplace(pairKey(shape.corner_positions[c], record), next);
    if (added) {
      out.positions.push_back(shape.corner_positions[c]);
      out.records.push_back(record);
    }
    out.corners.push_back(found->second);
  }
}

class Stripper {
 public:
  explicit Stripper(const std::vector<std::uint32_t>& triangles)
      : triangles_(triangles), used_(triangles.size() / 3, false) {
    by_edge_.reserve(triangles.size());
    for (std::uint32_t c = 0; c < triangles.size(); ++c) {
      const std::uint32_t next = c % 3 == 2 ? c - 2 : c + 1;
      by_edge_.emplace(pairKey(triangles[c], triangles[next]), c);
    }
  }

  // The next strip; empty when all triangles are used.
  std::vector<std::uint32_t> next() {
    while (first_ < used_.size() && used_[first_]) ++first_;
    if (first_ == used_.size()) return {};
    used_[first_] = true;
    std::vector<std::uint32_t> strip(3);
    for (unsigned turn = 0; turn < 3; ++turn) {
      for (unsigned k = 0; k < 3; ++k) strip[k] = triangles_[3 * first_ + (k + turn) % 3];
      if (across(strip[2], strip[1]) != nullptr) break;
    }
    for (std::size_t k = 1;; ++k) {
      const std::uint32_t* corner =
          k % 2 == 1 ? across(strip[k + 1], strip[k]) : across(strip[k], strip[k + 1]);
      if (corner == nullptr) return strip;
      used_[*corner / 3] = true;
      strip.push_back(triangles_[*corner / 3 * 3 + (*corner + 2) % 3]);
    }
  }

 private:
  // The corner where an unused triangle has the edge from a to b.
  const std::uint32_t* across(std::uint32_t a, std::uint32_t b) {
    const auto found = by_edge_.find(pairKey(a, b));
    return found == by_edge_.end() || used_[found->second / 3] ? nullptr : &found->second;
  }

  const std::vector<std::uint32_t>& triangles_;
  std::vector<bool> used_;
  std::unordered_map<std::uint64_t, std::uint32_t> by_edge_;
  std::size_t first_ = 0;
};

}  // namespace

IndexedPrimitives indexedPrimitives(const Shape& shape, bool join) {
  IndexedPrimitives out;
  numberCorners(shape, out);
  if (shape.kind != ShapeKind::Triangles) {
    out.starts = shape.primitive_starts;
    return out;
  }
  const std::vector<std::uint32_t> triangles = std::move(out.corners);
  out.corners.clear();
  out.starts = {0};
  Stripper stripper(triangles);
  for (auto strip = stripper.next(); !strip.empty(); strip = stripper.next()) {
    if (join && !out.corners.empty()) {
      out.corners.push_back(out.corners.back());
      out.corners.push_back(strip.front());
      if (out.corners.size() % 2 != 0) out.corners.push_back(strip.front());
      out.starts.pop_back();
    }
    out.corners.insert(out.corners.end(), strip.begin(), strip.end());
    out.starts.push_back(static_cast<std::uint32_t>(out.corners.size()));
  }
  return out;
}

}  // namespace loftbay::maker
