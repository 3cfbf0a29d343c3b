#include "zix/array_store.h"

#include <algorithm>

#include "zix/checksum.h"

namespace Orb::Zix {

namespace {

// Different arrays with one hash exist only where somebody made them so. They must not cost more than a
// bounded number of comparisons each: those beyond are stored without being looked up later.
constexpr int kMostCompared = 64;

// Written at a time, so that the copy to the system finds the bytes in the cache. A whole number of pages.
constexpr std::size_t kPiece = std::size_t{3} << 18;

bool isAlike(const format::ChunkEntry& a, const format::ChunkEntry& b) {
  return a.type == b.type && a.record_size == b.record_size && a.size == b.size;
}

}  // namespace

std::uint64_t ArrayStore::keyOf(const format::ChunkEntry& entry) const {
  const std::uint64_t facts[] = {hash_(entry.checksum), entry.size,
                                 std::uint64_t{entry.type} << 32 | entry.record_size};
  return checksum(std::as_bytes(std::span(facts)));
}

std::uint32_t ArrayStore::findEqual(const format::ChunkEntry& wanted, std::span<const std::byte> bytes,
                                    int* compared, std::optional<OutputFailure>* failure) {
  *compared = 0;
  if (slots_.empty()) return format::kNone;
  const std::uint64_t key = keyOf(wanted);
  for (std::size_t place = key;; ++place) {
    const Slot slot = slots_[place & (slots_.size() - 1)];
    if (slot.chunk == format::kNone || *compared == kMostCompared) return format::kNone;
    if (slot.tag != key >> 32 || !isAlike(chunks_[slot.chunk], wanted)) continue;
    ++*compared;
    bool is_equal = false;
    *failure = file_.compare(chunks_[slot.chunk].offset, bytes, &is_equal);
    if (*failure) return format::kNone;
    if (is_equal) return slot.chunk;
  }
}

std::uint32_t ArrayStore::store(const Array& array, std::optional<OutputFailure>* failure) {
  format::ChunkEntry entry{
      array.chunk_type,  0, format::alignUp(file_.size()), array.bytes.size(), array.checksum,
      array.record_size, 0};
  int compared = 0;
  const std::uint32_t equal = findEqual(entry, array.bytes, &compared, failure);
  if (equal != format::kNone) return equal;
  makeRoom();
  const std::byte zeros[format::kAlignment]{};
  if (!*failure) *failure = file_.append({zeros, static_cast<std::size_t>(entry.offset - file_.size())});
  for (auto rest = array.bytes; !rest.empty() && !*failure;) {
    const auto piece = rest.first(std::min(rest.size(), kPiece));
    *failure = file_.append(piece);
    rest = rest.subspan(piece.size());
  }
  chunks_.push_back(entry);
  const auto chunk = static_cast<std::uint32_t>(chunks_.size() - 1);
  if (!*failure && compared < kMostCompared) remember(chunk);
  return chunk;
}

void ArrayStore::makeRoom() {
  constexpr std::size_t kFirstSlots = 64;
  if (4 * (used_ + 1) <= 3 * slots_.size()) return;
  std::vector<Slot> old(std::max(kFirstSlots, 2 * slots_.size()));
  old.swap(slots_);
  used_ = 0;
  for (const Slot& slot : old) {
    if (slot.chunk != format::kNone) remember(slot.chunk);
  }
}

void ArrayStore::remember(std::uint32_t chunk) {
  const std::uint64_t key = keyOf(chunks_[chunk]);
  std::size_t place = key & (slots_.size() - 1);
  while (slots_[place].chunk != format::kNone) place = (place + 1) & (slots_.size() - 1);
  slots_[place] = {chunk, static_cast<std::uint32_t>(key >> 32)};
  ++used_;
}

}  // namespace Orb::Zix
