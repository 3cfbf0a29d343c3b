// A file around any segments: header, table of contents, then the segments one after the other.
#pragma once

#include <string_view>
#include <vector>

#include "samples/maker/pieces/bytes.h"

namespace loftbay::maker::pieces {

inline constexpr GuidValue kSegmentId{0x01020304, 0x0506, 0x0708, {9, 10, 11, 12, 13, 14, 15, 16}};

struct ContainerSegment {
  GuidValue id;
  std::uint32_t type = 7;
  Bytes data;  // after the segment's header
};
// `version`: "9.5". Offsets are 64-bit in 10.x. The scene graph is the first segment.
Bytes container(std::string_view version, const std::vector<ContainerSegment>& segments,
                ByteOrder order = ByteOrder::Little);

}  // namespace loftbay::maker::pieces
