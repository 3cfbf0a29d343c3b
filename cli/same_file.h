// Whether an output would overwrite its input.
#pragma once

#include <filesystem>
#include <string>
#include <system_error>

#include "host/path.h"

namespace loftbay::cli {

// True when both paths (host form) lead to one file, through links or letter case too; also where they are
// the same path and nothing is there.
inline bool isSameFile(const std::string& first, const std::string& second) {
  std::error_code error;
  const auto one = host::toFileSystemPath(host::toProgramPath(first));
  const auto other = host::toFileSystemPath(host::toProgramPath(second));
  return !first.empty() && (one == other || std::filesystem::equivalent(one, other, error));
}

}  // namespace loftbay::cli
