// A decoder's error: what was read, at which offset, and what is wrong. Callers put segment, part and path in
// front with `in`.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <tl/expected.hpp>

#ifdef LOFTBAY_TRACE
#include <source_location>
#endif

namespace jttk {

struct Error {
  std::string what;  // "tri-strip set: coordinates: 7 values in a packet that may hold 3 at most"
  // Offset of the first byte that could not be read: in the file where the segment is not compressed, else in
  // its inflated data.
  std::uint64_t offset = 0;
  // The data are not damaged: unpacking them would exceed the limit of the whole conversion.
  bool is_over_budget = false;

  // The same error with its context put in front: "segment <id>: …".
  [[nodiscard]] Error in(std::string_view where) const {
    return {std::string(where) + ": " + what, offset, is_over_budget};
  }
  [[nodiscard]] std::string text() const { return what + " (at byte " + std::to_string(offset) + ")"; }
};

template <typename T>
using Result = tl::expected<T, Error>;

#ifdef LOFTBAY_TRACE  // of debug builds: prints on standard error which check failed
tl::unexpected<Error> fail(std::string what, std::uint64_t offset,
                           std::source_location check = std::source_location::current());
#else
inline tl::unexpected<Error> fail(std::string what, std::uint64_t offset) {
  return tl::unexpected<Error>(Error{std::move(what), offset});
}
#endif

}  // namespace jttk
