#include "cli/json_value.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "cli/console.h"

namespace loftbay::cli {

struct JsonValue::Library {
  nlohmann::ordered_json json;
};

namespace {

// DEL and U+0080 .. U+009F may be in JSON as they are, but a terminal takes the latter for commands. They
// occur in strings only.
std::string withoutRawControls(const std::string& json) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string result;
  result.reserve(json.size());
  for (std::size_t i = 0; i < json.size(); ++i) {
    auto code = static_cast<unsigned char>(json[i]);
    const bool is_c1 = code == 0xC2 && i + 1 < json.size() && static_cast<unsigned char>(json[i + 1]) < 0xA0;
    if (is_c1) code = static_cast<unsigned char>(json[++i]);
    if (is_c1 || code == 0x7F) {
      result += "\\u00";
      result += kDigits[code >> 4U];
      result += kDigits[code & 15U];
    } else {
      result += json[i];
    }
  }
  return result;
}

}  // namespace

JsonValue::JsonValue(std::unique_ptr<Library> value) : value_(std::move(value)) {}
JsonValue::JsonValue() : value_(std::make_unique<Library>()) {}
JsonValue::JsonValue(bool value) : JsonValue() { value_->json = value; }
JsonValue::JsonValue(int value) : JsonValue() { value_->json = value; }
JsonValue::JsonValue(std::uint32_t value) : JsonValue() { value_->json = value; }
JsonValue::JsonValue(std::uint64_t value) : JsonValue() { value_->json = value; }
JsonValue::JsonValue(double value) : JsonValue() { value_->json = value; }
JsonValue::JsonValue(const char* text) : JsonValue(std::string_view(text)) {}
JsonValue::JsonValue(std::string_view text) : JsonValue() { value_->json = text; }
JsonValue::JsonValue(const std::string& text) : JsonValue(std::string_view(text)) {}
JsonValue::JsonValue(const std::vector<std::string>& texts) : JsonValue() { value_->json = texts; }

JsonValue JsonValue::array() { return JsonValue(std::vector<std::string>()); }

JsonValue JsonValue::object(std::initializer_list<Field> fields) {
  JsonValue object;
  object.value_->json = nlohmann::ordered_json::object();
  for (const Field& field : fields) object.set(field.key, std::move(field.value));
  return object;
}

JsonValue::JsonValue(JsonValue&& other) noexcept = default;
JsonValue& JsonValue::operator=(JsonValue&& other) noexcept = default;
JsonValue::~JsonValue() = default;

void JsonValue::set(std::string_view key, JsonValue value) {
  value_->json[std::string(key)] = std::move(value.value_->json);
}

void JsonValue::add(JsonValue value) { value_->json.push_back(std::move(value.value_->json)); }

std::optional<JsonValue> JsonValue::parse(std::string_view text) {
  JsonValue value;
  value.value_->json = nlohmann::ordered_json::parse(text, nullptr, false);
  if (value.value_->json.is_discarded()) return std::nullopt;
  return value;
}

std::string JsonValue::text() const {
  return value_->json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

JsonValue orNull(const std::string& text) { return text.empty() ? JsonValue(nullptr) : JsonValue(text); }

void printJson(const JsonValue& document) { print(withoutRawControls(document.text() + "\n")); }

}  // namespace loftbay::cli
