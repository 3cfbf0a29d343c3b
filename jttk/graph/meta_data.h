// The properties in a meta data segment: what the user's CAD system says of a part or an assembly.
#pragma once

#include <optional>
#include <vector>

#include "jttk/file/jt_file.h"
#include "jttk/graph/property_text.h"

namespace jttk {

struct MetaData {
  std::vector<TextProperty> properties;  // in file order; keys may come twice
  std::optional<Error> damage;           // what comes behind it could not be read
};

// `segment` is of a file of this version and byte order. Elements of other kinds (product manufacturing
// information has such segments, too) are stepped over.
[[nodiscard]] MetaData readMetaData(const Segment& segment, Version version, ByteOrder order);

}  // namespace jttk
