// wmain() of the console programs on Windows: wide arguments become UTF-8, the console shows UTF-8 while
// the program runs, and standard output keeps its bytes.
#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cstdio>

#include "cli/console.h"
#include "cli/program.h"
#include "host/out_of_memory.h"
#include "host/wide_text.h"
#include "zix/interrupted_write.h"

// Before the objects of other files are made: memory may be short already.
__attribute__((constructor(101))) static void prepareForLackOfMemory() {
  loftbay::host::endWhenMemoryRunsOut(LOFTBAY_PROGRAM ": out of memory\n", loftbay::cli::kFailed,
                                      Orb::Zix::removeInterruptedWrites);
}

int wmain(int argc, wchar_t** argv) {
  loftbay::cli::setUpConsole();
  _setmode(_fileno(stdout), _O_BINARY);
  std::vector<std::string> arguments;
  for (int i = 1; i < argc; ++i) arguments.push_back(loftbay::host::utf8(argv[i]));
  const int code = loftbay::cli::runProgramCaught(LOFTBAY_PROGRAM, arguments);
  loftbay::cli::putConsoleBack();
  return code;
}
