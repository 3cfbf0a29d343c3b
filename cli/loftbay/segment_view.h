// `loftbay info --segment`: single segments of a JT file.
#pragma once

#include <string>

namespace loftbay::cli {

struct SegmentRequest {
  std::string input;
  std::string id;   // the beginning of a segment's id; "list" for all, a line each
  std::string raw;  // where the unpacked bytes go; empty: nowhere
  bool json = false;
};

// Prints them. False, with a message, when the file cannot be read, no segment has the id, several have it
// and one is needed, or one does not unpack or decode.
bool showSegments(const SegmentRequest& request);

}  // namespace loftbay::cli
