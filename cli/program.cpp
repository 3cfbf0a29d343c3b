#include "cli/program.h"

#include <cstdio>
#include <exception>

#include "cli/console.h"
#include "host/file.h"
#include "host/out_of_memory.h"

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace loftbay::cli {

int runProgramCaught(const char* program_name, const std::vector<std::string>& arguments) {
  try {
    return runProgram(arguments);
  } catch (const std::exception& error) {
    complain(program_name, host::failureText(error));
  } catch (...) {
    complain(program_name, "unknown error");
  }
  return kFailed;
}

bool standardErrorIsTerminal() {
#ifdef _WIN32
  const bool terminal = _isatty(_fileno(stderr)) != 0;
#else
  const bool terminal = isatty(fileno(stderr)) == 1;
#endif
  return terminal && !host::environmentVariable("NO_COLOR") && host::environmentVariable("TERM") != "dumb" &&
         consoleTakesEscapes();
}

}  // namespace loftbay::cli
