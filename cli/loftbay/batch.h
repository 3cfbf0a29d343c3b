// Several conversions, each in a process of its own: a process runs one job at a time, and one that fails
// or crashes costs only itself.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace loftbay::cli {

struct Batch {
  std::vector<std::string> inputs;     // host form, as given
  std::string out_dir;                 // host form; made when it does not exist
  std::size_t jobs = 1;                // processes at a time
  std::vector<std::string> passed_on;  // options for every process, each as one word
  std::vector<std::string> reported;   // those of them that the reports list
  // What the conversion of one file may take; each of them knows it too.
  std::optional<std::chrono::milliseconds> timeout;
  bool json = false;
  bool quiet = false;
};

// The output of an input: its stem plus ".zix" in the output folder. Host form.
std::string batchOutput(const std::string& input, const std::string& out_dir);

// Runs the batch; prints the reports as one JSON array in input order (with `json`) and a summary on
// standard error. 0 when every file gave 0; 2 when two inputs would share an output, 3 when the output folder
// cannot be made (then nothing runs); 130 when interrupted; else 1.
int runBatch(const Batch& batch);

}  // namespace loftbay::cli
