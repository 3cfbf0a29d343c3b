// What the numbers of one primitive may mean: the readings of each type.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "jttk/codec/primitives/primitive_set.h"
#include "jttk/codec/primitives/primitive_solid.h"

namespace jttk {

// A solid out of the three numbers of a primitive, at the origin. Empty: the numbers cannot be meant so.
using Reading = std::optional<Solid> (*)(const std::array<float, 3>& size);

// The likeliest first.
[[nodiscard]] std::span<const Reading> readingsOf(PrimitiveType type);

// Where the real part of a quaternion stands.
enum class RealPart : std::uint8_t { Last, First };

// The primitive as it is read: turned and moved to its place, in its colour.
[[nodiscard]] std::optional<Solid> solidOf(const Primitive& primitive, Reading reading, RealPart real_part);

}  // namespace jttk
