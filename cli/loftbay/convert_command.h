// `loftbay convert`: one JT file into one Zix scene.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace loftbay::cli {

struct ConvertOptions {
  std::string input;   // host form, as given
  std::string output;  // host form, as given
  bool optimize = true;
  std::optional<float> tess_tolerance;
  bool allow_outside = false;
  std::optional<std::string> work_dir;  // host form
  bool json = false;
  bool quiet = false;
};

// Parses the arguments of `convert` and runs it. The result is the exit code.
int convertCommand(const std::vector<std::string>& arguments);

}  // namespace loftbay::cli
