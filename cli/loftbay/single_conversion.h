// One conversion in this process: sets the program's seams and the process's settings, checks the paths,
// runs the job, and fills the report. A process does this once.
#pragma once

#include <atomic>
#include <chrono>
#include <string>
#include <vector>

#include "cli/loftbay/convert_options.h"
#include "cli/loftbay/message_stream.h"
#include "cli/loftbay/report.h"

namespace loftbay::cli {

class SingleConversion {
 public:
  // `report` must outlive the conversion. Paths in host form.
  SingleConversion(std::string input, std::string output, const ConvertOptions& options,
                   ConversionReport& report);

  // The exit code, which the report has too.
  int run();

  // Ends the conversion from another thread and returns its report. The converting thread blocks for good at
  // its next step. Does not return once `end` was called.
  ConversionReport interrupt();
  // The same for a conversion whose time is over; then call tellTimeOut for the message and endProcess, which
  // removes the temporary, a scene that was finished meanwhile, and what was written beside it.
  ConversionReport timeOut();
  void tellTimeOut();
  [[noreturn]] void endProcess();
  // From here on the conversion reports normally; interrupt() comes too late.
  void end();

  // Losses that have not been written to standard error yet, a line each.
  [[nodiscard]] std::vector<std::string> untoldLosses() const;

  // Outputs beside the scene that could not be written; each is a loss of the report, too.
  [[nodiscard]] const std::vector<std::string>& unwritten() const { return unwritten_; }

 private:
  void fillSeams();
  int convert();
  // Behind a conversion that left a scene. What cannot be written is lost, and the scene stays.
  void writeFurtherOutputs();
  // An older file there goes, like an older scene, so that what lies there from now on is this conversion's.
  void claim(const std::string& output);
  bool pathsAreAccepted(const std::string& input, const std::string& output);
  void prepareProcess();
  void chooseWorkDirectory();
  // A line on standard error; in a batch it begins with the input.
  void tell(const std::string& text);
  // The same, from the program itself.
  void complain(const std::string& text);
  ConversionReport stop(int exit_code, Outcome outcome, const std::string& error);
  // Why the conversion did not give a usable scene.
  void fail(std::string reason);
  void finishReport();

  std::string input_;
  std::string output_;
  ConvertOptions options_;
  ConversionReport& report_;
  ReportObserver observer_;
  MessageStream messages_{[this](const std::string& line) { tell(line); }};
  MessageStream startup_failures_{[this](const std::string& line) { tell(line); }};
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  bool box_shown_ = false;
  std::atomic<bool> owns_output_ = false;  // what lies at the output is this conversion's
  std::vector<std::string> claimed_;       // outputs beside the scene; guarded like the report
  std::vector<std::string> unwritten_;
};

// `text` as a line of a batch: the input first, and nowhere else.
std::string inBatch(const std::string& input, std::string text);

// Why a conversion was given up after this time.
std::string timeOutText(std::chrono::milliseconds time);

// A line break in it becomes a blank.
std::string oneLine(std::string_view text);

}  // namespace loftbay::cli
