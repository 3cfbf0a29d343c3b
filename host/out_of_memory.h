// What programs say and do when memory runs out.
#pragma once

#include <exception>

namespace loftbay::host {

// The text of an exception for a message: "out of memory" instead of the library's word for it. Lives as long
// as the exception; needs no memory.
const char* failureText(const std::exception& error) noexcept;

// From now on lack of memory that no code can catch any more (before `main`, in a destructor, in a thread)
// ends the process with `message` on standard error and `exit_code`, after `clean_up`, instead of aborting
// it. Whatever else terminates the process still aborts it. `message` is kept.
void endWhenMemoryRunsOut(const char* message, int exit_code, void (*clean_up)() noexcept) noexcept;

}  // namespace loftbay::host
