// The two forms of the packets of 9.x and 10.x.
#pragma once

#include <cstdint>

namespace jttk {

// They differ in the numbers in front of the coded values.
enum class PacketForm : std::uint8_t { V9, V10 };

}  // namespace jttk
