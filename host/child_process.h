// Runs other programs: starts one, reads its standard output, waits for its end. Standard error is shared
// with this process. Several threads may each run a child at the same time.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace loftbay::host {

struct ChildResult {
  bool started = false;
  bool crashed = false;    // ended by a signal, or with a code that only the system gives
  bool timed_out = false;  // ended because its time was over; then it counts as crashed
  int exit_code = 0;       // when it was started and did not crash
  std::string reason;      // why it could not be started, or how it crashed
  std::string output;      // its standard output
};

// `program` and `arguments` in host form, UTF-8; the program's own name is not among the arguments. A child
// that runs longer than `time` is ended, whatever it is doing.
ChildResult runChild(const std::string& program, const std::vector<std::string>& arguments,
                     std::optional<std::chrono::milliseconds> time = std::nullopt);

// Asks all children that run now, and all that are started later, to end. Safe in a signal handler.
void interruptChildren() noexcept;

// True once interruptChildren was called.
bool childrenInterrupted() noexcept;

// The path of the running program in host form; empty when the system does not provide it.
std::string ownProgram();

}  // namespace loftbay::host
