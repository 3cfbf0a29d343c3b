// One conversion in this process: sets the program's seams and the process's settings, checks the paths,
// runs the job, and fills the report. A process does this once.
#pragma once

#include <string>
#include <vector>

#include "cli/loftbay/convert_command.h"
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

  // Losses that no message on standard error has told yet, a line each.
  [[nodiscard]] std::vector<std::string> untoldLosses() const;

 private:
  void fillSeams();
  int convert();
  void prepareProcess();
  // A line on standard error that names the input.
  void complain(const std::string& text);

  std::string input_;
  std::string output_;
  ConvertOptions options_;
  ConversionReport& report_;
  ReportObserver observer_;
  MessageStream messages_;
  bool box_shown_ = false;
};

// A line break in it becomes a blank.
std::string oneLine(std::string_view text);

}  // namespace loftbay::cli
