// What the sample maker has put together, as the toolkit takes it. The two share no types.
#pragma once

#include <algorithm>
#include <array>
#include <iterator>

#include "jttk/codec/v9/packet_form.h"
#include "jttk/codec/v9/topology.h"
#include "jttk/file/byte_reader.h"
#include "samples/maker/pieces/bytes.h"
#include "samples/maker/pieces/packets.h"
#include "samples/maker/topology.h"

namespace jttk::from_maker {

inline Guid guidOf(const loftbay::maker::GuidValue& id) {
  Guid guid{id.a, id.b, id.c, {}};
  std::copy(std::begin(id.d), std::end(id.d), std::begin(guid.d));
  return guid;
}

inline ByteOrder orderOf(loftbay::maker::pieces::ByteOrder order) {
  return order == loftbay::maker::pieces::ByteOrder::Big ? ByteOrder::Big : ByteOrder::Little;
}

// Over a builder that outlives it, and that nothing is added to meanwhile.
inline ByteReader readerOf(const loftbay::maker::pieces::ByteBuilder& bytes) {
  return ByteReader(bytes.view(), orderOf(bytes.order()));
}

inline PacketForm formOf(loftbay::maker::pieces::PacketForm form) {
  return form == loftbay::maker::pieces::PacketForm::V10 ? PacketForm::V10 : PacketForm::V9;
}

inline TopologySymbols symbolsOf(const loftbay::maker::Topology& topology) {
  TopologySymbols symbols;
  std::copy(topology.degrees.begin(), topology.degrees.end(), std::begin(symbols.degrees));
  symbols.valences = topology.valences;
  symbols.groups = topology.groups;
  symbols.flags = topology.flags;
  std::copy(topology.masks.begin(), topology.masks.end(), std::begin(symbols.masks));
  if (!topology.upper_masks.empty()) symbols.upper_masks = topology.upper_masks[0];
  if (topology.upper_masks.size() > 1) symbols.top_masks = topology.upper_masks[1];
  symbols.wide_mask_words = topology.high_degree_masks;
  symbols.split_offsets = topology.split_offsets;
  symbols.split_positions = topology.split_positions;
  return symbols;
}

}  // namespace jttk::from_maker
