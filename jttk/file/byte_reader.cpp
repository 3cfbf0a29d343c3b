#include "jttk/file/byte_reader.h"

#include <cstdio>

namespace jttk {
namespace {

constexpr std::uint32_t kReplacementCharacter = 0xfffd;

void appendUtf8(std::string& text, std::uint32_t code_point) {
  const auto put = [&](std::uint32_t byte) { text.push_back(static_cast<char>(byte)); };
  if (code_point < 0x80) {
    put(code_point);
  } else if (code_point < 0x800) {
    put(0xc0 | (code_point >> 6));
    put(0x80 | (code_point & 0x3f));
  } else if (code_point < 0x10000) {
    put(0xe0 | (code_point >> 12));
    put(0x80 | ((code_point >> 6) & 0x3f));
    put(0x80 | (code_point & 0x3f));
  } else {
    put(0xf0 | (code_point >> 18));
    put(0x80 | ((code_point >> 12) & 0x3f));
    put(0x80 | ((code_point >> 6) & 0x3f));
    put(0x80 | (code_point & 0x3f));
  }
}

bool isHighSurrogate(std::uint32_t unit) { return unit >= 0xd800 && unit < 0xdc00; }
bool isLowSurrogate(std::uint32_t unit) { return unit >= 0xdc00 && unit < 0xe000; }

}  // namespace

std::string Guid::text() const {
  char buffer[40];
  std::snprintf(buffer, sizeof buffer, "%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x", unsigned{a},
                unsigned{b}, unsigned{c}, unsigned{d[0]}, unsigned{d[1]}, unsigned{d[2]}, unsigned{d[3]},
                unsigned{d[4]}, unsigned{d[5]}, unsigned{d[6]}, unsigned{d[7]});
  return buffer;
}

Guid ByteReader::guid(FieldName what) {
  Guid id;
  id.a = u32(what);
  id.b = u16(what);
  id.c = u16(what);
  const auto tail = take(sizeof id.d, what);
  if (!tail.empty()) std::memcpy(id.d, tail.data(), sizeof id.d);
  return id;
}

std::string ByteReader::mbString(FieldName what) {
  const std::uint32_t units = count(what, sizeof(std::uint16_t));
  std::string text;
  text.reserve(units);
  std::uint32_t high = 0;  // a high surrogate that waits for its other half
  for (std::uint32_t i = 0; i < units; ++i) {
    const std::uint32_t unit = u16(what);
    if (high != 0 && isLowSurrogate(unit)) {
      appendUtf8(text, 0x10000 + ((high - 0xd800) << 10) + (unit - 0xdc00));
      high = 0;
      continue;
    }
    if (high != 0) appendUtf8(text, kReplacementCharacter);
    high = isHighSurrogate(unit) ? unit : 0;
    if (high == 0) appendUtf8(text, isLowSurrogate(unit) ? kReplacementCharacter : unit);
  }
  if (high != 0) appendUtf8(text, kReplacementCharacter);
  while (!text.empty() && text.back() == '\0') text.pop_back();
  return text;
}

std::uint32_t ByteReader::count(FieldName what, std::size_t minimum_size) {
  const std::uint64_t start = offset();
  const std::int32_t value = i32(what);
  if (!ok()) return 0;
  const char* reason = nullptr;
  if (value < 0) reason = "has a negative count";
  if (value > 0 && minimum_size > 0 && static_cast<std::size_t>(value) > remaining() / minimum_size) {
    reason = "has a count larger than the bytes left";
  }
  if (reason == nullptr) return static_cast<std::uint32_t>(value);
  setFailed(what, reason);
  failed_offset_ = start;
  return 0;
}

std::span<const std::byte> ByteReader::take(std::size_t size, FieldName what) {
  if (!ok()) return {};
  if (size > remaining()) {
    setFailed(what, "ends too early");
    return {};
  }
  const auto view = bytes_.subspan(position_, size);
  position_ += size;
  return view;
}

ByteReader ByteReader::sub(std::size_t size, FieldName what) {
  const std::uint64_t start = offset();
  return ByteReader(take(size, what), order_, start);
}

Error ByteReader::error() const {
  const std::string what = failed_what_ != nullptr ? failed_what_ : "nothing";
  const std::string reason = failed_reason_ != nullptr ? failed_reason_ : "failed";
  return makeError(what + ' ' + reason, failed_offset_, failed_check_);
}

void ByteReader::setFailed(FieldName what, const char* reason) noexcept {
  if (failed_what_ != nullptr) return;
  failed_what_ = what.text;
  failed_reason_ = reason;
  failed_offset_ = offset();
  failed_check_ = what.check;
}

}  // namespace jttk
