// Numbers as text, the same in every locale.
#pragma once

#include <array>
#include <charconv>
#include <string>
#include <string_view>

namespace loftbay::host {

// The shortest text that reads back as the same number.
class NumberText {
 public:
  template <typename Number>
  explicit NumberText(Number number) {
    end_ = std::to_chars(digits_.data(), digits_.data() + digits_.size(), number).ptr;
  }
  NumberText(const NumberText&) = delete;
  NumberText& operator=(const NumberText&) = delete;

  // Lives as long as this.
  [[nodiscard]] std::string_view view() const {
    return {digits_.data(), static_cast<std::size_t>(end_ - digits_.data())};
  }

 private:
  std::array<char, 32> digits_;  // a double takes 24
  const char* end_ = nullptr;
};

// Of a float, a double or an integer.
template <typename Number>
std::string numberText(Number number) {
  return std::string(NumberText(number).view());
}

}  // namespace loftbay::host
