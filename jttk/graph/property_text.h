// Properties as people read them. Files hold texts, numbers and dates; all become text.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace jttk {

struct TextProperty {
  std::string key;
  std::string value;
  bool operator==(const TextProperty&) const = default;
};

// As files store it: year, month (0 = January), day, hour, minute, second, in local time.
using StoredDate = std::array<std::int16_t, 6>;

// ISO 8601: "2014-04-03T14:54:43", with hours ahead of UTC "2014-04-03T14:54:43+02:00". The numbers as they
// stand, in the stored order, where they are no date.
[[nodiscard]] std::string dateText(const StoredDate& date, std::optional<float> hours_ahead = std::nullopt);

// The shortest decimal number that reads back as the same float; "nan", "inf", "-inf".
[[nodiscard]] std::string numberText(float number);

}  // namespace jttk
