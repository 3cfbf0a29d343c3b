// What `loftbay convert` was asked for.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/loftbay/limits.h"
#include "jttk/interface/settings.h"

namespace loftbay::cli {

// Paths in host form, as given.
struct ConvertOptions {
  bool optimize = true;
  std::optional<float> tess_tolerance;
  bool lines = false;           // convert lines
  bool points = false;          // convert points
  bool exact_geometry = false;  // instead of the file's facets, where it can be read
  bool properties = false;      // of the model's nodes, into the scene
  std::uint32_t level_of_detail = jttk::kFinestLevel;
  bool allow_outside = false;
  std::vector<std::string> search_dirs;  // where else referenced files may lie
  Limits limits;
  std::optional<std::chrono::milliseconds> timeout;  // none: as long as it takes
  std::optional<std::string> preview;                // a picture of the scene
  std::vector<std::string> exports;                  // the scene in other formats
  std::optional<std::string> work_dir;
  bool json = false;
  bool quiet = false;
  std::vector<std::string> given;  // the options that decide what comes out, as they were given
  bool in_batch = false;           // this process converts one file of a batch: its messages name the file
};

}  // namespace loftbay::cli
