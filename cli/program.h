// The frame of a console program. The entry files turn the host's arguments into UTF-8, put standard output
// into binary mode where text mode would change bytes, and call runProgram.
#pragma once

#include <string>
#include <vector>

#include "cli/exit_code.h"

namespace loftbay::cli {

// Defined by each program. `arguments` without the program's own name, UTF-8. The result is the exit code.
int runProgram(const std::vector<std::string>& arguments);

// runProgram with the last catch: an exception becomes a message on standard error and code 1.
int runProgramCaught(const char* program_name, const std::vector<std::string>& arguments);

// True when standard error is a terminal that may be drawn on (not with NO_COLOR set or TERM=dumb) and obeys
// escape sequences.
bool standardErrorIsTerminal();

}  // namespace loftbay::cli
