// The toolkit's messages on their way to standard error, one line each. Keeps what was said, so that a loss
// is not told twice.
#pragma once

#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>
#include <string_view>

namespace loftbay::cli {

class MessageStream : private std::streambuf {
 public:
  MessageStream() : stream_(this) {}
  ~MessageStream() override;
  MessageStream(const MessageStream&) = delete;
  MessageStream& operator=(const MessageStream&) = delete;

  std::ostream& stream() { return stream_; }
  // True when a message held this text.
  [[nodiscard]] bool told(std::string_view text) const;
  void markTold(std::string_view text);

 private:
  int overflow(int c) override;
  std::streamsize xsputn(const char* text, std::streamsize size) override;

  std::string line_;  // as far as it has come
  std::string said_;  // as it was shown
  std::ostream stream_;
};

}  // namespace loftbay::cli
