#include "jttk/file/error.h"

#ifdef LOFTBAY_TRACE

#include <cstdio>

namespace jttk {

tl::unexpected<Error> fail(std::string what, std::uint64_t offset, std::source_location check) {
  std::fprintf(stderr, "%s:%u: %s (at byte %llu)\n", check.file_name(), static_cast<unsigned>(check.line()),
               what.c_str(), static_cast<unsigned long long>(offset));
  return tl::unexpected<Error>(Error{std::move(what), offset});
}

}  // namespace jttk

#endif
