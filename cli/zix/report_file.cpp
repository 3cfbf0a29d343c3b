#include "cli/zix/report_file.h"

#include "cli/console.h"
#include "cli/json_value.h"
#include "cli/zix/command.h"
#include "host/file.h"
#include "host/path.h"

namespace loftbay::cli {

namespace {

// Says why, where the report cannot be had.
tl::expected<std::string, int> readReport(const std::string& host_path) {
  constexpr std::uint64_t kMostBytes = std::uint64_t{256} << 20;
  std::string reason;
  const auto file = host::ReadOnlyFile::open(host::toProgramPath(host_path), &reason);
  const auto refuse = [&](const std::string& why) {
    complain(kProgram, host_path + ": " + why);
    return tl::unexpected(static_cast<int>(kFailed));
  };
  if (!file) return refuse(reason);
  if (file->size() > kMostBytes) return refuse("this is no report of a conversion");
  std::string text(static_cast<std::size_t>(file->size()), '\0');
  if (!file->readAt(0, std::as_writable_bytes(std::span(text)), &reason)) return refuse(reason);
  if (!JsonValue::parse(text)) return refuse("this is no JSON document");
  return text;
}

}  // namespace

tl::expected<PageRequest, int> pageRequest(const CommandLine& call, const std::string& output) {
  PageRequest request{
      .scene = call.operands()[0], .output = output, .report = {}, .force = call.has("--force")};
  if (const auto path = call.value("--report")) {
    auto report = readReport(*path);
    if (!report) return tl::unexpected(report.error());
    request.report = std::move(*report);
  }
  return request;
}

}  // namespace loftbay::cli
