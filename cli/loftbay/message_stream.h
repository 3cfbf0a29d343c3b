// A stream whose text is handed on line by line, as soon as a line is complete: the toolkit's messages on
// their way to standard error. Keeps what was said, so that a loss is not reported twice.
#pragma once

#include <functional>
#include <ostream>
#include <streambuf>
#include <string>
#include <string_view>

namespace loftbay::cli {

class MessageStream : private std::streambuf {
 public:
  // `tell` takes a line without its end.
  explicit MessageStream(std::function<void(const std::string&)> tell)
      : tell_(std::move(tell)), stream_(this) {}
  MessageStream(const MessageStream&) = delete;
  MessageStream& operator=(const MessageStream&) = delete;
  ~MessageStream() override { endLine(); }

  std::ostream& stream() { return stream_; }
  // Hands on what was begun and not ended.
  void endLine();
  // True when a message held this text.
  [[nodiscard]] bool told(std::string_view text) const;
  void markTold(std::string_view text);

 private:
  int overflow(int c) override;
  std::streamsize xsputn(const char* text, std::streamsize size) override;

  std::function<void(const std::string&)> tell_;
  std::string line_;  // as far as it has come
  std::string said_;  // as it was shown
  std::ostream stream_;
};

}  // namespace loftbay::cli
