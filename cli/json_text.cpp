#include "cli/json_text.h"

#include <cmath>
#include <string>
#include <string_view>

#include "cli/console.h"

namespace loftbay::cli {

namespace {

// DEL and U+0080 .. U+009F may stand in JSON as they are, but a terminal takes the latter for commands. They
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

nlohmann::ordered_json jsonNumber(double value) {
  if (std::isnan(value)) return "nan";
  if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
  return value;
}

void printJson(const nlohmann::ordered_json& document) {
  const std::string text = withoutRawControls(
      document.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n");
  print(text);
}

}  // namespace loftbay::cli
