// Decodes any bytes as the arrays of the topology coder, JT 9 (first byte even) or JT 10. The hash behind the
// arrays is not checked, or nothing would get past it. Seeds: corpus/topology_fuzz.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "jttk/codec/v9/topology.h"

namespace {

// The arrays in file order, each as far as it can be read.
jttk::TopologySymbols readSymbols(jttk::ByteReader& reader, jttk::PacketForm form) {
  constexpr std::uint32_t kMaximum = 1U << 12;
  jttk::PacketReader packets(form, std::uint64_t{kMaximum} * 32);
  jttk::TopologySymbols symbols;
  const auto read = [&](std::vector<std::int32_t>& values, jttk::Predictor predictor) {
    if (!packets.read(reader, "values", predictor, kMaximum, values)) values.clear();
  };
  for (auto& degrees : symbols.degrees) read(degrees, jttk::Predictor::Null);
  read(symbols.valences, jttk::Predictor::Null);
  read(symbols.groups, jttk::Predictor::Null);
  read(symbols.flags, jttk::Predictor::Lag1);
  for (auto& masks : symbols.masks) read(masks, jttk::Predictor::Null);
  read(symbols.upper_masks, jttk::Predictor::Null);
  if (form == jttk::PacketForm::V9) read(symbols.top_masks, jttk::Predictor::Null);
  symbols.wide_mask_words.resize(reader.count("words", sizeof(std::uint32_t)));
  for (std::uint32_t& word : symbols.wide_mask_words) word = reader.u32("words");
  read(symbols.split_offsets, jttk::Predictor::Lag1);
  read(symbols.split_positions, jttk::Predictor::Null);
  // Gives the arrays the lengths that the decoder demands, so that it reads their values.
  symbols.flags.resize(symbols.valences.size());
  symbols.split_positions.resize(symbols.split_offsets.size());
  symbols.upper_masks.resize(symbols.masks[7].size());
  if (form == jttk::PacketForm::V9) symbols.top_masks.resize(symbols.masks[7].size());
  return symbols;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const auto form = data[0] % 2 == 0 ? jttk::PacketForm::V9 : jttk::PacketForm::V10;
  jttk::ByteReader reader(std::as_bytes(std::span(data + 1, size - 1)));
  const auto symbols = readSymbols(reader, form);
  const auto mesh = jttk::decodeTopology(symbols, form, 0);
  if (!mesh) return 0;
  for (const std::uint32_t vertex : mesh->corner_vertices) {
    if (vertex >= mesh->vertices) std::abort();
  }
  for (const std::uint32_t record : mesh->corner_records) {
    if (record != jttk::kNoTopologyRecord && record >= mesh->records) std::abort();
  }
  return 0;
}
