// A vector whose resize leaves new numbers as they come, for arrays that are written at once: filling a large
// one with zeros first costs as much as a pass over it.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

namespace loftbay::geometry {

template <typename T>
class RawAllocator {
 public:
  using value_type = T;

  RawAllocator() = default;
  template <typename U>
  explicit RawAllocator(const RawAllocator<U>& /*other*/) noexcept {}

  T* allocate(std::size_t count) { return std::allocator<T>().allocate(count); }
  void deallocate(T* values, std::size_t count) noexcept { std::allocator<T>().deallocate(values, count); }
  // What resize calls for a new element.
  void construct(T* place) noexcept { ::new (static_cast<void*>(place)) T; }

  friend bool operator==(const RawAllocator& /*a*/, const RawAllocator& /*b*/) { return true; }
};

template <typename T>
using RawVector = std::vector<T, RawAllocator<T>>;

}  // namespace loftbay::geometry
