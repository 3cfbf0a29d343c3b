// The folder of the real JT files that some tests read: LOFTBAY_JT_SAMPLES, else one beside the project. It
// need not be there; then those tests are skipped.
#pragma once

#include <cstdlib>
#include <filesystem>

namespace loftbay::testing_support {

inline std::filesystem::path sampleFolder() {
  if (const char* const folder = std::getenv("LOFTBAY_JT_SAMPLES")) return folder;
  const char* const source = std::getenv("LOFTBAY_SOURCE_DIR");
  return std::filesystem::path(source != nullptr ? source : ".") / ".." / "shared" / "jt-samples";
}

}  // namespace loftbay::testing_support
