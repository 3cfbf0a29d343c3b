#include "jttk/mesh/append.h"

namespace jttk {

namespace {

template <typename T>
void appendValues(std::vector<T>& to, const std::vector<T>& from) {
  to.insert(to.end(), from.begin(), from.end());
}

}  // namespace

void append(ShapeGeometry& to, const ShapeGeometry& from) {
  if (from.primitiveCount() == 0) return;
  to.neighbours = {};
  const auto positions = static_cast<std::uint32_t>(to.positions.size() / 3);
  const auto records = static_cast<std::uint32_t>(to.normals.size() / 3);
  const auto corners = static_cast<std::uint32_t>(to.corner_positions.size());
  appendValues(to.positions, from.positions);
  appendValues(to.normals, from.normals);
  if (to.primitive_starts.empty()) to.primitive_starts.push_back(0);
  for (std::size_t i = 1; i < from.primitive_starts.size(); ++i) {
    to.primitive_starts.push_back(corners + from.primitive_starts[i]);
  }
  for (const std::uint32_t p : from.corner_positions) to.corner_positions.push_back(positions + p);
  for (const std::uint32_t r : from.corner_records) {
    to.corner_records.push_back(r == ShapeGeometry::kNoRecord ? r : records + r);
  }
}

}  // namespace jttk
