// Every beginning of some bytes, for readers that must see where they end.
#pragma once

#include <cstddef>
#include <memory>
#include <span>

#include "tests/jttk/support/from_maker.h"

namespace jttk::test {

// Calls `decode` with a reader over every prefix of `bytes`, each a heap copy of exactly its length, so that
// sanitizers see the smallest over-read. `decode` gets the reader and whether the prefix is the whole.
template <typename Decode>
void forEachPrefix(const loftbay::maker::pieces::ByteBuilder& bytes, Decode decode) {
  const std::span<const std::byte> whole = bytes.view();
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    const std::unique_ptr<std::byte[]> copy(new std::byte[size]);
    for (std::size_t i = 0; i < size; ++i) copy[i] = whole[i];
    decode(ByteReader({copy.get(), size}, from_maker::orderOf(bytes.order())), size == whole.size());
  }
}

}  // namespace jttk::test
