#include "jttk/file/error.h"

#include <cstdio>
#include <utility>

namespace jttk {

namespace {

std::string offsetText(const Error& error) {
  if (error.offset_in == OffsetIn::Nothing) return {};
  return " (at byte " + std::to_string(error.offset) +
         (error.offset_in == OffsetIn::Inflated ? " of the inflated data)" : ")");
}

std::string inElement(const Error& error) {
  return error.element.empty() ? error.what : error.element + ": " + error.what;
}

Error traced(Error error, [[maybe_unused]] const CheckPlace& check) {
#ifdef LOFTBAY_TRACE
  std::fprintf(stderr, "%s:%u: %s\n", check.file_name(), static_cast<unsigned>(check.line()),
               error.text().c_str());
#endif
  return error;
}

}  // namespace

Error Error::in(std::string_view where) const {
  Error error = *this;
  error.what = std::string(where) + ": " + what;
  return error;
}

Error Error::ofElement(std::string_view name) const {
  Error error = *this;
  error.element = element.empty() ? std::string(name) : std::string(name) + ": " + element;
  return error;
}

Error Error::ofSegment(const InSegment& named, OffsetIn counts_in) const {
  Error error = *this;
  if (segment) return error;
  error.segment = named;
  if (offset_in != OffsetIn::Nothing) error.offset_in = counts_in;
  return error;
}

std::string Error::text() const { return textWithoutOffset() + offsetText(*this); }

std::string Error::textInSegment() const { return inElement(*this) + offsetText(*this); }

std::string Error::textWithoutOffset() const {
  return segment ? "segment " + segment->id.text() + ": " + inElement(*this) : inElement(*this);
}

Error makeError(std::string what, std::uint64_t offset, CheckPlace check) {
  Error error;
  error.what = std::move(what);
  error.offset = offset;
  error.offset_in = OffsetIn::File;
  return traced(std::move(error), check);
}

Error makeError(std::string what, CheckPlace check) {
  Error error;
  error.what = std::move(what);
  return traced(std::move(error), check);
}

tl::unexpected<Error> fail(std::string what, std::uint64_t offset, CheckPlace check) {
  return tl::unexpected<Error>(makeError(std::move(what), offset, check));
}

tl::unexpected<Error> fail(std::string what, CheckPlace check) {
  return tl::unexpected<Error>(makeError(std::move(what), check));
}

}  // namespace jttk
