#include "cli/loftbay/message_stream.h"

#include <cstdio>

namespace loftbay::cli {

int MessageStream::overflow(int c) {
  if (c == traits_type::eof()) return 0;
  const char byte = traits_type::to_char_type(c);
  return xsputn(&byte, 1) == 1 ? c : traits_type::eof();
}

std::streamsize MessageStream::xsputn(const char* text, std::streamsize size) {
  const auto count = static_cast<std::size_t>(size);
  said_.append(text, count);
  std::fwrite(text, 1, count, stderr);
  return size;
}

}  // namespace loftbay::cli
