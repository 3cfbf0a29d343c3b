// `loftbay`: converts JT files into Zix scenes and shows what a JT file holds.
#include "cli/loftbay/convert_command.h"
#include "cli/loftbay/info_command.h"
#include "cli/loftbay/options.h"
#include "cli/program.h"

namespace loftbay::cli {

int runProgram(const std::vector<std::string>& arguments) {
  if (arguments.empty()) {
    return loftbayProgram().refuse(
        convertInTable(),
        "no input\nUsage: loftbay IN.jt OUT.zix [OPTIONS]\n       loftbay info IN.jt [--json]");
  }
  const std::span<const std::string> rest = std::span(arguments).subspan(1);
  if (arguments[0] == convertInTable().name) return convertCommand(rest);
  if (arguments[0] == infoInTable().name) return infoCommand(rest);
  return convertCommand(arguments);
}

}  // namespace loftbay::cli
