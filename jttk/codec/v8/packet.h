// The Int32 compressed data packet of JT 8.x: an array of 32-bit integers, stored plainly, in bit lengths,
// or coded with Huffman or arithmetic codes, whose rare values lie in a packet of their own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "jttk/file/byte_reader.h"
#include "jttk/file/error.h"
#include "jttk/file/memory_budget.h"

namespace jttk {

// Reads the packet at `in`, which is left behind it.
//   maximum_count  the most values that make sense to the caller; a packet that claims more is an error,
//                  found before memory is taken. Packets can hold many values in next to no bytes.
//   values         replaced by the packet's values (its memory is used again). No predictor is applied.
//                  After a failure its contents are invalid.
//   memory         where the memory for the values is taken from; null: without a limit.
// Packets in packets are followed to a fixed depth.
Result<void> decodePacketV8(ByteReader& in, std::size_t maximum_count, std::vector<std::int32_t>& values,
                            MemoryBudget* memory = nullptr);

// Skips the packet at `in` without decoding its values.
Result<void> skipPacketV8(ByteReader& in);

}  // namespace jttk
