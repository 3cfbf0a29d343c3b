// How everything in the toolkit says that it failed: a Result with an Error, made by fail(). An error says
// what is wrong, and carries as data where: the byte, the element and the segment. Whoever is handed a
// segment or an element adds it on the way up; text() makes the message of it all. Nothing is allocated where
// all is well.
//
// A loop that decodes symbols or searches a mesh may tell its caller by an enum or a null what happened; its
// header says why, and the caller makes the error.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tl/expected.hpp>

#include "jttk/file/guid.h"
#include "jttk/file/segment_type.h"

#ifdef LOFTBAY_TRACE
#include <source_location>
#endif

namespace jttk {

// Where in our sources a check stands. In debug builds (LOFTBAY_TRACE) every error prints it when it is made;
// in others it is empty and costs nothing. clang 14 has no std::source_location.
#ifdef LOFTBAY_TRACE
using CheckPlace = std::source_location;
#else
struct CheckPlace {
  static constexpr CheckPlace current() noexcept { return {}; }
};
#endif

// What the offset of an error counts in.
enum class OffsetIn : std::uint8_t {
  Nothing,   // the error is about no byte; its offset is 0
  File,      // from the start of the file
  Inflated,  // from the start of the segment's inflated data
};

struct Error {
  struct InSegment {
    Guid id;
    SegmentType type{};
  };

  // What was read, and what is wrong with it: "coordinates: 7 values in a packet that may hold 3 at most".
  std::string what;
  // Of the first byte that could not be read.
  std::uint64_t offset = 0;
  OffsetIn offset_in = OffsetIn::Nothing;
  // The data are not damaged: unpacking them would exceed the limit of the whole conversion.
  bool is_over_budget = false;
  // What of the segment could not be read, from the outside in: "tri-strip set", "scene graph: part node
  // element 7". Empty where it is not known.
  std::string element;
  std::optional<InSegment> segment;

  // The same error with its context put in front: what was being read.
  [[nodiscard]] Error in(std::string_view where) const;
  // The same error in an element; `name` encloses the element that it is in already.
  [[nodiscard]] Error ofElement(std::string_view name) const;
  // The same error in a segment, unless it has one already. `counts_in`: what offsets of this segment's data
  // count in.
  [[nodiscard]] Error ofSegment(const InSegment& named, OffsetIn counts_in) const;

  // "segment <id>: tri-strip set: coordinates: 7 values … (at byte 12 of the inflated data)".
  [[nodiscard]] std::string text() const;
  // The same for a reader who has been told the segment.
  [[nodiscard]] std::string textInSegment() const;
  // text() without the offset.
  [[nodiscard]] std::string textWithoutOffset() const;
};

template <typename T>
using Result = tl::expected<T, Error>;

// The helpers that make errors; nothing else does. An offset counts in the file until the error is put into a
// segment with inflated data.
[[nodiscard]] Error makeError(std::string what, std::uint64_t offset,
                              CheckPlace check = CheckPlace::current());
[[nodiscard]] tl::unexpected<Error> fail(std::string what, std::uint64_t offset,
                                         CheckPlace check = CheckPlace::current());
// The same for errors that are about no byte.
[[nodiscard]] Error makeError(std::string what, CheckPlace check = CheckPlace::current());
[[nodiscard]] tl::unexpected<Error> fail(std::string what, CheckPlace check = CheckPlace::current());

// Hands an error on to a caller whose result has another type.
template <typename T>
[[nodiscard]] tl::unexpected<Error> passOn(const Result<T>& failed) {
  return tl::unexpected<Error>(failed.error());
}

}  // namespace jttk
