// Runs a console program and collects what it said.
#pragma once

#include <string>
#include <vector>

#include "tests/zix/scratch_folder.h"

namespace loftbay::testing_support {

struct ProgramResult {
  int code;
  std::string out;
  std::string err;
};

// `name` is a program in $LOFTBAY_BIN_DIR. Output is collected in files of `folder`.
ProgramResult runProgram(const ScratchFolder& folder, const std::string& name,
                         const std::vector<std::string>& arguments);

}  // namespace loftbay::testing_support
