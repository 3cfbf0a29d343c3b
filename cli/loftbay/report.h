// What one conversion did, for the user: the JSON report, and the observer that fills it.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cli/json_value.h"
#include "diag/program_seams.h"

namespace loftbay::cli {

struct ConversionCounts {
  std::uint64_t nodes = 0;
  std::uint64_t transforms = 0;
  std::uint64_t shapes = 0;
  std::uint64_t meshes = 0;
  std::uint64_t materials = 0;
  std::uint64_t triangles = 0;
  std::uint64_t lines = 0;
  std::uint64_t points = 0;
  std::uint64_t vertices_read = 0;
  std::uint64_t vertices_written = 0;
};

struct Loss {
  std::string part;
  std::string reason;
};

// How a conversion ended.
enum class Outcome {
  Ok,
  Partial,  // the scene is there, and something of the model is missing
  Failed,
  Refused,  // a path was refused; nothing was converted
  Interrupted,
  TimedOut,  // ended because its time was over
};

struct Unit {
  std::string name;   // as the file states it
  double metres = 1;  // the length of one
};

// Of a scene file.
struct SceneBytes {
  std::uint64_t arrays = 0;
  std::uint64_t total = 0;
};

struct ConversionReport {
  std::string input;   // as the user gave it
  std::string output;  // as the user gave it
  int exit_code = 0;
  Outcome outcome = Outcome::Ok;
  std::optional<std::string> error;  // why there is no usable scene
  std::vector<std::string> options;  // that the user gave, each as one word
  std::vector<std::string> files;    // every JT file that was opened
  std::optional<Unit> unit;
  std::optional<SceneBytes> bytes;  // none: there is no scene file
  std::optional<std::string> jt_version;
  double seconds = 0;
  std::uint64_t peak_rss_kb = 0;
  ConversionCounts counts;
  std::vector<Loss> skipped;
  std::vector<std::string> notes;
  std::string log;  // the log file's path in host form; empty when there is none
};

// The document that docs/report.schema.json describes.
JsonValue toJson(const ConversionReport& report);

// "PART: REASON", without the part where the reason names it already.
std::string lossText(std::string_view part, std::string_view reason);

// Fills a report, hands unit and properties on to the scene writer, and shows progress on a terminal: a line
// that is redrawn at most ten times a second.
class ReportObserver : public diag::Observer {
 public:
  ReportObserver(ConversionReport& report, bool show_progress)
      : report_(report), show_progress_(show_progress) {}
  ~ReportObserver() override { clearProgress(); }

  // Guards the report during the conversion: an interrupt reads it from another thread.
  [[nodiscard]] std::unique_lock<std::mutex> lock() { return std::unique_lock(mutex_); }

  void counted(diag::Counted kind, std::uint64_t amount) override;
  void opened(std::string_view path) override;
  void unit(std::string_view name, double metres) override;
  void entered(std::span<const diag::NodeProperty> properties) override;
  void jtVersion(int major, int minor) override;
  void lost(std::string_view part, std::string_view reason) override;
  void note(std::string_view text) override;

  // The conversion is over: notes that stand for many follow.
  void finish();

  // Takes the progress line off the terminal, so that a message can be printed.
  void clearProgress();

 private:
  void drawProgress();

  std::mutex mutex_;
  ConversionReport& report_;
  bool show_progress_;
  bool drawn_ = false;
  std::size_t left_out_properties_ = 0;
  std::int64_t last_drawn_ms_ = 0;
};

}  // namespace loftbay::cli
