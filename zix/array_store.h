// The arrays of a scene that is being written: each goes into the file as a chunk of its own, and an array
// that equals an earlier one (type, record size, bytes) gets that one's chunk. The earlier one is found by
// its checksum, which the directory has, and proven by its bytes, which are read back from the file.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <vector>

#include "zix/format.h"
#include "zix/output_file.h"

namespace Orb::Zix {

class ArrayStore {
 public:
  struct Array {
    std::uint32_t chunk_type;
    std::uint32_t record_size;
    std::span<const std::byte> bytes;
    std::uint64_t checksum;  // of the bytes
  };
  // What arrays are looked up by, made of their checksum. Tests take one that is equal for unequal arrays.
  using Hash = std::uint64_t (*)(std::uint64_t checksum);
  static std::uint64_t checksumItself(std::uint64_t checksum) { return checksum; }

  // Both outlive the store. It appends to them, and others may do so between its calls.
  ArrayStore(OutputFile& file, std::deque<format::ChunkEntry>& chunks, Hash hash = checksumItself)
      : file_(file), chunks_(chunks), hash_(hash) {}

  // The number of the chunk that holds the array; also after a failure, though nothing holds it then.
  std::uint32_t store(const Array& array, std::optional<OutputFailure>* failure);

 private:
  // A hash table with open addressing, in 11 to 22 bytes per stored array (while it grows, half as much
  // again).
  struct Slot {
    std::uint32_t chunk = format::kNone;
    std::uint32_t tag = 0;  // upper half of the key
  };

  [[nodiscard]] std::uint64_t keyOf(const format::ChunkEntry& entry) const;
  // The equal array's chunk, or none. `compared`: how many arrays were read back for it.
  std::uint32_t findEqual(const format::ChunkEntry& wanted, std::span<const std::byte> bytes, int* compared,
                          std::optional<OutputFailure>* failure);
  void makeRoom();
  void remember(std::uint32_t chunk);

  OutputFile& file_;
  std::deque<format::ChunkEntry>& chunks_;
  Hash hash_;
  std::vector<Slot> slots_;  // a power of two, or empty
  std::size_t used_ = 0;
};

}  // namespace Orb::Zix
