#include "cli/loftbay/report.h"

#include <fmt/core.h>

#include <chrono>
#include <cstdio>

#include "convert/scene_properties.h"

namespace loftbay::cli {

namespace {

constexpr int kSchemaVersion = 2;
constexpr std::int64_t kProgressIntervalMs = 100;

std::int64_t nowMs() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

std::uint64_t& countOf(ConversionCounts& counts, diag::Counted kind) {
  switch (kind) {
    case diag::Counted::Nodes:
      return counts.nodes;
    case diag::Counted::Transforms:
      return counts.transforms;
    case diag::Counted::Shapes:
      return counts.shapes;
    case diag::Counted::Meshes:
      return counts.meshes;
    case diag::Counted::Materials:
      return counts.materials;
    case diag::Counted::Triangles:
      return counts.triangles;
    case diag::Counted::Lines:
      return counts.lines;
    case diag::Counted::Points:
      return counts.points;
    case diag::Counted::VerticesRead:
      return counts.vertices_read;
    case diag::Counted::VerticesWritten:
      break;
  }
  return counts.vertices_written;
}

const char* nameOf(Outcome outcome) {
  switch (outcome) {
    case Outcome::Ok:
      return "ok";
    case Outcome::Partial:
      return "partial";
    case Outcome::Failed:
      return "failed";
    case Outcome::Refused:
      return "refused";
    case Outcome::Interrupted:
      return "interrupted";
    case Outcome::TimedOut:
      break;
  }
  return "timeout";
}

JsonValue toJson(const std::optional<Unit>& unit) {
  if (!unit) return nullptr;
  return JsonValue::object({{"name", unit->name}, {"metres", unit->metres}});
}

JsonValue toJson(const std::optional<SceneBytes>& bytes) {
  if (!bytes) return nullptr;
  return JsonValue::object(
      {{"arrays", bytes->arrays}, {"records", bytes->total - bytes->arrays}, {"total", bytes->total}});
}

JsonValue toJson(const ConversionCounts& counts) {
  return JsonValue::object({{"nodes", counts.nodes},
                            {"transforms", counts.transforms},
                            {"shapes", counts.shapes},
                            {"meshes", counts.meshes},
                            {"materials", counts.materials},
                            {"triangles", counts.triangles},
                            {"lines", counts.lines},
                            {"points", counts.points},
                            {"vertices_read", counts.vertices_read},
                            {"vertices_written", counts.vertices_written}});
}

}  // namespace

JsonValue toJson(const ConversionReport& report) {
  JsonValue skipped = JsonValue::array();
  for (const auto& loss : report.skipped)
    skipped.add(JsonValue::object({{"part", loss.part}, {"reason", loss.reason}}));
  return JsonValue::object({{"schema_version", kSchemaVersion},
                            {"input", report.input},
                            {"output", report.output},
                            {"ok", report.exit_code == 0},
                            {"jt_version", orNull(report.jt_version)},
                            {"seconds", report.seconds},
                            {"peak_rss_kb", report.peak_rss_kb},
                            {"counts", toJson(report.counts)},
                            {"skipped", std::move(skipped)},
                            {"notes", report.notes},
                            {"log", orNull(report.log)},
                            {"outcome", nameOf(report.outcome)},
                            {"exit_code", report.exit_code},
                            {"error", orNull(report.error)},
                            {"options", report.options},
                            {"files", report.files},
                            {"unit", toJson(report.unit)},
                            {"bytes", toJson(report.bytes)}});
}

std::string lossText(std::string_view part, std::string_view reason) {
  if (part.empty() || reason.starts_with(std::string(part) + ": ")) return std::string(reason);
  return fmt::format("{}: {}", part, reason);
}

void ReportObserver::counted(diag::Counted kind, std::uint64_t amount) {
  const auto held = lock();
  countOf(report_.counts, kind) += amount;
  if (show_progress_ && kind == diag::Counted::Shapes) drawProgress();
}

void ReportObserver::opened(std::string_view path) {
  const auto held = lock();
  report_.files.emplace_back(path);
}

void ReportObserver::unit(std::string_view name, double metres) {
  const auto held = lock();
  report_.unit = Unit{std::string(name), metres};
  convert::storeUnit(name, metres);
}

void ReportObserver::entered(std::span<const diag::NodeProperty> properties) {
  left_out_properties_ += convert::storeProperties(properties);
}

void ReportObserver::finish() {
  if (left_out_properties_ == 0) return;
  note(fmt::format(
      "{} left out: the key is empty or has more than 1024 bytes",
      left_out_properties_ == 1 ? "1 property is" : fmt::format("{} properties are", left_out_properties_)));
}

void ReportObserver::jtVersion(int major, int minor) {
  const auto held = lock();
  report_.jt_version = fmt::format("{}.{}", major, minor);
}

void ReportObserver::lost(std::string_view part, std::string_view reason) {
  const auto held = lock();
  report_.skipped.push_back({std::string(part), std::string(reason)});
}

void ReportObserver::note(std::string_view text) {
  const auto held = lock();
  report_.notes.emplace_back(text);
}

void ReportObserver::drawProgress() {
  const std::int64_t now = nowMs();
  if (now - last_drawn_ms_ < kProgressIntervalMs) return;
  last_drawn_ms_ = now;
  const std::string line =
      fmt::format("\r{} shapes, {} triangles", report_.counts.shapes, report_.counts.triangles);
  std::fputs(line.c_str(), stderr);
  std::fflush(stderr);
  drawn_ = true;
}

void ReportObserver::clearProgress() {
  if (!drawn_) return;
  std::fputs("\r\x1b[K", stderr);
  drawn_ = false;
}

}  // namespace loftbay::cli
