// Waits for what a program does in its own time.
#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace loftbay::gui {

inline constexpr std::chrono::seconds kDeadline{20};

// Returns when `condition` holds; throws std::runtime_error, naming `what`, when it does not before the
// deadline.
void waitFor(const std::string& what, const std::function<bool()>& condition,
             std::chrono::milliseconds deadline = kDeadline);

}  // namespace loftbay::gui
