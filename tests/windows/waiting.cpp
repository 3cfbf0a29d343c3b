#include "tests/windows/waiting.h"

#include <stdexcept>
#include <thread>

namespace loftbay::gui {

namespace {

constexpr auto kPollInterval = std::chrono::milliseconds(15);

}  // namespace

void waitFor(const std::string& what, const std::function<bool()>& condition,
             std::chrono::milliseconds deadline) {
  const auto end = std::chrono::steady_clock::now() + deadline;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) throw std::runtime_error("waited in vain for " + what);
    std::this_thread::sleep_for(kPollInterval);
  }
}

}  // namespace loftbay::gui
