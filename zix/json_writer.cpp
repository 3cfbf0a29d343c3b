#include "zix/json_writer.h"

#include <cmath>

#include "host/number_text.h"
#include "host/shown_text.h"

namespace Orb::Zix {

void JsonWriter::begin(char open, char close, Layout layout) {
  beforeValue();
  buffer_ += open;
  const bool inherited = !levels_.empty() && levels_.back().layout == OnOneLine;
  levels_.push_back({close, inherited ? OnOneLine : layout, true});
}

void JsonWriter::end() {
  const Level level = levels_.back();
  levels_.pop_back();
  if (!level.empty && level.layout == OnLines) newLine();
  buffer_ += level.close;
  flushWhenFull();
}

void JsonWriter::newLine() {
  if (!indent_) return;
  buffer_ += '\n';
  buffer_.append(2 * levels_.size(), ' ');
}

void JsonWriter::beforeValue() {
  if (after_key_) {
    after_key_ = false;
    return;
  }
  if (levels_.empty()) return;
  Level& level = levels_.back();
  if (!level.empty) buffer_ += ',';
  if (level.layout == OnLines) {
    newLine();
  } else if (!level.empty && indent_) {
    buffer_ += ' ';
  }
  level.empty = false;
}

void JsonWriter::key(std::string_view name) {
  beforeValue();
  appendQuoted(name);
  buffer_ += indent_ ? ": " : ":";
  after_key_ = true;
}

void JsonWriter::text(std::string_view value) {
  beforeValue();
  appendQuoted(value);
  flushWhenFull();
}

void JsonWriter::number(double value) {
  if (!std::isfinite(value)) return text(std::isnan(value) ? "nan" : value > 0 ? "inf" : "-inf");
  raw(loftbay::host::NumberText(value).view());
}

void JsonWriter::number(std::uint64_t value) { raw(loftbay::host::NumberText(value).view()); }

void JsonWriter::raw(std::string_view value) {
  beforeValue();
  buffer_ += value;
  flushWhenFull();
}

void JsonWriter::appendQuoted(std::string_view value) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  buffer_ += '"';
  const std::string valid = loftbay::host::validUtf8(value);
  for (std::size_t i = 0; i < valid.size(); ++i) {
    const char c = valid[i];
    auto byte = static_cast<unsigned char>(c);
    // U+0080 .. U+009F, which a terminal takes for commands.
    const bool is_c1 =
        byte == 0xC2 && i + 1 < valid.size() && static_cast<unsigned char>(valid[i + 1]) < 0xA0;
    if (is_c1) byte = static_cast<unsigned char>(valid[++i]);
    if (c == '"' || c == '\\') {
      buffer_ += '\\';
      buffer_ += c;
    } else if (byte < 0x20 || byte == 0x7F || is_c1) {
      buffer_ += "\\u00";
      buffer_ += kDigits[byte >> 4U];
      buffer_ += kDigits[byte & 15U];
    } else {
      buffer_ += c;
    }
  }
  buffer_ += '"';
}

void JsonWriter::flushWhenFull() {
  constexpr std::size_t kFull = std::size_t{1} << 16;
  if (buffer_.size() < kFull) return;
  sink_(buffer_);
  buffer_.clear();
}

void JsonWriter::finish() {
  buffer_ += '\n';
  sink_(buffer_);
  buffer_.clear();
}

}  // namespace Orb::Zix
