#include "tests/zix/run_program.h"

#include <fmt/format.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#include <process.h>
#else
#include <sys/wait.h>
#endif

namespace loftbay::testing_support {
namespace {

#ifdef _WIN32

// Sends what is written to an open file's number into another file, as long as it lives.
class Redirection {
 public:
  Redirection(int number, const std::string& path) : number_(number), kept_(_dup(number)) {
    const int file = _open(path.c_str(), _O_WRONLY | _O_CREAT | _O_TRUNC | _O_BINARY, 0600);
    _dup2(file, number_);
    _close(file);
  }
  ~Redirection() {
    _dup2(kept_, number_);
    _close(kept_);
  }
  Redirection(const Redirection&) = delete;
  Redirection& operator=(const Redirection&) = delete;

 private:
  int number_;
  int kept_;
};

// Without a shell, which has rules of its own for what stands between quotes.
int codeOf(const std::string& program, const std::vector<std::string>& arguments, const std::string& out,
           const std::string& err) {
  std::vector<std::string> quoted = {fmt::format("\"{}.exe\"", program)};
  for (const std::string& argument : arguments) quoted.push_back(fmt::format("\"{}\"", argument));
  std::vector<const char*> pointers;
  for (const std::string& argument : quoted) pointers.push_back(argument.c_str());
  pointers.push_back(nullptr);
  std::fflush(nullptr);
  const Redirection to_out(1, out);
  const Redirection to_err(2, err);
  return static_cast<int>(_spawnv(_P_WAIT, (program + ".exe").c_str(), pointers.data()));
}

#else

int codeOf(const std::string& program, const std::vector<std::string>& arguments, const std::string& out,
           const std::string& err) {
  std::string command = fmt::format("\"{}\"", program);
  for (const std::string& argument : arguments) command += fmt::format(" \"{}\"", argument);
  const int status = std::system(fmt::format("{} > \"{}\" 2> \"{}\"", command, out, err).c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

#endif

}  // namespace

ProgramResult runProgram(const ScratchFolder& folder, const std::string& name,
                         const std::vector<std::string>& arguments) {
  const char* const bin = std::getenv("LOFTBAY_BIN_DIR");
  const std::string program = fmt::format("{}/{}", bin != nullptr ? bin : ".", name);
  const int code = codeOf(program, arguments, folder.hostPath("stdout"), folder.hostPath("stderr"));
  ProgramResult result{code, folder.read("stdout"), folder.read("stderr")};
  // Standard error is a text stream: its line ends are the host's.
  std::erase(result.err, '\r');
  std::filesystem::remove(folder.path() / "stdout");
  std::filesystem::remove(folder.path() / "stderr");
  return result;
}

}  // namespace loftbay::testing_support
