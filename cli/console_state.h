// What a program changes of the console that it was started in: UTF-8 and escape sequences are switched on
// where they have to be, and all is put back at the end. The system's calls come from outside, so that a test
// can play any console.
#pragma once

#include <optional>

namespace loftbay::cli {

class ConsoleCalls {
 public:
  virtual ~ConsoleCalls() = default;
  // The code page of what is shown; 0 where there is no console.
  [[nodiscard]] virtual unsigned codePage() noexcept = 0;
  virtual void setCodePage(unsigned page) noexcept = 0;
  // The mode of standard error; none where that is no console.
  [[nodiscard]] virtual std::optional<unsigned long> mode() noexcept = 0;
  // False where the console does not know such a mode; then nothing has changed.
  virtual bool setMode(unsigned long mode) noexcept = 0;
};

class ConsoleState {
 public:
  static constexpr unsigned kUtf8 = 65001;
  static constexpr unsigned long kObeysEscapes = 4;  // a bit of the mode

  explicit ConsoleState(ConsoleCalls& calls) noexcept : calls_(calls) {}

  void showUtf8() noexcept {
    found_page_ = calls_.codePage();
    if (found_page_ != 0) calls_.setCodePage(kUtf8);
  }

  // Whether the console obeys escape sequences, switched on if need be.
  bool takesEscapes() noexcept {
    const auto mode = calls_.mode();
    if (!mode) return false;
    if ((*mode & kObeysEscapes) != 0) return true;
    if (!calls_.setMode(*mode | kObeysEscapes)) return false;
    found_mode_ = mode;
    return true;
  }

  // May be called again.
  void putBack() noexcept {
    if (found_mode_) calls_.setMode(*found_mode_);
    if (found_page_ != 0) calls_.setCodePage(found_page_);
  }

 private:
  ConsoleCalls& calls_;
  unsigned found_page_ = 0;
  std::optional<unsigned long> found_mode_;
};

}  // namespace loftbay::cli
