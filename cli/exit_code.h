// What the console programs return.
#pragma once

namespace loftbay::cli {

enum ExitCode : int {
  kDone = 0,
  kFailed = 1,
  kWrongUsage = 2,
  kPathRefused = 3,
  kInterrupted = 130,
};

}  // namespace loftbay::cli
