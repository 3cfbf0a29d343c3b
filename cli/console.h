// What both console programs do before anything else.
#pragma once

#include <string>
#include <string_view>

namespace loftbay::cli {

// From now on an interrupt (Ctrl-C, SIGTERM) removes the temporary of a file that is being written, and ends
// the process with code 130.
void exitOnInterrupt();

// Writes to standard output, as it is: texts of files go through host::shownText first. A failure (disk full,
// closed pipe) is reported by finishOutput only.
void print(std::string_view text);
// Flushes standard output; false when anything of it was lost. Says so on standard error.
bool finishOutput(std::string_view program);

// One line on standard error. What a terminal could take for a command is escaped. A standard error that
// cannot be written costs nothing else.
void say(std::string_view line);
// The same of several lines: line ends stay line ends.
void sayLines(std::string_view lines);

// say("PROGRAM: TEXT").
void complain(std::string_view program, std::string_view text);

}  // namespace loftbay::cli
