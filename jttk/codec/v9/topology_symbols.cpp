// The arrays of the topology coder, in file order, and the hash over them.
#include "jttk/codec/v9/topology_symbols.h"

#include <span>
#include <string>

#include "jttk/codec/lookup2.h"

namespace jttk {
namespace {

// The value budget of the packets is the limit; a count has no more than this.
constexpr std::uint32_t kMaximumCount = 0x7fffffff;

const char* const kDegreeNames[kTopologyContexts] = {
    "degrees, context 0", "degrees, context 1", "degrees, context 2", "degrees, context 3",
    "degrees, context 4", "degrees, context 5", "degrees, context 6", "degrees, context 7"};
const char* const kMaskNames[kTopologyContexts] = {"masks, context 0", "masks, context 1", "masks, context 2",
                                                   "masks, context 3", "masks, context 4", "masks, context 5",
                                                   "masks, context 6", "masks, context 7"};

Result<void> readWideMaskWords(ByteReader& reader, std::vector<std::uint32_t>& words) {
  const std::uint32_t count = reader.count("wide masks", sizeof(std::uint32_t));
  words.resize(count);
  for (std::uint32_t& word : words) word = reader.u32("wide masks");
  if (!reader.ok()) return reader.unexpected();
  return {};
}

Result<void> readMasks(ByteReader& reader, PacketReader& packets, TopologySymbols& symbols) {
  for (std::size_t i = 0; i < kTopologyContexts; ++i) {
    auto done = packets.read(reader, kMaskNames[i], Predictor::Null, kMaximumCount, symbols.masks[i]);
    if (!done) return done;
  }
  const auto count = static_cast<std::uint32_t>(symbols.masks[kTopologyContexts - 1].size());
  auto done = packets.read(reader, "upper masks", Predictor::Null, count, symbols.upper_masks);
  if (!done) return done;
  if (packets.form() == PacketForm::V9) {
    done = packets.read(reader, "top masks", Predictor::Null, count, symbols.top_masks);
    if (!done) return done;
  }
  return readWideMaskWords(reader, symbols.wide_mask_words);
}

Result<void> readArrays(ByteReader& reader, PacketReader& packets, TopologySymbols& symbols) {
  for (std::size_t i = 0; i < kTopologyContexts; ++i) {
    auto done = packets.read(reader, kDegreeNames[i], Predictor::Null, kMaximumCount, symbols.degrees[i]);
    if (!done) return done;
  }
  auto done = packets.read(reader, "valences", Predictor::Null, kMaximumCount, symbols.valences);
  if (!done) return done;
  const auto polygons = static_cast<std::uint32_t>(symbols.valences.size());
  done = packets.read(reader, "polygon groups", Predictor::Null, polygons, symbols.groups);
  if (!done) return done;
  done = packets.read(reader, "polygon flags", Predictor::Lag1, polygons, symbols.flags);
  if (!done) return done;
  done = readMasks(reader, packets, symbols);
  if (!done) return done;
  done = packets.read(reader, "split offsets", Predictor::Lag1, kMaximumCount, symbols.split_offsets);
  if (!done) return done;
  const auto splits = static_cast<std::uint32_t>(symbols.split_offsets.size());
  return packets.readExactly(reader, "split positions", Predictor::Null, splits, symbols.split_positions);
}

}  // namespace

std::uint32_t topologyHash(const TopologySymbols& symbols, PacketForm form) {
  std::uint32_t hash = 0;
  for (const auto& degrees : symbols.degrees) hash = hash32(degrees, hash);
  hash = hash32(symbols.valences, hash);
  hash = hash32(symbols.groups, hash);
  hash = hash16(symbols.flags, hash);
  for (const auto& masks : symbols.masks) hash = hash32(masks, hash);
  hash = hash32(symbols.upper_masks, hash);
  if (form == PacketForm::V9) hash = hash32(symbols.top_masks, hash);
  hash = hash32(std::span<const std::uint32_t>(symbols.wide_mask_words), hash);
  hash = hash32(symbols.split_offsets, hash);
  return hash32(symbols.split_positions, hash);
}

Result<TopologySymbols> readTopologySymbols(ByteReader& reader, PacketReader& packets) {
  TopologySymbols symbols;
  const auto done = readArrays(reader, packets, symbols);
  if (!done) return passOn(done);
  symbols.hash_offset = reader.offset();
  const std::uint32_t stored_hash = reader.u32("topology hash");
  if (!reader.ok()) return reader.unexpected();
  symbols.hash_agrees = topologyHash(symbols, packets.form()) == stored_hash;
  return symbols;
}

Result<TopologySizes> topologySizes(const TopologySymbols& symbols, std::uint64_t most_corners,
                                    std::uint64_t offset) {
  std::uint64_t corner_count = 0;
  for (const std::int32_t valence : symbols.valences) {
    if (valence < 1) return fail("a polygon without corners", offset);
    corner_count += static_cast<std::uint32_t>(valence);
  }
  std::uint64_t slot_count = 0;
  std::size_t vertex_count = 0;
  for (const auto& degrees : symbols.degrees) {
    for (const std::int32_t degree : degrees) {
      if (degree < 0) return fail("a vertex of negative degree", offset);
      slot_count += static_cast<std::uint32_t>(degree);
      vertex_count += degree > 0 ? 1 : 0;
    }
  }
  if (slot_count != corner_count) return fail("degrees and valences do not add up to the same", offset);
  if (corner_count > most_corners) return fail("more corners than its bytes can stand for", offset);
  if (!symbols.flags.empty() && symbols.flags.size() != symbols.valences.size())
    return fail("not one flag per polygon", offset);
  if (symbols.split_positions.size() != symbols.split_offsets.size())
    return fail("not one position per split", offset);
  return TopologySizes{corner_count, vertex_count};
}

}  // namespace jttk
