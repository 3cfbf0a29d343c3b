#include "diag/tolerance.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>

#include "diag/trace_log.h"
#include "host/file.h"

namespace loftbay::diag {

namespace {

// What a number becomes that no double holds: the library says only that it is out of range.
double outOfRange(std::string_view number, char exponent_mark) {
  // The exponent decides, except where it is missing: then only too many digits can have led here.
  const auto mark = number.find_first_of(exponent_mark == 'e' ? "eE" : "pP");
  const bool tiny = mark != std::string_view::npos && number.substr(mark + 1).starts_with('-');
  const bool fraction = mark == std::string_view::npos && number.find_first_not_of("0.") > number.find('.');
  return tiny || fraction ? 0.0 : std::numeric_limits<double>::infinity();
}

// The number that a text without a sign begins with; empty when it begins with none.
std::optional<double> magnitude(std::string_view number) {
  if (number.starts_with('-')) return std::nullopt;  // a second sign is no number
  double value = 0.0;
  const char* const end = number.data() + number.size();
  if (number.starts_with("0x") || number.starts_with("0X")) {
    const std::string_view digits = number.substr(2);
    if (digits.starts_with('-')) return 0.0;
    const auto [stop, error] = std::from_chars(digits.data(), end, value, std::chars_format::hex);
    if (error == std::errc()) {
      // "0xinf" and "0xnan" are the number 0 and a text behind it.
      return digits.front() == 'i' || digits.front() == 'I' || digits.front() == 'n' || digits.front() == 'N'
                 ? 0.0
                 : value;
    }
    if (error == std::errc::result_out_of_range)
      return outOfRange({digits.data(), static_cast<std::size_t>(stop - digits.data())}, 'p');
    return 0.0;
  }
  const auto [stop, error] = std::from_chars(number.data(), end, value, std::chars_format::general);
  if (error == std::errc()) return value;
  if (error == std::errc::result_out_of_range)
    return outOfRange({number.data(), static_cast<std::size_t>(stop - number.data())}, 'e');
  return std::nullopt;
}

}  // namespace

float UlpTessTolerance = kDefaultUlpTessTolerance;
bool UlpTessToleranceGiven = false;

double numberFromText(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  const auto value = magnitude(text);
  if (!value) return 0.0;
  return negative ? -*value : *value;
}

void setUlpTessTolerance(float tolerance) {
  UlpTessToleranceGiven = true;
  UlpTessTolerance = tolerance;
}

void readUlpTessTolerance() {
  const auto value = host::environmentVariable("MERIDAN_JT_ULP_TESS_TOLERANCE");
  if (!value) return;
  setUlpTessTolerance(static_cast<float>(numberFromText(*value)));
  WriteTraceLog("obJt2Zix::ULP : MERIDAN_JT_ULP_TESS_TOLERANCE is set.");
}

}  // namespace loftbay::diag
