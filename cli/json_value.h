// JSON documents by the same rules in both programs. Only one source sees the library behind it, which costs
// every source that includes it several seconds.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace loftbay::cli {

// A value of a document. Objects keep the order in which their keys were set. A value that was moved from may
// only be assigned to or destroyed.
class JsonValue {
 public:
  struct Field;

  JsonValue();  // null
  JsonValue(std::nullptr_t) : JsonValue() {}
  JsonValue(bool value);
  JsonValue(int value);
  JsonValue(std::uint32_t value);
  JsonValue(std::uint64_t value);
  JsonValue(double value);
  JsonValue(const char* text);
  JsonValue(std::string_view text);
  JsonValue(const std::string& text);
  JsonValue(const std::vector<std::string>& texts);  // an array
  static JsonValue array();
  static JsonValue object(std::initializer_list<Field> fields = {});

  JsonValue(JsonValue&& other) noexcept;
  JsonValue& operator=(JsonValue&& other) noexcept;
  JsonValue(const JsonValue&) = delete;
  JsonValue& operator=(const JsonValue&) = delete;
  ~JsonValue();

  // Of an object.
  void set(std::string_view key, JsonValue value);
  // At the end of an array.
  void add(JsonValue value);

  // None: `text` is not one JSON document.
  static std::optional<JsonValue> parse(std::string_view text);
  // Two blanks for each level. Bytes that are not UTF-8 become U+FFFD.
  [[nodiscard]] std::string text() const;

 private:
  struct Library;
  explicit JsonValue(std::unique_ptr<Library> value);

  std::unique_ptr<Library> value_;
};

// The value is taken out of the field, which a list of initialisers would else copy.
struct JsonValue::Field {
  std::string_view key;
  mutable JsonValue value;
};

// The value, or null where there is none.
template <typename T>
JsonValue orNull(const std::optional<T>& value) {
  return value ? JsonValue(*value) : JsonValue(nullptr);
}

// The text, or null when it is empty.
JsonValue orNull(const std::string& text);

// One document and a line end on standard output. Control characters are escaped, also those that JSON would
// allow.
void printJson(const JsonValue& document);

}  // namespace loftbay::cli
