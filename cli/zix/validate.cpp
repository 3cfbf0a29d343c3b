// zix validate: one line per finding, then the verdict; or one JSON document.
#include "zix/validate.h"
#include "cli/console.h"
#include "cli/zix/command.h"
#include "cli/zix/json_error.h"
#include "host/path.h"
#include "host/shown_text.h"

namespace loftbay::cli {

namespace {

void printJson(const Orb::Zix::ValidationReport& report) {
  Orb::Zix::JsonWriter json(print);
  json.beginObject();
  json.key("valid");
  json.boolean(report.error_count == 0);
  json.key("errors");
  json.number(report.error_count);
  json.key("warnings");
  json.number(report.warning_count);
  json.key("truncated");
  json.boolean(report.truncated());
  json.key("findings");
  json.beginArray();
  for (const auto& message : report.messages) {
    json.beginObject();
    json.key("severity");
    json.text(message.is_error ? "error" : "warning");
    writeFault(json, message);
    json.end();
  }
  json.end();
  json.end();
  json.finish();
}

}  // namespace

int runValidate(const CommandLine& call) {
  const auto report = Orb::Zix::validateFile(host::toProgramPath(call.operands()[0]));
  if (call.has("--json")) {
    printJson(report);
    return report.error_count == 0 ? kDone : kFailed;
  }
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
