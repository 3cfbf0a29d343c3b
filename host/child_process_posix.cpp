// POSIX side of child_process.h.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>

#include "host/child_process.h"
#include "host/deadline.h"

extern "C" char** environ;

namespace loftbay::host {

namespace {

// More children at a time are not known to interruptChildren.
constexpr std::size_t kSlots = 1024;
std::array<std::atomic<pid_t>, kSlots> running{};
std::atomic<bool> interrupted{false};
static_assert(std::atomic<pid_t>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

class RunningChild {
 public:
  explicit RunningChild(pid_t pid) {
    for (auto& slot : running) {
      pid_t expected = 0;
      if (slot.compare_exchange_strong(expected, pid)) {
        slot_ = &slot;
        break;
      }
    }
    // The interrupt may have come before the child had its slot.
    if (interrupted) kill(pid, SIGTERM);
  }
  RunningChild(const RunningChild&) = delete;
  RunningChild& operator=(const RunningChild&) = delete;
  ~RunningChild() {
    if (slot_ != nullptr) slot_->store(0);
  }

 private:
  std::atomic<pid_t>* slot_ = nullptr;
};

std::string readAll(int file) {
  std::string text;
  std::array<char, 65536> buffer{};
  for (;;) {
    const ssize_t count = read(file, buffer.data(), buffer.size());
    if (count > 0) {
      text.append(buffer.data(), static_cast<std::size_t>(count));
    } else if (count == 0 || errno != EINTR) {
      return text;
    }
  }
}

// Waits without collecting the child, so that its number cannot be given to another process while it can
// still be found in its slot.
void waitForEnd(pid_t pid) {
  siginfo_t info{};
  while (waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT) != 0 && errno == EINTR) {
  }
}

int collect(pid_t pid) {
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

}  // namespace

ChildResult runChild(const std::string& program, const std::vector<std::string>& arguments,
                     std::optional<std::chrono::milliseconds> time) {
  ChildResult result;
  int ends[2] = {-1, -1};
  if (pipe(ends) != 0) {
    result.reason = std::strerror(errno);
    return result;
  }
  // Children of other threads must not inherit the writing end, or its reader would wait for them too.
  for (const int end : ends) fcntl(end, F_SETFD, FD_CLOEXEC);

  std::vector<char*> argv;
  argv.push_back(const_cast<char*>(program.c_str()));
  for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  pid_t pid = 0;
  const int error = posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  if (error != 0) {
    close(ends[0]);
    result.reason = std::strerror(error);
    return result;
  }
  std::atomic<bool> timed_out{false};
  result.started = true;
  {
    const RunningChild slot(pid);
    // Its number stays its own until it is collected, behind this.
    std::optional<Deadline> deadline;
    if (time) {
      deadline.emplace(*time, [&timed_out, pid] {
        timed_out = true;
        kill(pid, SIGKILL);
      });
    }
    result.output = readAll(ends[0]);
    waitForEnd(pid);
  }
  close(ends[0]);
  const int status = collect(pid);
  if (WIFEXITED(status)) {
    result.exit_code = WEXITSTATUS(status);
  } else {
    result.crashed = true;
    result.timed_out = timed_out;
    const int signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    result.reason = "ended by signal " + std::to_string(signal) + " (" + strsignal(signal) + ")";
  }
  return result;
}

void interruptChildren() noexcept {
  interrupted = true;
  for (const auto& slot : running) {
    const pid_t pid = slot.load();
    if (pid != 0) kill(pid, SIGTERM);
  }
}

bool childrenInterrupted() noexcept { return interrupted; }

std::string ownProgram() {
  std::error_code error;
  return std::filesystem::read_symlink("/proc/self/exe", error).string();
}

}  // namespace loftbay::host
