// What became of shapes that were written: a shape that is placed again is not read and merged again.
#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <vector>

#include "geometry/shape_arrays.h"
#include "geometry/shape_writers.h"

namespace loftbay::geometry {

// A shape as it goes into the scene, and the figures of its log lines.
struct PreparedShape {
  RawVector<Point> coordinates;
  RawVector<std::uint32_t> indices;
  std::vector<std::uint32_t> lengths;  // one per element: how many indices it takes
  std::size_t vertices_read = 0;
  std::size_t normal_count = 0;
  std::size_t color_count = 0;
  std::size_t unique_color_count = 0;  // with the vertices that are kept
  std::size_t flattened_triangles = 0;

  // Takes over what a shape's arrays hold; the lengths and indices are still to be made.
  void take(ShapeArrays& arrays);
  // Merges the vertices. The result has, for each of them, which one it became.
  MergedVertices merge();
  [[nodiscard]] std::size_t sizeBytes() const;
};

// Shapes are known by what the toolkit decoded for them (JtkShape::decodedArrays), not by name; a toolkit
// that cannot tell has no shape remembered. Beyond a number of bytes the least recently used are forgotten.
class PreparedShapes {
 public:
  static constexpr std::size_t kMostBytes = std::size_t{32} << 20;

  // How the arrays were prepared.
  struct Manner {
    ShapeKind kind;
    bool is_merged;
    friend auto operator<=>(const Manner&, const Manner&) = default;
  };

  explicit PreparedShapes(std::size_t most_bytes = kMostBytes) : most_bytes_(most_bytes) {}

  // Null when the shape is not remembered.
  std::shared_ptr<const PreparedShape> find(const JtkShape& shape, Manner manner);
  // Remembers it if there is room for it.
  void keep(const JtkShape& shape, Manner manner, PreparedShape&& prepared);
  [[nodiscard]] std::size_t sizeBytes() const { return size_bytes_; }

 private:
  // Does not hold the arrays, and yet nothing else gets their place as long as it is there.
  struct Key {
    std::weak_ptr<const void> arrays;
    Manner manner;
    bool operator<(const Key& other) const {
      if (arrays.owner_before(other.arrays)) return true;
      if (other.arrays.owner_before(arrays)) return false;
      return manner < other.manner;
    }
  };
  struct Entry {
    Key key;
    std::shared_ptr<const PreparedShape> prepared;
    std::size_t size_bytes;
  };

  std::list<Entry> entries_;  // the latest first
  std::map<Key, std::list<Entry>::iterator> by_key_;
  std::size_t most_bytes_;
  std::size_t size_bytes_ = 0;
};

}  // namespace loftbay::geometry
