#include "cli/console.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <system_error>
#include <thread>
#include <utility>

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <unistd.h>
#endif

#include "cli/console_state.h"
#include "cli/exit_code.h"
#include "host/shown_text.h"
#include "zix/interrupted_write.h"

namespace loftbay::cli {

namespace {

// Never destroyed: the thread that runs it may outlive main.
std::function<void()>& lastWords() {
  static auto* const words = new std::function<void()>;
  return *words;
}

}  // namespace

#ifdef _WIN32

namespace {

static_assert(ConsoleState::kUtf8 == CP_UTF8);
static_assert(ConsoleState::kObeysEscapes == ENABLE_VIRTUAL_TERMINAL_PROCESSING);

class SystemConsole final : public ConsoleCalls {
 public:
  unsigned codePage() noexcept override { return GetConsoleOutputCP(); }
  void setCodePage(unsigned page) noexcept override { SetConsoleOutputCP(page); }
  std::optional<unsigned long> mode() noexcept override {
    DWORD mode = 0;
    if (GetConsoleMode(GetStdHandle(STD_ERROR_HANDLE), &mode) == 0) return std::nullopt;
    return mode;
  }
  bool setMode(unsigned long mode) noexcept override {
    return SetConsoleMode(GetStdHandle(STD_ERROR_HANDLE), mode) != 0;
  }
};

ConsoleState& consoleState() {
  static SystemConsole console;
  static ConsoleState state(console);
  return state;
}

}  // namespace

void exitOnInterrupt(std::function<void()> last_words) {
  lastWords() = std::move(last_words);
  // The system calls this on a thread of its own.
  SetConsoleCtrlHandler(
      [](DWORD) -> BOOL {
        if (lastWords()) lastWords()();
        Orb::Zix::removeInterruptedWrites();
        putConsoleBack();
        ExitProcess(kInterrupted);
      },
      TRUE);
}

void callOnInterrupt(void (*handler)(int)) {
  std::signal(SIGINT, handler);
  std::signal(SIGTERM, handler);
}

void setUpConsole() { consoleState().showUtf8(); }

void putConsoleBack() noexcept { consoleState().putBack(); }

bool consoleTakesEscapes() { return consoleState().takesEscapes(); }

#else

namespace {

constexpr unsigned kSecondsForLastWords = 5;
constexpr std::array kInterrupts = {SIGINT, SIGTERM, SIGHUP};

int wake_up[2] = {-1, -1};  // a pipe from the handler to the thread of the last words

extern "C" void endInterrupted(int) {
  Orb::Zix::removeInterruptedWrites();
  _exit(kInterrupted);
}

extern "C" void wakeUp(int) {
  const int error = errno;
  alarm(kSecondsForLastWords);
  if (write(wake_up[1], "", 1) < 0) endInterrupted(0);
  errno = error;
}

void handle(int signal, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  sigaction(signal, &action, nullptr);
}

void speakWhenWoken() {
  char byte = 0;
  ssize_t done = 0;
  do {
    done = read(wake_up[0], &byte, 1);
  } while (done < 0 && errno == EINTR);
  if (done != 1) {  // the pipe cannot be read: a later interrupt ends the process at once
    callOnInterrupt(endInterrupted);
    return;
  }
  lastWords()();
  endInterrupted(0);
}

// False when the system gives no pipe or no thread.
bool startSpeaker() {
  if (pipe(wake_up) != 0) return false;
  for (const int end : wake_up) fcntl(end, F_SETFD, FD_CLOEXEC);
  // Signals are blocked in the thread that handles them.
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  bool started = true;
  try {
    std::thread(speakWhenWoken).detach();
  } catch (const std::system_error&) {
    started = false;
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return started;
}

}  // namespace

void exitOnInterrupt(std::function<void()> last_words) {
  lastWords() = std::move(last_words);
  const bool speaks = lastWords() && startSpeaker();
  if (speaks) handle(SIGALRM, endInterrupted);
  callOnInterrupt(speaks ? wakeUp : endInterrupted);
}

void callOnInterrupt(void (*handler)(int)) {
  for (const int signal : kInterrupts) {
    struct sigaction before {};
    // A shell starts background jobs with these ignored; that stays so.
    if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler == SIG_IGN) continue;
    handle(signal, handler);
  }
}

void setUpConsole() {}

void putConsoleBack() noexcept {}

bool consoleTakesEscapes() { return true; }

#endif

namespace {
int output_error = 0;  // of the first write to standard output that failed
}

void print(std::string_view text) {
  // After a failed write nothing more is written: output with a gap is worse than none.
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
