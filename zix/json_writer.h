// Writes one JSON document piece by piece into a sink, so that a document with a million entries needs no
// memory. Numbers are locale-free and exact; numbers that JSON does not know become the texts "nan", "inf"
// and "-inf"; texts are made valid UTF-8.
//
//   JsonWriter json(sink);
//   json.beginObject();
//   json.key("name"); json.text("bolt");
//   json.key("box");  json.beginArray(JsonWriter::OnOneLine); … json.end();
//   json.end();
//   json.finish();
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace Orb::Zix {

class JsonWriter {
 public:
  enum Layout { OnLines, OnOneLine };
  using Sink = std::function<void(std::string_view)>;

  // `indent` false writes no white space at all.
  explicit JsonWriter(Sink sink, bool indent = true) : sink_(std::move(sink)), indent_(indent) {}

  void beginObject(Layout layout = OnLines) { begin('{', '}', layout); }
  void beginArray(Layout layout = OnLines) { begin('[', ']', layout); }
  void end();
  void key(std::string_view name);

  void text(std::string_view value);
  void number(double value);
  void number(std::uint64_t value);
  void boolean(bool value) { raw(value ? "true" : "false"); }
  void null() { raw("null"); }

  // Ends the line and hands the rest to the sink.
  void finish();

 private:
  struct Level {
    char close;
    Layout layout;
    bool empty;
  };

  void begin(char open, char close, Layout layout);
  void beforeValue();
  void raw(std::string_view value);
  void appendQuoted(std::string_view value);
  void newLine();
  void flushWhenFull();

  Sink sink_;
  bool indent_;
  bool after_key_ = false;
  std::vector<Level> levels_;
  std::string buffer_;
};

}  // namespace Orb::Zix
