// main() of the console programs on POSIX hosts.
#include "cli/program.h"
#include "host/standard_streams.h"

int main(int argc, char** argv) {
  loftbay::host::prepareStandardStreams();
  return loftbay::cli::runProgramCaught(argv[0],
                                        std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
}
