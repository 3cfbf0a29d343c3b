#include "cli/loftbay/message_stream.h"

#include <utility>

#include "host/shown_text.h"

namespace loftbay::cli {

void MessageStream::endLine() {
  if (line_.empty()) return;
  const std::string line = std::exchange(line_, {});
  markTold(line);
  tell_(line);
}

bool MessageStream::told(std::string_view text) const {
  return said_.find(host::shownText(text)) != std::string::npos;
}

void MessageStream::markTold(std::string_view text) { said_ += host::shownText(text) + "\n"; }

int MessageStream::overflow(int c) {
  if (c == traits_type::eof()) return 0;
  const char byte = traits_type::to_char_type(c);
  return xsputn(&byte, 1) == 1 ? c : traits_type::eof();
}

std::streamsize MessageStream::xsputn(const char* text, std::streamsize size) {
  std::string_view rest(text, static_cast<std::size_t>(size));
  for (auto end = rest.find('\n'); end != std::string_view::npos; end = rest.find('\n')) {
    line_ += rest.substr(0, end);
    endLine();
    rest.remove_prefix(end + 1);
  }
  line_ += rest;
  return size;
}

}  // namespace loftbay::cli
