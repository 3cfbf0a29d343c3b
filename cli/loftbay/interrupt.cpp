#include "cli/loftbay/interrupt.h"

#include "cli/program.h"
#include "zix/interrupted_write.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <unistd.h>

#include <csignal>
#endif

namespace loftbay::cli {

#ifdef _WIN32

namespace {
BOOL WINAPI endInterrupted(DWORD) {
  Orb::Zix::removeInterruptedWrites();
  ExitProcess(kInterrupted);
}
}  // namespace

void installInterruptHandler() { SetConsoleCtrlHandler(endInterrupted, TRUE); }

#else

namespace {
// Only calls that are safe in a signal handler.
extern "C" void endInterrupted(int) {
  Orb::Zix::removeInterruptedWrites();
  _exit(kInterrupted);
}
}  // namespace

void installInterruptHandler() {
  struct sigaction action {};
  action.sa_handler = endInterrupted;
  sigemptyset(&action.sa_mask);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &action, nullptr);
}

#endif

}  // namespace loftbay::cli
