// What both console programs do before anything else.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace loftbay::cli {

// From now on an interrupt (Ctrl-C, SIGTERM, SIGHUP) removes the temporary of a file that is being written,
// and ends the process with code 130. Where `last_words` is given, it is called first, on a thread of its own
// while the program goes on; a program that hangs in it is ended after some seconds. Signals that were
// ignored when the program was started stay ignored.
void exitOnInterrupt(std::function<void()> last_words = {});

// From now on `handler` is called on an interrupt, and the program goes on. It may do only what a signal
// handler may.
void callOnInterrupt(void (*handler)(int));

// The console shows UTF-8 from here on, where that has to be switched on; and is as it was found again.
void setUpConsole();
void putConsoleBack() noexcept;
// True when the console behind standard error obeys escape sequences; switches that on where it is needed.
bool consoleTakesEscapes();

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
