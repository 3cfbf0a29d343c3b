#include "jttk/graph/property_text.h"

#include <cmath>
#include <cstdio>

#include "host/number_text.h"

namespace jttk {

namespace {

// The year that its four digits can show.
constexpr int kLastYear = 9999;

bool isDate(const StoredDate& date) {
  const auto within = [](int value, int low, int high) { return value >= low && value <= high; };
  return within(date[0], 1, kLastYear) && within(date[1], 0, 11) && within(date[2], 1, 31) &&
         within(date[3], 0, 23) && within(date[4], 0, 59) && within(date[5], 0, 60);
}

template <typename... Values>
std::string printed(const char* format, Values... values) {
  std::array<char, 64> text{};
  const int length = std::snprintf(text.data(), text.size(), format, values...);
  return {text.data(), static_cast<std::size_t>(length)};
}

// Nothing for an offset that no place on earth has.
std::string offsetText(float hours_ahead) {
  constexpr float kMostHours = 24;
  if (!(std::abs(hours_ahead) < kMostHours)) return {};
  const int minutes = static_cast<int>(std::lround(std::abs(hours_ahead) * 60));
  return printed("%c%02d:%02d", hours_ahead < 0 ? '-' : '+', minutes / 60, minutes % 60);
}

}  // namespace

std::string dateText(const StoredDate& date, std::optional<float> hours_ahead) {
  if (!isDate(date)) {
    return printed("%d %d %d %d %d %d", date[0], date[1], date[2], date[3], date[4], date[5]);
  }
  return printed("%04d-%02d-%02dT%02d:%02d:%02d", date[0], date[1] + 1, date[2], date[3], date[4], date[5]) +
         (hours_ahead ? offsetText(*hours_ahead) : std::string());
}

std::string numberText(float number) {
  if (std::isnan(number)) return "nan";
  if (std::isinf(number)) return number < 0 ? "-inf" : "inf";
  return loftbay::host::numberText(number);
}

}  // namespace jttk
