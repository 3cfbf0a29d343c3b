#include "jttk/model/shape_cache.h"

namespace jttk {

std::shared_ptr<const ShapeArrays> ShapeCache::find(const Key& key) {
  const auto found = by_key_.find(key);
  if (found == by_key_.end()) return nullptr;
  entries_.splice(entries_.begin(), entries_, found->second);
  return found->second->arrays;
}

void ShapeCache::keep(const Key& key, std::shared_ptr<const ShapeArrays> arrays) {
  const std::size_t size = arrays->sizeBytes();
  if (size > limit_bytes_ || by_key_.contains(key)) return;
  while (size_bytes_ + size > limit_bytes_) {
    size_bytes_ -= entries_.back().size_bytes;
    by_key_.erase(entries_.back().key);
    entries_.pop_back();
  }
  entries_.push_front({key, std::move(arrays), size});
  by_key_[key] = entries_.begin();
  size_bytes_ += size;
}

}  // namespace jttk
