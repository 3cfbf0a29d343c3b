#include <fcntl.h>
#include <spawn.h>

#include <csignal>
#include <cstring>
#include <sstream>
#include <vector>

#include "host/file.h"
#include "host/open_file.h"

extern char** environ;

namespace loftbay::host {

namespace {

// In a session of its own, so that it stays when the terminal goes; without the terminal's streams, so that
// what it says does not get between ours. 0, or the system's error.
int startDetached(std::vector<std::string> words) {
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  for (int stream = 0; stream < 3; ++stream)
    posix_spawn_file_actions_addopen(&files, stream, "/dev/null", O_RDWR, 0);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t none;
  sigemptyset(&none);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSID);
  pid_t process = 0;
  const int error = posix_spawnp(&process, arguments[0], &files, &attributes, arguments.data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&files);
  return error;
}

// The words of a command, with the file where %s stands or else at the end. There is no shell in between, so
// a name can hold anything.
std::vector<std::string> wordsOf(const std::string& command, const std::string& path) {
  std::vector<std::string> words;
  bool is_named = false;
  std::istringstream text(command);
  for (std::string word; text >> word;) {
    if (const auto at = word.find("%s"); at != std::string::npos) {
      word.replace(at, 2, path);
      is_named = true;
    }
    words.push_back(word);
  }
  if (!words.empty() && !is_named) words.push_back(path);
  return words;
}

}  // namespace

bool openInBrowser(const std::string& path, std::string* reason) {
  const std::string stated = environmentVariable("BROWSER").value_or("");
  std::istringstream commands(stated.empty() ? "xdg-open" : stated);
  *reason = "BROWSER names no command";
  for (std::string command; std::getline(commands, command, ':');) {
    const auto words = wordsOf(command, path);
    if (words.empty()) continue;
    const int error = startDetached(words);
    if (error == 0) return true;
    *reason = words[0] + ": " + std::strerror(error);
  }
  return false;
}

}  // namespace loftbay::host
