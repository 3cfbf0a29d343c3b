// What a decoder says when bytes are not what they should be. Lower layers fill in what they were reading,
// where, and why not; upper layers put segment, part and path in front with `in`.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <tl/expected.hpp>

namespace jttk {

struct Error {
  std::string what;  // "tri-strip set: coordinates: 7 values in a packet that may hold 3 at most"
  // Offset of the first byte that was not understood, from the start of the file where the bytes are stored
  // plainly, else from the start of the unpacked segment.
  std::uint64_t offset = 0;
  // Nothing is damaged: it would take more than the whole conversion may unpack.
  bool is_over_budget = false;

  // The same error with a place put in front: "segment <id>: …".
  [[nodiscard]] Error in(std::string_view place) const {
    return {std::string(place) + ": " + what, offset, is_over_budget};
  }
  [[nodiscard]] std::string text() const { return what + " (at byte " + std::to_string(offset) + ")"; }
};

template <typename T>
using Result = tl::expected<T, Error>;

inline tl::unexpected<Error> fail(std::string what, std::uint64_t offset) {
  return tl::unexpected<Error>(Error{std::move(what), offset});
}

}  // namespace jttk
