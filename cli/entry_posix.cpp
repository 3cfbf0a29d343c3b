// main() of the console programs on POSIX hosts.
#include "cli/program.h"
#include "host/out_of_memory.h"
#include "host/standard_streams.h"
#include "zix/interrupted_write.h"

// Before the objects of other files are made: memory may be short already.
__attribute__((constructor(101))) static void prepareForLackOfMemory() {
  loftbay::host::endWhenMemoryRunsOut(LOFTBAY_PROGRAM ": out of memory\n", loftbay::cli::kFailed,
                                      Orb::Zix::removeInterruptedWrites);
}

int main(int argc, char** argv) {
  loftbay::host::prepareStandardStreams();
  return loftbay::cli::runProgramCaught(argv[0],
                                        std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
}
