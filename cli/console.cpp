#include "cli/console.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#ifdef _WIN32
#include <windows.h>
#else
#include <unistd.h>
#include <csignal>
#endif

#include "cli/program.h"
#include "host/shown_text.h"
#include "zix/interrupted_write.h"

namespace loftbay::cli {

#ifdef _WIN32

void exitOnInterrupt() {
  SetConsoleCtrlHandler(
      [](DWORD) -> BOOL {
        Orb::Zix::removeInterruptedWrites();
        ExitProcess(kInterrupted);
      },
      TRUE);
}

#else

namespace {

extern "C" void endInterrupted(int) {
  Orb::Zix::removeInterruptedWrites();
  _exit(kInterrupted);
}

}  // namespace

void exitOnInterrupt() {
  struct sigaction action {};
  action.sa_handler = endInterrupted;
  sigemptyset(&action.sa_mask);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction before {};
    // A shell starts background jobs with these ignored; that stays so.
    if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler == SIG_IGN) continue;
    sigaction(signal, &action, nullptr);
  }
}

#endif

namespace {
int output_error = 0;  // of the first write to standard output that failed
}

void print(std::string_view text) {
  // What follows a failure would leave a hole, and nobody may be reading any more.
  if (std::ferror(stdout) != 0) return;
  errno = 0;
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size()) output_error = errno;
}

bool finishOutput(std::string_view program) {
  errno = 0;
  const bool flushed = std::fflush(stdout) == 0;
  if (flushed && std::ferror(stdout) == 0) return true;
  const int error = output_error != 0 ? output_error : errno;
  // Whoever closed the pipe does not want to read about it.
  if (error != EPIPE) {
    complain(program,
             std::string("standard output: ") + (error != 0 ? std::strerror(error) : "write failed"));
  }
  return false;
}

void say(std::string_view line) {
  const std::string shown = host::shownText(line) + "\n";
  std::fwrite(shown.data(), 1, shown.size(), stderr);
}

void sayLines(std::string_view lines) {
  for (std::size_t end = lines.find('\n'); end != std::string_view::npos; end = lines.find('\n')) {
    say(lines.substr(0, end));
    lines.remove_prefix(end + 1);
  }
  if (!lines.empty()) say(lines);
}

void complain(std::string_view program, std::string_view text) {
  say(std::string(program) + ": " + std::string(text));
}

}  // namespace loftbay::cli
