// Whether two names on the command line are one file: an output would overwrite its input.
#pragma once

#include <filesystem>
#include <string>
#include <system_error>

#include "host/path.h"

namespace loftbay::cli {

// True when both paths (host form) lead to one file, through links or letter case too; also where they are
// the same place and nothing is there.
inline bool isSameFile(const std::string& first, const std::string& second) {
  std::error_code error;
  const auto one = host::toFileSystemPath(host::toProgramPath(first));
  const auto other = host::toFileSystemPath(host::toProgramPath(second));
  if (first.empty() || second.empty()) return false;
  if (one == other || std::filesystem::equivalent(one, other, error)) return true;
  std::error_code error_of_one;
  std::error_code error_of_other;
  const auto place = std::filesystem::weakly_canonical(std::filesystem::absolute(one, error), error_of_one);
  return place ==
             std::filesystem::weakly_canonical(std::filesystem::absolute(other, error), error_of_other) &&
         !error_of_one && !error_of_other;
}

}  // namespace loftbay::cli
