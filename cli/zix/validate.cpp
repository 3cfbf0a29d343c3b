// zix validate: one line per finding, then the verdict.
#include "zix/validate.h"
#include "cli/console.h"
#include "cli/zix/command.h"
#include "host/path.h"
#include "host/shown_text.h"

namespace loftbay::cli {

int runValidate(const CommandLine& call) {
  const auto report = Orb::Zix::validateFile(host::toProgramPath(call.operands()[0]));
  for (const auto& message : report.messages) {
    print(std::string(message.is_error ? "error " : "warning ") + message.code + " at offset " +
          std::to_string(message.offset) + ": " + message.message + "\n");
  }
  if (report.truncated()) {
    print("only the first " + std::to_string(report.messages.size()) + " findings are listed\n");
  }
  print(host::shownText(call.operands()[0]) + ": " + (report.error_count == 0 ? "valid" : "damaged") + ", " +
        std::to_string(report.error_count) + " errors, " + std::to_string(report.warning_count) +
        " warnings\n");
  return report.error_count == 0 ? kDone : kFailed;
}

}  // namespace loftbay::cli
