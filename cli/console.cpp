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

void print(std::string_view text) { std::fwrite(text.data(), 1, text.size(), stdout); }

bool finishOutput(std::string_view program) {
  errno = 0;
  const bool flushed = std::fflush(stdout) == 0;
  if (flushed && std::ferror(stdout) == 0) return true;
  const int error = errno;
  // Whoever closed the pipe does not want to read about it.
  if (error != EPIPE) {
    complain(program,
             std::string("standard output: ") + (error != 0 ? std::strerror(error) : "write failed"));
  }
  return false;
}

void complain(std::string_view program, std::string_view text) {
  std::string line(program);
  line += ": ";
  line += text;
  line += '\n';
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace loftbay::cli
