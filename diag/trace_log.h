// The trace log: one plain text file per run, one time-stamped line per message, complete on disk whenever
// the process stops, because the file is opened and closed for every line.
//
//   diag::WriteTraceLog(diag::text("obJt2Zix::WriteShape(): No of Prims = ", count));
//
// The log path is fixed once by the choice of the work directory (work_directory.h); until then, and when
// the file cannot be opened, lines are lost silently. One thread only.
#pragma once

#include <charconv>
#include <concepts>
#include <functional>
#include <string>
#include <string_view>

#include "diag/float_text.h"

namespace loftbay::diag {

// A local date and time. `month` is 1 to 12, `hour` 0 to 23, `year` has four digits.
struct LocalTime {
  int hour = 0;
  int minute = 0;
  int second = 0;
  int day = 1;
  int month = 1;
  int year = 1970;
};

// Now, from the clock in force.
LocalTime localTime();

// Puts another clock in force; an empty function brings back the system's.
void setClock(std::function<LocalTime()> clock);

// Appends "[h:m:s, d-m-yyyy] ", the message and a line end to the log. `message` holds no line break.
void WriteTraceLog(std::string_view message);

// Names the log file (program path). A file that exists there is emptied, and stays open for the first line.
void openTraceLog(std::string program_path);

// The log file's path in program form; empty until it is named.
const std::string& logPath();

inline void appendText(std::string& text, std::string_view part) { text += part; }
inline void appendText(std::string& text, float part) { appendFloat(text, part); }
inline void appendText(std::string& text, std::integral auto part) {
  char buffer[24];
  text.append(buffer, std::to_chars(buffer, buffer + sizeof buffer, part).ptr);
}

// The parts one after another: texts as they are, integers in decimal, floats with six significant digits.
template <typename... Parts>
std::string text(const Parts&... parts) {
  std::string result;
  (appendText(result, parts), ...);
  return result;
}

}  // namespace loftbay::diag
