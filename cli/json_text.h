// JSON output by the same rules in both programs.
#pragma once

#include <nlohmann/json.hpp>

namespace loftbay::cli {

// A number, or the text "nan", "inf" or "-inf" for what JSON has no number for.
nlohmann::ordered_json jsonNumber(double value);

// One document and a line end on standard output. Bytes that are not UTF-8 become U+FFFD; control characters
// are escaped, also those that JSON would allow.
void printJson(const nlohmann::ordered_json& document);

}  // namespace loftbay::cli
