// Meta data segments and properties that are no texts.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "samples/maker/pieces/bytes.h"

namespace loftbay::maker::pieces {

// Year, month (0 = January), day, hour, minute, second.
using Date = std::array<std::int16_t, 6>;
using PropertyValue = std::variant<std::string, std::int32_t, float, Date>;

struct MetaDataProperty {
  std::string key;
  PropertyValue value;
};

// The data of a meta data segment of a file of this major version: one element with these properties.
Bytes metaDataSegment(int major_version, ByteOrder order, const std::vector<MetaDataProperty>& properties);

// A number or date as a property atom or a meta data segment stores it.
Bytes numberBytes(ByteOrder order, const PropertyValue& value);

}  // namespace loftbay::maker::pieces
