#include "cli/loftbay/message_stream.h"

#include "cli/console.h"
#include "host/shown_text.h"

namespace loftbay::cli {

int MessageStream::overflow(int c) {
  if (c == traits_type::eof()) return 0;
  const char byte = traits_type::to_char_type(c);
  return xsputn(&byte, 1) == 1 ? c : traits_type::eof();
}

std::streamsize MessageStream::xsputn(const char* text, std::streamsize size) {
  line_.append(text, static_cast<std::size_t>(size));
  for (auto end = line_.find('\n'); end != std::string::npos; end = line_.find('\n')) {
    const std::string line = line_.substr(0, end);
    line_.erase(0, end + 1);
    markTold(line);
    say(line);
  }
  return size;
}

MessageStream::~MessageStream() {
  if (!line_.empty()) say(line_);
}

bool MessageStream::told(std::string_view text) const {
  return said_.find(host::shownText(text)) != std::string::npos;
}

void MessageStream::markTold(std::string_view text) { said_ += host::shownText(text) + "\n"; }

}  // namespace loftbay::cli
