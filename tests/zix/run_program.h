// Runs a console program and collects what it said.
#pragma once

#include <fmt/format.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "tests/zix/scratch_folder.h"

#ifndef _WIN32
#include <sys/wait.h>
#endif

namespace loftbay::testing_support {

struct ProgramResult {
  int code;
  std::string out;
  std::string err;
};

// `name` is a program in $LOFTBAY_BIN_DIR. Output is collected in files of `folder`.
inline ProgramResult runProgram(const ScratchFolder& folder, const std::string& name,
                                const std::vector<std::string>& arguments) {
  const char* const bin = std::getenv("LOFTBAY_BIN_DIR");
#ifdef _WIN32
  std::string command = fmt::format("\"{}\\{}.exe\"", bin != nullptr ? bin : ".", name);
#else
  std::string command = fmt::format("\"{}/{}\"", bin != nullptr ? bin : ".", name);
#endif
  for (const std::string& argument : arguments) command += fmt::format(" \"{}\"", argument);
  command += fmt::format(" > \"{}\" 2> \"{}\"", folder.hostPath("stdout"), folder.hostPath("stderr"));
#ifdef _WIN32
  command = fmt::format("\"{}\"", command);  // cmd takes the outermost pair away
#endif
  const int status = std::system(command.c_str());
#ifdef _WIN32
  const int code = status;
#else
  const int code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#endif
  ProgramResult result{code, folder.read("stdout"), folder.read("stderr")};
  // Standard error is a text stream: its line ends are the host's.
  std::erase(result.err, '\r');
  std::filesystem::remove(folder.path() / "stdout");
  std::filesystem::remove(folder.path() / "stderr");
  return result;
}

}  // namespace loftbay::testing_support
