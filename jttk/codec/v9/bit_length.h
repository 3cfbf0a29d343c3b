// The bit length codec: values in a fixed number of bits above a minimum, or runs of values in a width that
// changes from run to run, around a mean.
#pragma once

#include <cstdint>
#include <span>

#include "jttk/codec/v9/code_text.h"
#include "jttk/codec/v9/packet_form.h"
#include "jttk/file/error.h"

namespace jttk {

// Fills `values`, all of them; the code text must be used up to its last bit.
Result<void> decodeBitLength(const CodeText& text, PacketForm form, std::span<std::int32_t> values);

}  // namespace jttk
