#include "geometry/prepared_shapes.h"

#include <algorithm>
#include <utility>

namespace loftbay::geometry {

namespace {

template <typename Values>
std::size_t bytesOf(const Values& values) {
  return values.capacity() * sizeof(typename Values::value_type);
}

}  // namespace

void PreparedShape::take(ShapeArrays& arrays) {
  coordinates = std::move(arrays.coordinates);
  vertices_read = coordinates.size();
  normal_count = arrays.normal_count;
  color_count = arrays.color_count;
}

MergedVertices PreparedShape::merge() {
  MergedVertices merged = mergeVertices(coordinates);
  // A vertex that is kept keeps its colour, if there are so many. New vertices are counted up, so the largest
  // number among the first ones tells how many of these are kept.
  const auto colored = static_cast<std::ptrdiff_t>(std::min(color_count, vertices_read));
  const auto first = merged.vertex_of.begin();
  unique_color_count = colored == 0 ? 0 : std::size_t{*std::max_element(first, first + colored)} + 1;
  coordinates.swap(merged.unique);
  return merged;
}

std::size_t PreparedShape::sizeBytes() const {
  return sizeof(*this) + bytesOf(coordinates) + bytesOf(indices) + bytesOf(lengths);
}

std::shared_ptr<const PreparedShape> PreparedShapes::find(const JtkShape& shape, Manner manner) {
  const auto found = by_key_.find({shape.decodedArrays(), manner});
  if (found == by_key_.end()) return nullptr;
  entries_.splice(entries_.begin(), entries_, found->second);
  return found->second->prepared;
}

void PreparedShapes::keep(const JtkShape& shape, Manner manner, PreparedShape&& prepared) {
  const std::shared_ptr<const void> arrays = shape.decodedArrays();
  const std::size_t size = prepared.sizeBytes();
  const Key key{arrays, manner};
  if (arrays == nullptr || size > most_bytes_ || by_key_.contains(key)) return;
  while (size_bytes_ + size > most_bytes_) {
    size_bytes_ -= entries_.back().size_bytes;
    by_key_.erase(entries_.back().key);
    entries_.pop_back();
  }
  entries_.push_front({key, std::make_shared<const PreparedShape>(std::move(prepared)), size});
  by_key_[key] = entries_.begin();
  size_bytes_ += size;
}

}  // namespace loftbay::geometry
