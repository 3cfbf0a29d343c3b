// Decoded shapes that are kept for the next use, up to a number of bytes; the least recently used are dropped
// first.
#pragma once

#include <cstddef>
#include <list>
#include <map>
#include <memory>
#include <tuple>

#include "jttk/mesh/shape_arrays.h"
#include "jttk/model/document.h"

namespace jttk {

class ShapeCache {
 public:
  struct Key {
    const Document* document;
    std::uint32_t node;
    // Of a part whose exact geometry was tessellated: with which values.
    float chord_percent = 0;
    float minimum_edge_length = 0;
    bool operator<(const Key& other) const {
      return std::tie(document, node, chord_percent, minimum_edge_length) <
             std::tie(other.document, other.node, other.chord_percent, other.minimum_edge_length);
    }
  };

  explicit ShapeCache(std::size_t limit_bytes) : limit_bytes_(limit_bytes) {}

  // Null when it is not kept.
  std::shared_ptr<const ShapeArrays> find(const Key& key);
  void keep(const Key& key, std::shared_ptr<const ShapeArrays> arrays);
  [[nodiscard]] std::size_t sizeBytes() const { return size_bytes_; }

 private:
  struct Entry {
    Key key;
    std::shared_ptr<const ShapeArrays> arrays;
    std::size_t size_bytes;
  };

  std::list<Entry> entries_;  // the latest first
  std::map<Key, std::list<Entry>::iterator> by_key_;
  std::size_t limit_bytes_;
  std::size_t size_bytes_ = 0;
};

}  // namespace jttk
