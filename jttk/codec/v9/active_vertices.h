// The open vertices of a mesh that grows, in the order in which they were made, and which of them is finished
// next: the one with the fewest empty slots among the latest; of equals the latest.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace jttk {

// A finished vertex leaves the list when it is among the latest; one that newer vertices have pushed further
// back stays until they are gone. It counts in the offsets of splits as long as it is there.
class ActiveVertices {
 public:
  // How many of the latest are looked at.
  static constexpr std::size_t kWindow = 16;
  static constexpr std::uint32_t kNone = 0xffffffffU;

  void reserve(std::size_t count) { vertices_.reserve(count); }
  void add(std::uint32_t vertex) { vertices_.push_back(vertex); }
  [[nodiscard]] std::size_t size() const noexcept { return vertices_.size(); }
  // Offset 1 is the latest; no more than size().
  [[nodiscard]] std::uint32_t back(std::size_t offset) const { return vertices_[vertices_.size() - offset]; }

  // The vertex to finish, kNone when all are. The one that was given before is finished by now, and nothing
  // else is. `empty_slots_of(vertex)`: kFinished for one that is finished, else less.
  template <typename EmptySlotsOf>
  std::uint32_t next(EmptySlotsOf empty_slots_of) {
    removeFinished(empty_slots_of);
    if (vertices_.empty()) return kNone;
    // With a fixed length in the usual case, which takes no loop.
    const std::uint64_t least = vertices_.size() >= kWindow ? leastKey(kWindow, empty_slots_of)
                                                            : leastKey(vertices_.size(), empty_slots_of);
    given_ = vertices_.size() - 1 - static_cast<std::size_t>(least % kWindow);
    return vertices_[given_];
  }

  static constexpr std::uint32_t kFinished = 0xffffffffU;

 private:
  static constexpr std::size_t kNothing = ~std::size_t{0};

  // Of the latest vertices: slots above, offset below. The least is that of the vertex wanted.
  template <typename EmptySlotsOf>
  std::uint64_t leastKey(std::size_t looked_at, EmptySlotsOf empty_slots_of) const {
    const std::uint32_t* const latest = vertices_.data() + vertices_.size() - 1;
    std::uint64_t least = ~std::uint64_t{0};
    for (std::size_t i = 0; i < looked_at; ++i)
      least = std::min(least, std::uint64_t{empty_slots_of(*(latest - i))} * kWindow + i);
    return least;
  }

  // Only the vertex that was given can be finished among the latest. When it leaves, one that was further
  // back moves up, and that one may be finished since long.
  template <typename EmptySlotsOf>
  void removeFinished(EmptySlotsOf empty_slots_of) {
    if (given_ == kNothing) return;
    if (vertices_.size() - given_ <= kWindow) {
      removeAt(given_);
    } else {
      ++buried_;
    }
    given_ = kNothing;
    while (buried_ > 0 && vertices_.size() >= kWindow &&
           empty_slots_of(vertices_[vertices_.size() - kWindow]) == kFinished) {
      removeAt(vertices_.size() - kWindow);
      --buried_;
    }
  }

  void removeAt(std::size_t index) {
    for (; index + 1 < vertices_.size(); ++index) vertices_[index] = vertices_[index + 1];
    vertices_.pop_back();
  }

  std::vector<std::uint32_t> vertices_;
  std::size_t given_ = kNothing;  // where the vertex is that next() gave
  std::size_t buried_ = 0;        // finished vertices further back than the window
};

}  // namespace jttk
