// The segment around an XT stream, as each version has it.
#pragma once

#include "samples/maker/byte_writer.h"
#include "samples/maker/format.h"

namespace loftbay::maker {

// The unpacked data of a segment of type 17.
Bytes xtBrepSegment(const Bytes& stream, const Options& options);

}  // namespace loftbay::maker
