#include "host/standard_streams.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <initializer_list>

namespace loftbay::host {

void prepareStandardStreams() noexcept {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(descriptor, F_GETFD) != -1 || errno != EBADF) continue;
    // The lowest free number is this one, since those below are taken. Opened for the wrong direction.
    if (open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY) != descriptor) _exit(1);
  }
  std::signal(SIGPIPE, SIG_IGN);
}

}  // namespace loftbay::host
