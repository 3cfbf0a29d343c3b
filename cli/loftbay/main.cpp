// `loftbay`: converts JT files into Zix scenes and tells what a JT file holds.
#include "cli/arguments.h"
#include "cli/loftbay/convert_command.h"
#include "cli/loftbay/info_command.h"
#include "cli/program.h"

namespace loftbay::cli {

int runProgram(const std::vector<std::string>& arguments) {
  if (arguments.empty()) {
    return wrongUsage("loftbay",
                      "no input\nUsage: loftbay IN.jt OUT.zix [OPTIONS]\n       loftbay info IN.jt [--json]");
  }
  const std::vector<std::string> rest(arguments.begin() + 1, arguments.end());
  if (arguments[0] == "convert") return convertCommand(rest);
  if (arguments[0] == "info") return infoCommand(rest);
  return convertCommand(arguments);
}

}  // namespace loftbay::cli
